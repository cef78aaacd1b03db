#pragma once

#include <cassert>
#include <optional>
#include <utility>
#include <variant>

#include "base/sentence.h"

namespace dravo {

/// Why an operation failed, named by what the caller does about it.
enum class ErrorCode {
    Unsupported,       ///< This system cannot do it: say so once, do not ask again.
    Busy,              ///< Somebody else holds it: ask again when they let go.
    Disconnected,      ///< The other side is gone: skip this round, or end.
    PermissionDenied,  ///< The person or the system said no: tell, do not insist.
    InvalidInput,      ///< The caller's data is wrong: refuse it, keep what was there.
    NotFound,          ///< It is not there: treat as absent.
    Internal,          ///< A fault of ours or an answer that makes no sense.
};

/// An error with a sentence for a person and the failing service's own number (0 if it gave none).
struct Error {
    ErrorCode code = ErrorCode::Internal;
    Sentence message = {};
    int nativeCode = 0;
};

/// Either a value or an error, spelled like `std::expected`.
///
/// REQUIRES for `value()`, `*` and `->`: `hasValue()`. For `error()`: not `hasValue()`.
template <typename T, typename E = Error>
class [[nodiscard]] Result {
public:
    Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    Result(E error) : state_(std::in_place_index<1>, std::move(error)) {}

    [[nodiscard]] bool hasValue() const { return state_.index() == 0; }
    explicit operator bool() const { return hasValue(); }

    [[nodiscard]] T& value() & { return checked(); }
    [[nodiscard]] const T& value() const& { return const_cast<Result*>(this)->checked(); }
    /// By value, so that looping over the value of a temporary is safe.
    [[nodiscard]] T value() && { return std::move(checked()); }
    T& operator*() & { return checked(); }
    const T& operator*() const& { return value(); }
    T operator*() && { return std::move(checked()); }
    T* operator->() { return &checked(); }
    const T* operator->() const { return &value(); }

    [[nodiscard]] const E& error() const {
        assert(!hasValue());
        return *std::get_if<1>(&state_);
    }

private:
    T& checked() {
        assert(hasValue());
        return *std::get_if<0>(&state_);
    }

    std::variant<T, E> state_;
};

template <typename E>
class [[nodiscard]] Result<void, E> {
public:
    Result() = default;
    Result(E error) : error_(std::move(error)) {}

    [[nodiscard]] bool hasValue() const { return !error_.has_value(); }
    explicit operator bool() const { return hasValue(); }
    [[nodiscard]] const E& error() const {
        assert(error_);
        return *error_;
    }

private:
    std::optional<E> error_;
};

}  // namespace dravo
