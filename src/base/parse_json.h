#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "base/localized.h"
#include "base/result.h"

namespace dravo {

/// Parses a whole JSON text with the reader type of the caller, which keeps that reader's header in the caller's
/// source file: `parseJson<nlohmann::json>(text)`. Numbers that the type cannot hold are refused; of equal keys in one
/// object the last wins.
/// Errors: `InvalidInput` with the line and column at or just behind the fault, or with the number.
template <typename Json>
[[nodiscard]] Result<Json> parseJson(std::string_view text) {
    try {
        return Json::parse(text);
    } catch (const typename Json::parse_error& fault) {
        const std::string_view before = text.substr(0, std::min(text.size(), fault.byte));
        const auto line = std::count(before.begin(), before.end(), '\n') + 1;
        const std::size_t lineStart = before.rfind('\n') == before.npos ? 0 : before.rfind('\n') + 1;
        const std::size_t column = std::max<std::size_t>(before.size() - lineStart, 1);
        return Error{ErrorCode::InvalidInput, Sentence(textKey("not valid JSON, look at line %1$@, column %2$@"),
                                                       {std::to_string(line), std::to_string(column)})};
    } catch (const typename Json::exception& fault) {
        const std::string_view sentence = fault.what();
        const std::size_t prefix = sentence.find("] ");
        return Error{ErrorCode::InvalidInput,
                     std::string(sentence.substr(prefix == sentence.npos ? 0 : prefix + 2, 120))};
    }
}

}  // namespace dravo
