#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/result.h"

namespace dravo::gettext {

/// One language's texts, as `msgfmt` compiles them into a `.mo` file. A text's key is the context and its English the
/// message; a key that is the English text itself has no context.
///
/// Thread: any. The views it returns live as long as it does and is not moved.
class Catalogue {
public:
    /// One without texts.
    Catalogue() = default;

    /// Checks every entry of the file's bytes, which are in the order of little ends.
    /// Errors: `InvalidInput` (no such file, cut short, or damaged).
    [[nodiscard]] static Result<Catalogue> parse(std::string bytes);

    /// The translation of an English text, which may be the singular of several forms: the one with this number.
    [[nodiscard]] std::optional<std::string_view> text(std::string_view key, std::string_view english,
                                                       std::size_t form = 0) const;

private:
    [[nodiscard]] bool check();
    [[nodiscard]] std::uint32_t numberAt(std::size_t offset) const;
    [[nodiscard]] std::string_view stringAt(std::size_t table, std::size_t index) const;
    [[nodiscard]] std::optional<std::string_view> find(std::string_view id) const;

    std::string bytes_;
    std::size_t entries_ = 0;
    std::size_t originals_ = 0;  ///< Where the tables of lengths and offsets begin.
    std::size_t translations_ = 0;
};

}  // namespace dravo::gettext
