#include "base/report.h"

#include <cstdio>
#include <set>
#include <string>

#include "base/localized.h"

namespace dravo {

void report(const Sentence& sentence) { std::fputs(saidBy("dravo", sentence).c_str(), stderr); }

void reportOnce(std::string_view cause, const Sentence& sentence) {
    static std::set<std::string, std::less<>> reported;
    if (reported.emplace(cause).second) report(sentence);
}

}  // namespace dravo
