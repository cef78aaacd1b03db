#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace dravo {

/// A text by its key, with the English that stands for it where there is no translation.
struct TextKey {
    std::string_view key = {};
    std::string_view english = {};
    bool operator==(const TextKey&) const = default;
};

/// For texts that stand in a table or a `Sentence` and are looked up elsewhere: marks them for the tool that collects
/// the texts to translate. What is passed to `localized` itself needs no mark.
[[nodiscard]] constexpr TextKey textKey(std::string_view key, std::string_view english) { return {key, english}; }
[[nodiscard]] constexpr TextKey textKey(std::string_view english) { return {english, english}; }

/// What a person is told, before it is put into their language: a text by its key and what fills its places, each again
/// a sentence; or plain text, which stays as it is: a name, a figure, the words of a library.
///
/// Whoever prints, shows or sends it translates it (`localized`), or asks for English where programs read it.
struct Sentence {
    TextKey text;
    std::vector<Sentence> values;
    std::string plain;  ///< Where there is no `text`.

    Sentence() = default;
    Sentence(const TextKey& key, std::vector<Sentence> fillings = {}) : text(key), values(std::move(fillings)) {}
    Sentence(std::string asItIs) : plain(std::move(asItIs)) {}
    Sentence(std::string_view asItIs) : plain(asItIs) {}
    Sentence(const char* asItIs) : plain(asItIs) {}

    [[nodiscard]] bool empty() const { return text.english.empty() && plain.empty(); }
    bool operator==(const Sentence&) const = default;
};

/// For what programs read. Thread: any.
[[nodiscard]] std::string inEnglish(const Sentence& sentence);

}  // namespace dravo
