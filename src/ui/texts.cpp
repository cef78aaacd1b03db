#include "ui/texts.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <QLocale>

#include <unicode/udat.h>
#include <unicode/unum.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>

#include "app/keyboard_shortcut.h"
#include "base/owned.h"

namespace dravo::ui {

namespace {

using NumberFormat = Owned<UNumberFormat, unum_close>;
using DateFormat = Owned<UDateFormat, udat_close>;
using Buffer = std::array<UChar, 128>;

const QChar* fromIcu(const UChar* text) { return reinterpret_cast<const QChar*>(text); }
const UChar* toIcu(const QString& text) { return reinterpret_cast<const UChar*>(text.utf16()); }

/// A format of `style` with exactly `digits` fraction digits; null if there is none.
NumberFormat numberFormat(const std::string& locale, UNumberFormatStyle style, int digits) {
    UErrorCode status = U_ZERO_ERROR;
    NumberFormat format(unum_open(style, nullptr, 0, locale.c_str(), nullptr, &status));
    if (U_FAILURE(status)) return nullptr;
    unum_setAttribute(format.get(), UNUM_MIN_FRACTION_DIGITS, digits);
    unum_setAttribute(format.get(), UNUM_MAX_FRACTION_DIGITS, digits);
    return format;
}

QString formatted(const UNumberFormat* format, double value) {
    if (!format) return {};
    Buffer buffer;
    UErrorCode status = U_ZERO_ERROR;
    const auto length = unum_formatDouble(format, value, buffer.data(), buffer.size(), nullptr, &status);
    return U_FAILURE(status) ? QString() : QString(fromIcu(buffer.data()), length);
}

void putPlusBefore(UNumberFormat* format) {
    Buffer before;
    UErrorCode status = U_ZERO_ERROR;
    const auto length = unum_getTextAttribute(format, UNUM_POSITIVE_PREFIX, before.data(), before.size(), &status);
    if (U_FAILURE(status)) return;
    // Some locales write the percent sign in front.
    const QString prefix = QLatin1Char('+') + QString(fromIcu(before.data()), length);
    unum_setTextAttribute(format, UNUM_POSITIVE_PREFIX, toIcu(prefix), static_cast<std::int32_t>(prefix.size()),
                          &status);
}

DateFormat timeFormat(const std::string& locale) {
    UErrorCode status = U_ZERO_ERROR;
    // Fields go in as they are: the zone is the calendar's matter.
    const std::u16string zone = u"Etc/UTC";
    DateFormat format(udat_open(UDAT_SHORT, UDAT_NONE, locale.c_str(), zone.c_str(), -1, nullptr, 0, &status));
    if (U_FAILURE(status)) format.reset();
    return format;
}

struct Formats {
    explicit Formats(const InterfaceLocale& from)
        : locale(from),
          percent(numberFormat(from.numbers, UNUM_PERCENT, 0)),
          signedPercent(numberFormat(from.numbers, UNUM_PERCENT, 0)),
          decimals{numberFormat(from.numbers, UNUM_DECIMAL, 0), numberFormat(from.numbers, UNUM_DECIMAL, 1),
                   numberFormat(from.numbers, UNUM_DECIMAL, 2)},
          time(timeFormat(from.times)) {
        if (signedPercent) putPlusBefore(signedPercent.get());
    }

