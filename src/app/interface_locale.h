#pragma once

#include "app/app_language.h"
#include "base/environment.h"
#include "base/localized.h"

namespace dravo {

/// The locales of an interface in the chosen language.
///
/// For `system` the environment decides: the texts by LANGUAGE, LC_ALL, LC_MESSAGES and LANG as for every program here,
/// in the first of those languages that we speak, else in English; numbers by LC_NUMERIC and times by LC_TIME. For any
/// other choice everything is in that language, with the system's region where the system speaks it, too.
[[nodiscard]] InterfaceLocale interfaceLocaleFor(AppLanguage choice, const Environment& environment);

}  // namespace dravo
