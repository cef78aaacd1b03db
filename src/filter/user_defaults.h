#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/scheduler.h"
#include "base/subscription.h"

namespace dravo {

/// What can be stored under a key.
using DefaultsValue = std::variant<bool, std::int64_t, double, std::string, WallTime, std::vector<std::string>>;
using DefaultsKeys = std::set<std::string, std::less<>>;
using DefaultsValues = std::map<std::string, DefaultsValue, std::less<>>;

/// False for a number that is not finite and for text that is not UTF-8: neither is ever stored.
[[nodiscard]] bool isStorable(const DefaultsValue& value);

/// The keys whose presence, type or value differs between two states of the settings.
[[nodiscard]] DefaultsKeys changedKeys(const DefaultsValues& before, const DefaultsValues& after);

/// The person's settings: values of a few types under keys, kept from run to run. Not a cache and not a schema: it
/// knows no key and no default; an absent key is told apart from a stored false, 0 or empty text.
///
/// Reads and writes never fail: what cannot be written stays in memory, and the adapter says so in one line.
/// Thread: main thread. Lifetime: outlives the subscriptions it handed out.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    /// The stored value with its own type; none when the key is absent.
    [[nodiscard]] virtual std::optional<DefaultsValue> object(std::string_view key) const = 0;

    /// Stores `value`, at once for every reader. What is not storable is refused: the key keeps what it had.
    virtual void set(std::string_view key, DefaultsValue value) = 0;
    virtual void remove(std::string_view key) = 0;

    /// Writes at once what is not yet written, for what must not get lost with the program. Tells nobody of changes
    /// from outside that it meets on the way.
    virtual void flush() = 0;

    /// `callback` runs from the loop with the keys that somebody else changed or removed, their new values in place;
    /// never for this program's own `set` and `remove`.
    [[nodiscard]] virtual Subscription onChange(std::function<void(const DefaultsKeys&)> callback) = 0;

    /// True for true, a number other than 0, and text that begins, after blanks, a sign and zeros, with Y, T or a digit
    /// from 1 (either case): "YES", "true", "1".
    [[nodiscard]] bool boolForKey(std::string_view key) const;

    /// A fraction is cut off, and what is too large saturates. Text gives the number it begins with (" 12abc" is 12).
    /// 0 when absent or of another type.
    [[nodiscard]] std::int64_t integerForKey(std::string_view key) const;

    /// Always finite. Text gives the number it begins with. 0 when absent or of another type.
    [[nodiscard]] double doubleForKey(std::string_view key) const;

    /// Text, or a number or boolean written as one; none when absent or of another type.
    [[nodiscard]] std::optional<std::string> stringForKey(std::string_view key) const;
};

}  // namespace dravo