    InterfaceLocale locale;
    NumberFormat percent;
    NumberFormat signedPercent;
    std::array<NumberFormat, 3> decimals;  ///< By their fraction digits.
    DateFormat time;
};

/// Made once, and again if another localizer is installed.
const Formats& formats() {
    static std::unique_ptr<const Formats> made;
    if (auto locale = interfaceLocale(); !made || made->locale != locale) made = std::make_unique<Formats>(locale);
    return *made;
}

}  // namespace

void adoptInterfaceLocale() {
    const InterfaceLocale locale = interfaceLocale();
    QLocale::setDefault(QLocale(toQt(locale.times)));
    QGuiApplication::setLayoutDirection(QLocale(toQt(locale.language)).textDirection());
}

QString text(std::string_view key, std::string_view english) { return toQt(localized(key, english)); }

QString text(std::string_view english) { return text(english, english); }

QString text(const TextKey& key) { return toQt(localized(key)); }

QString countText(std::string_view key, std::string_view one, std::string_view other, std::uint64_t count) {
    const std::string number = decimalText(static_cast<double>(count), 0).toStdString();
    return toQt(dravo::filled(localizedCount(key, one, other, count), {number}));
}

QString filled(const QString& text, const QString& first, const QString& second) {
    return toQt(dravo::filled(text.toStdString(), {first.toStdString(), second.toStdString()}));
}

QString percentText(double fraction, bool isSigned) {
    // The negative zero that rounding a small number leaves would be written with its sign.
    const double shown = std::abs(fraction) < 0.005 ? 0 : fraction;
    const QString written = formatted((isSigned ? formats().signedPercent : formats().percent).get(), shown);
    return written.isEmpty() ? QString::number(static_cast<int>(shown * 100)) + QLatin1Char('%') : written;
}

QString decimalText(double value, int digits) {
    const QString written = formatted(formats().decimals.at(static_cast<std::size_t>(digits)).get(), value);
    return written.isEmpty() ? QString::number(value, 'f', digits) : written;
}

QString inOwnDigits(QString text) {
    const QString zero = decimalText(0, 0);
    if (zero.size() != 1 || zero == QLatin1String("0")) return text;
    for (QChar& character : text) {
        if (character >= QLatin1Char('0') && character <= QLatin1Char('9'))
            character = QChar(static_cast<char16_t>(zero[0].unicode() + character.digitValue()));
    }
    return text;
}

ShortcutText shortcutText(std::int64_t keyCode, std::int64_t modifiers, const QFont& font) {
    constexpr QChar kIsolate(0x2066);
    constexpr QChar kEnd(0x2069);
    // Digits in a name are those on the key.
    const auto written = [&](const std::string& text) {
        const QString plain = toQt(text);
        return hasName(keyCode) ? plain : inOwnDigits(plain);
    };
    const QString signs = written(displayString(keyCode, modifiers));
    const QString words = written(spokenShortcut(keyCode, modifiers));
    const QFontMetrics metrics(font);
    const auto letters = signs.toUcs4();
    if (!std::ranges::all_of(letters, [&](uint letter) { return metrics.inFontUcs4(letter); })) return {words, words};
    return {QGuiApplication::isRightToLeft() ? kIsolate + signs + kEnd : signs, words};
}

double typedNumber(const QString& text) {
    const QString trimmed = text.trimmed();
    bool isPlain = false;
    if (const double value = trimmed.toDouble(&isPlain); isPlain) return value;
    UNumberFormat* const format = formats().decimals.back().get();
    std::int32_t end = 0;
    UErrorCode status = U_ZERO_ERROR;
    const auto length = static_cast<std::int32_t>(trimmed.size());
    const double value = format ? unum_parseDouble(format, toIcu(trimmed), length, &end, &status) : 0;
    const bool isWhole = format && U_SUCCESS(status) && end == length && length > 0;
    return isWhole ? value : std::numeric_limits<double>::quiet_NaN();
}

QString timeText(const LocalFields& time) {
    Buffer buffer;
    UErrorCode status = U_ZERO_ERROR;
    const double milliseconds = 60'000.0 * (60 * time.hour + time.minute);
    const auto length = formats().time.get() ? udat_format(formats().time.get(), milliseconds, buffer.data(),
                                                           buffer.size(), nullptr, &status)
                                             : 0;
    if (length > 0 && U_SUCCESS(status)) return QString(fromIcu(buffer.data()), length);
    return QStringLiteral("%1:%2").arg(time.hour, 2, 10, QLatin1Char('0')).arg(time.minute, 2, 10, QLatin1Char('0'));
}

bool usesTwelveHours() {
    Buffer buffer;
    UErrorCode status = U_ZERO_ERROR;
    const auto length =
        formats().time.get() ? udat_toPattern(formats().time.get(), false, buffer.data(), buffer.size(), &status) : 0;
    return U_SUCCESS(status) && QString(fromIcu(buffer.data()), length).contains(QLatin1Char('a'));
}

}  // namespace dravo::ui
