#include "platform/posix/program_module.h"

#include <dlfcn.h>

#include <filesystem>

namespace dravo::posix {

Result<void*> findInModule(const char* file, const char* entry) {
    std::error_code ignored;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    for (const auto& path : {folder / file, folder.parent_path() / "lib" / "dravo" / file}) {
        if (!std::filesystem::exists(path, ignored)) continue;
        void* const module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        if (!module) return Error{ErrorCode::NotFound, ::dlerror()};
        if (void* const address = ::dlsym(module, entry)) return address;
        return Error{ErrorCode::Unsupported, path.string() + " belongs to another version of Dravo"};
    }
    return Error{ErrorCode::NotFound,
                 std::string(file) + " is missing beside " + folder.string() + " and in ../lib/dravo"};
}

}  // namespace dravo::posix
