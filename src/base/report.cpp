#include "base/report.h"

#include <cstdio>
#include <set>
#include <string>

namespace dravo {

void reportOnce(std::string_view cause, std::string_view sentence) {
    static std::set<std::string, std::less<>> reported;
    if (!reported.emplace(cause).second) return;
    std::fprintf(stderr, "dravo: %.*s\n", static_cast<int>(sentence.size()), sentence.data());
}

}  // namespace dravo
