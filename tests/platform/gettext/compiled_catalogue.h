#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace dravo::gettext {

/// The bytes of a `.mo` file with these entries: id to translation, both as they stand in the file.
inline std::string compiledCatalogue(const std::map<std::string, std::string>& entries, bool isBigEndian = false) {
    std::string result;
    const auto put = [&](std::size_t number) {
        for (unsigned i = 0; i < 4; ++i) {
            const unsigned shift = 8 * (isBigEndian ? 3 - i : i);
            result += static_cast<char>(static_cast<std::uint32_t>(number) >> shift & 0xff);
        }
    };
    constexpr std::size_t kHeader = 28;
    const std::size_t count = entries.size();
    for (const std::size_t number :
         {std::size_t{0x950412de}, std::size_t{0}, count, kHeader, kHeader + 8 * count, std::size_t{0}, std::size_t{0}})
        put(number);
    std::string texts;
    const auto putRow = [&](const std::string& text) {
        put(text.size());
        put(kHeader + 16 * count + texts.size());
        texts += text + '\0';
    };
    for (const auto& [id, translation] : entries) putRow(id);
    for (const auto& [id, translation] : entries) putRow(translation);
    return result + texts;
}

}  // namespace dravo::gettext
