#include "platform/posix/program_module.h"

#include <dlfcn.h>

#include <string_view>

#include "base/localized.h"

namespace dravo::posix {

std::filesystem::path programFile() {
    std::error_code ignored;
    auto file = std::filesystem::read_symlink("/proc/self/exe", ignored);
    constexpr std::string_view kReplaced = " (deleted)";
    if (const std::string name = file.string(); name.ends_with(kReplaced) && !std::filesystem::exists(file, ignored))
        file = name.substr(0, name.size() - kReplaced.size());
    return file;
}

Result<void*> findInModule(const char* file, const char* entry) {
    const auto folder = programFile().parent_path();
    std::error_code ignored;
    for (const auto& path : {folder / file, folder.parent_path() / "lib" / "dravo" / file}) {
        if (!std::filesystem::exists(path, ignored)) continue;
        void* const module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        if (!module) return Error{ErrorCode::NotFound, ::dlerror()};
        if (void* const address = ::dlsym(module, entry)) return address;
        return Error{ErrorCode::Unsupported,
                     Sentence(textKey("%@ belongs to another version of Dravo"), {path.string()})};
    }
    return Error{ErrorCode::NotFound,
                 Sentence(textKey("%1$@ is missing beside %2$@ and in ../lib/dravo"), {file, folder.string()})};
}

}  // namespace dravo::posix
