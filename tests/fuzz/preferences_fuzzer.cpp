// Any text as the preferences file: what can be read must take every change, and nothing else may differ afterwards.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/require.h"
#include "platform/files/preferences_text.h"

using namespace dravo;
using namespace dravo::files;
using testing::require;

namespace {

/// Changes that follow from the text alone, so that the corpus stays a folder of plain files.
DefaultsChanges changesFor(std::string_view text, const DefaultsValues& values) {
    std::uint32_t state = 2166136261U;
    const auto next = [&state](std::uint32_t limit) {
        state = state * 1664525U + 1013904223U;
        return (state >> 16) % limit;
    };
    for (const char c : text) state = (state ^ static_cast<unsigned char>(c)) * 16777619U;

    const std::vector<std::optional<DefaultsValue>> pool{std::nullopt,
                                                         true,
                                                         std::int64_t{-5},
                                                         0.1,
                                                         -1e300,
                                                         "a\"\n#",
                                                         "",
                                                         WallTime{},
                                                         WallTime{std::chrono::nanoseconds{-1}},
                                                         std::vector<std::string>{"de", "\\"}};
    const auto any = [&] { return pool[next(static_cast<std::uint32_t>(pool.size()))]; };
    DefaultsChanges changes{{"lastIntensity", any()}};
    if (next(2)) changes["a \"key\""] = any();
    for (const auto& [key, value] : values)
        if (next(3) == 0) changes[key] = any();
    return changes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    auto values = parsePreferences(text);
    if (!values) {
        require(!values.error().message.empty(), "a refusal has a reason");
        require(!withChanges(text, {{"a", true}}), "what cannot be read cannot be changed");
        return 0;
    }
    const auto changes = changesFor(text, *values);
    const auto after = withChanges(text, changes);
    if (!after) {
        require(size > kMaxPreferencesBytes / 4, "a text that is short enough takes every change");
        return 0;
    }
    for (const auto& [key, value] : changes) {
        if (value)
            values->insert_or_assign(key, *value);
        else
            values->erase(key);
    }
    const auto read = parsePreferences(*after);
    require(read && *read == *values, "the new text holds the old settings with the changes");
    require(withChanges(*after, changes).value() == *after, "the same changes again alter nothing");
    return 0;
}
