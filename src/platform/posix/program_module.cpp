#include "platform/posix/program_module.h"

#include <dlfcn.h>

#include <filesystem>

#include "base/localized.h"

namespace dravo::posix {

Result<void*> findInModule(const char* file, const char* entry) {
    std::error_code ignored;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    for (const auto& path : {folder / file, folder.parent_path() / "lib" / "dravo" / file}) {
        if (!std::filesystem::exists(path, ignored)) continue;
        void* const module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        if (!module) return Error{ErrorCode::NotFound, ::dlerror()};
        if (void* const address = ::dlsym(module, entry)) return address;
        return Error{ErrorCode::Unsupported,
                     filled(localized("%@ belongs to another version of Dravo"), {path.string()})};
    }
    return Error{ErrorCode::NotFound,
                 filled(localized("%1$@ is missing beside %2$@ and in ../lib/dravo"), {file, folder.string()})};
}

}  // namespace dravo::posix
