#pragma once

#include <string>

#include "cli/display_list.h"

namespace dravo::cli {

/// {"backend":...,"displays":[{"id":...,"name":...,"tableSize":...,"state":...,"problem":...,"white":[r,g,b]}]};
/// `problem` is null for a display that can be filtered, `white` for one whose table could not be read.
[[nodiscard]] std::string displayListJson(const DisplayList& list);

}  // namespace dravo::cli
