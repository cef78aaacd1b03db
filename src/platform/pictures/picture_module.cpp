#include "platform/pictures/picture_module.h"

#include "base/localized.h"
#include "platform/posix/program_module.h"

namespace dravo::pictures {

Result<PictureService*> loadPictureModule(const std::string& version) {
    const auto found = posix::findInModule("dravo-pictures.so", kPictureModuleEntry);
    if (!found)
        return Error{found.error().code, Sentence(textKey("pictures cannot be made: %@"), {found.error().message})};
    const auto entry = reinterpret_cast<PictureModuleEntry>(*found);
    if (PictureService* const service = entry(version.c_str())) return service;
    return Error{ErrorCode::Unsupported,
                 Sentence(textKey("pictures cannot be made: %@"),
                          {Sentence(textKey("%@ belongs to another version of Dravo"), {"dravo-pictures.so"})})};
}

}  // namespace dravo::pictures
