#include "base/localized.h"

namespace dravo {

namespace {

const Localizer* installed = nullptr;

}  // namespace

std::string localized(std::string_view key, std::string_view english) {
    return installed ? installed->text(key, english) : Localizer{}.text(key, english);
}

void installLocalizer(const Localizer* localizer) { installed = localizer; }

}  // namespace dravo
