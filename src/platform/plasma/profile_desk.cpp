#include "platform/plasma/profile_desk.h"

#include "platform/posix/program_module.h"

namespace dravo::plasma {

Result<std::unique_ptr<ProfileDesk>> makeProfileDesk(const std::string& version, const DataFolder& folder) {
    constexpr const char* kModule = "dravo-wayland.so";
    const auto found = posix::findInModule(kModule, kProfileDeskEntry);
    if (!found) return found.error();
    const auto entry = reinterpret_cast<ProfileDeskEntry>(*found);
    if (std::unique_ptr<ProfileDesk> desk{entry(version.c_str(), folder)}) return desk;
    return Error{ErrorCode::Unsupported, Sentence(textKey("%@ belongs to another version of Dravo"), {kModule})};
}

}  // namespace dravo::plasma
