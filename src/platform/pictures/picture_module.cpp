#include "platform/pictures/picture_module.h"

#include <dlfcn.h>

#include <filesystem>

namespace dravo::pictures {

Result<cli::PictureService*> loadPictureModule(const std::string& version) {
    constexpr const char* kFile = "dravo-pictures.so";
    std::error_code ignored;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
    const std::filesystem::path candidates[] = {folder / kFile, folder.parent_path() / "lib" / "dravo" / kFile};
    for (const auto& path : candidates) {
        if (!std::filesystem::exists(path, ignored)) continue;
        void* const module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!module) return Error{ErrorCode::NotFound, std::string("pictures cannot be made: ") + ::dlerror()};
        const auto entry = reinterpret_cast<cli::PictureModuleEntry>(::dlsym(module, cli::kPictureModuleEntry));
        cli::PictureService* const service = entry ? entry(version.c_str()) : nullptr;
        if (service) return service;
        return Error{ErrorCode::Unsupported, path.string() + " belongs to another version of Dravo"};
    }
    return Error{ErrorCode::NotFound, std::string("pictures cannot be made: ") + kFile + " is missing beside " +
                                          folder.string() + " and in ../lib/dravo"};
}

}  // namespace dravo::pictures
