#pragma once

#include <QFont>
#include <QString>
#include <string>
#include <string_view>

#include "base/calendar.h"
#include "base/localized.h"

namespace dravo::ui {

/// The panel's texts and figures, in the interface's language and the locale's own form.
///
/// Thread: main thread.

/// Makes the toolkit write in the interface's direction, and its own times in the interface's form.
void adoptInterfaceLocale();

/// A text of the program's as the toolkit has it.
[[nodiscard]] inline QString toQt(const std::string& text) { return QString::fromStdString(text); }

/// The text for `key`, else `english`; the second form is for texts whose key is the text itself, the third for those
/// that stand in a table.
[[nodiscard]] QString text(std::string_view key, std::string_view english);
[[nodiscard]] QString text(std::string_view english);
[[nodiscard]] QString text(const TextKey& key);

/// The form of a text for `count` things, with the number in it: "1 preset", "3 presets".
[[nodiscard]] QString countText(std::string_view key, std::string_view one, std::string_view other,
                                std::uint64_t count);

/// `text` with its first "%@" (or, counting upward, "%1$@" and "%2$@") replaced.
[[nodiscard]] QString filled(const QString& text, const QString& first, const QString& second = {});

/// A fraction as a whole percentage: 0.25 is "25%" in English. Signed, what is not negative carries a plus.
[[nodiscard]] QString percentText(double fraction, bool isSigned);

/// With exactly `digits` digits after the decimal separator.
[[nodiscard]] QString decimalText(double value, int digits);

/// `text` with its ASCII digits in the locale's own: "19:55" in Arabic, too.
[[nodiscard]] QString inOwnDigits(QString text);

/// A stored shortcut in the locale's own digits.
struct ShortcutText {
    /// Its signs, which read from left to right also where writing goes the other way; the words where the system has
    /// no typeface, the given one or another, that can draw all the signs.
    QString shown;
    QString spoken;  ///< For a screen reader.
};
[[nodiscard]] ShortcutText shortcutText(std::int64_t keyCode, std::int64_t modifiers, const QFont& font);

/// The number that a person typed in the locale's own form or in the plain one with a point; NaN for anything else.
[[nodiscard]] double typedNumber(const QString& text);

/// The time of day, short: "6:30 PM", "18:30".
[[nodiscard]] QString timeText(const LocalFields& time);

/// Whether the locale writes the time of day with a morning and an afternoon.
[[nodiscard]] bool usesTwelveHours();

}  // namespace dravo::ui
