#include "platform/plasma/filter_profile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "display/icc_profile.h"

namespace dravo::plasma {

namespace {

using Bytes = std::span<const std::uint8_t>;
using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>;  ///< Row by row.

constexpr std::size_t kSizeAt = 0;
constexpr std::size_t kClassAt = 12;
constexpr std::size_t kColorSpaceAt = 16;
constexpr std::size_t kMagicAt = 36;
constexpr std::size_t kIlluminantAt = 68;
constexpr std::size_t kChecksumAt = 84;
constexpr std::size_t kChecksumSize = 16;

/// The white of every profile's connection space.
constexpr Vector kD50{0.9642, 1.0, 0.8249};
/// Bradford's cone response to X, Y, Z.
constexpr Matrix kBradford{{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

constexpr double kExponent = 2.2;

Vector operator*(const Matrix& m, const Vector& v) {
    Vector product{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t i = 0; i < 3; ++i) product[row] += m[row][i] * v[i];
    return product;
}

Matrix transposed(const Matrix& m) {
    Matrix other{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t i = 0; i < 3; ++i) other[i][row] = m[row][i];
    return other;
}

Matrix operator*(const Matrix& a, const Matrix& b) {
    const Matrix columns = transposed(b);
    return transposed({a * columns[0], a * columns[1], a * columns[2]});
}

Matrix inverse(const Matrix& m) {
    const auto minor = [&m](std::size_t row, std::size_t column) {
        const auto at = [&](std::size_t r, std::size_t c) { return m[(row + r) % 3][(column + c) % 3]; };
        return at(1, 1) * at(2, 2) - at(1, 2) * at(2, 1);
    };
    const double determinant = m[0][0] * minor(0, 0) + m[0][1] * minor(0, 1) + m[0][2] * minor(0, 2);
    Matrix inverted{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column) inverted[row][column] = minor(column, row) / determinant;
    return inverted;
}

/// X, Y, Z of full luminance.
Vector xyz(Chromaticities::Point point) { return {point.x / point.y, 1.0, (1.0 - point.x - point.y) / point.y}; }

/// Turns what is seen under `white` into what is seen under D50.
Matrix adaptation(const Vector& white) {
    const Vector from = kBradford * white;
    const Vector to = kBradford * kD50;
    Matrix scale{};
    for (std::size_t i = 0; i < 3; ++i) scale[i][i] = to[i] / from[i];
    return inverse(kBradford) * scale * kBradford;
}

void append(ProfileBytes& bytes, std::uint64_t value, int size) {
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}
void append16(ProfileBytes& bytes, std::uint16_t value) { append(bytes, value, 2); }
void append32(ProfileBytes& bytes, std::uint32_t value) { append(bytes, value, 4); }
void put32(ProfileBytes& bytes, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

std::uint32_t s15Fixed16(double value) { return static_cast<std::uint32_t>(std::lround(value * 65536)); }

/// The beginning of a tag's data: its type, and four bytes of nothing.
ProfileBytes typed(std::uint32_t type) {
    ProfileBytes data;
    append32(data, type);
    append32(data, 0);
    return data;
}

ProfileBytes numbers(std::uint32_t type, std::initializer_list<Vector> rows) {
    ProfileBytes data = typed(type);
    for (const auto& row : rows)
        for (const double value : row) append32(data, s15Fixed16(value));
    return data;
}

/// A text in one language, in UTF-16.
ProfileBytes text(std::string_view ascii) {
    constexpr std::uint32_t kRecordSize = 12;
    constexpr std::uint32_t kTextAt = 28;
    ProfileBytes data = typed(iccSignature("mluc"));
    append32(data, 1);
    append32(data, kRecordSize);
    append32(data, 0x656E5553);  // enUS
    append32(data, static_cast<std::uint32_t>(2 * ascii.size()));
    append32(data, kTextAt);
    for (const char character : ascii) append16(data, static_cast<std::uint8_t>(character));
    return data;
}

ProfileBytes toneCurve() {
    ProfileBytes data = typed(iccSignature("para"));
    append16(data, 0);  // y = x ^ exponent
    append16(data, 0);
    append32(data, s15Fixed16(kExponent));
    return data;
}

ProfileBytes tableTag(const RampLevels& table) {
    constexpr std::uint16_t kChannels = 3;
    constexpr std::uint16_t kBytesPerEntry = 2;
    ProfileBytes data = typed(iccSignature("vcgt"));
    append32(data, 0);  // a table
    append16(data, kChannels);
    append16(data, static_cast<std::uint16_t>(table.size()));
    append16(data, kBytesPerEntry);
    for (const auto* channel : {&table.red, &table.green, &table.blue})
        for (const std::uint16_t level : *channel) append16(data, level);
    return data;
}

std::uint32_t signatureAt(Bytes profile, std::size_t at) {
    std::uint32_t signature = 0;
    for (std::size_t i = 0; i < 4; ++i) signature = signature << 8 | profile[at + i];
    return signature;
}

/// Data that tags share stands for itself once.
using Place = std::pair<const std::uint8_t*, std::size_t>;
Place placeOf(const IccTag& tag) { return {tag.data.data(), tag.data.size()}; }

/// A profile of this header's first 128 bytes and these tags.
ProfileBytes assembled(Bytes header, const std::vector<IccTag>& tags) {
    constexpr std::size_t kEntrySize = 12;
    ProfileBytes profile(header.begin(), header.begin() + kIccHeaderSize);
    append32(profile, static_cast<std::uint32_t>(tags.size()));
    std::size_t next = profile.size() + kEntrySize * tags.size();
    std::map<Place, std::size_t> offsets;
    std::vector<Bytes> inOrder;
    for (const auto& tag : tags) {
        const auto [offset, isNew] = offsets.try_emplace(placeOf(tag), next);
        if (isNew) {
            inOrder.push_back(tag.data);
            next += (tag.data.size() + 3) / 4 * 4;
        }
        append32(profile, tag.signature);
        append32(profile, static_cast<std::uint32_t>(offset->second));
        append32(profile, static_cast<std::uint32_t>(tag.data.size()));
    }
    for (const Bytes data : inOrder) {
        profile.insert(profile.end(), data.begin(), data.end());
        profile.resize((profile.size() + 3) / 4 * 4);
    }
    put32(profile, kSizeAt, static_cast<std::uint32_t>(profile.size()));
    std::fill_n(profile.begin() + kChecksumAt, kChecksumSize, std::uint8_t{0});  // not computed
    return profile;
}

}  // namespace

std::optional<Chromaticities> chromaticitiesOf(std::span<const std::uint8_t> edid) {
    constexpr std::size_t kBaseBlock = 128;
    // Eight numbers of ten bits: their lowest two in bytes 25 and 26, the others in a byte each behind those.
    constexpr std::size_t kLowBitsAt = 25;
    if (edid.size() < kBaseBlock) return std::nullopt;
    const auto coordinate = [&](std::size_t index) {
        const unsigned low = edid[kLowBitsAt + index / 4] >> (6 - 2 * (index % 4)) & 3U;
        return (edid[kLowBitsAt + 2 + index] * 4U + low) / 1024.0;
    };
    const auto point = [&](std::size_t index) {
        return Chromaticities::Point{coordinate(2 * index), coordinate(2 * index + 1)};
    };
    const Chromaticities colours{point(0), point(1), point(2), point(3)};
    for (const auto& [x, y] : {colours.red, colours.green, colours.blue, colours.white})
        if (x <= 0 || y <= 0 || x + y > 1) return std::nullopt;
    // Primaries on one line span no colours.
    const auto& [red, green, blue, white] = colours;
    const double area = (green.x - red.x) * (blue.y - red.y) - (blue.x - red.x) * (green.y - red.y);
    constexpr double kLeastArea = 0.01;
    return std::abs(area) < kLeastArea ? std::nullopt : std::optional(colours);
}

ProfileBytes matrixProfile(const Chromaticities& colours) {
    const Vector white = xyz(colours.white);
    const Matrix primaries{xyz(colours.red), xyz(colours.green), xyz(colours.blue)};  // one in each row
    const Vector luminances = inverse(transposed(primaries)) * white;
    const Matrix toD50 = adaptation(white);
    const auto colorant = [&](std::size_t channel) {
        Vector colour = toD50 * primaries[channel];
        for (double& part : colour) part *= luminances[channel];
        return numbers(iccSignature("XYZ "), {colour});
    };
    const ProfileBytes description = text("Dravo");
    const ProfileBytes copyright = text("No copyright");
    const ProfileBytes whitePoint = numbers(iccSignature("XYZ "), {kD50});
    const ProfileBytes adapted = numbers(iccSignature("sf32"), {toD50[0], toD50[1], toD50[2]});
    const std::array<ProfileBytes, 3> colorants{colorant(0), colorant(1), colorant(2)};
    const ProfileBytes curve = toneCurve();

    ProfileBytes header(kIccHeaderSize);
    constexpr std::size_t kVersionAt = 8;
    constexpr std::size_t kConnectionSpaceAt = 20;
    constexpr std::size_t kDateAt = 24;
    put32(header, kVersionAt, 0x04300000);
    put32(header, kClassAt, iccSignature("mntr"));
    put32(header, kColorSpaceAt, iccSignature("RGB "));
    put32(header, kConnectionSpaceAt, iccSignature("XYZ "));
    put32(header, kDateAt, 2026U << 16 | 1U);  // the same bytes whenever it is made
    put32(header, kDateAt + 4, 1U << 16);
    put32(header, kMagicAt, iccSignature("acsp"));
    for (std::size_t i = 0; i < 3; ++i) put32(header, kIlluminantAt + 4 * i, s15Fixed16(kD50[i]));
    return assembled(header, {{iccSignature("desc"), description},
                              {iccSignature("cprt"), copyright},
                              {iccSignature("wtpt"), whitePoint},
                              {iccSignature("chad"), adapted},
                              {iccSignature("rXYZ"), colorants[0]},
                              {iccSignature("gXYZ"), colorants[1]},
                              {iccSignature("bXYZ"), colorants[2]},
                              {iccSignature("rTRC"), curve},
                              {iccSignature("gTRC"), curve},
                              {iccSignature("bTRC"), curve}});
}

bool isDisplayProfile(std::span<const std::uint8_t> profile) {
    std::set<Place> places;
    for (const auto& tag : tagsOfProfile(profile)) places.insert(placeOf(tag));
    std::size_t size = 0;
    for (const auto& place : places) size += place.second;
    // More than there is: they overlap, and a copy of each would fill any memory.
    return size > 0 && size <= profile.size() && signatureAt(profile, kMagicAt) == iccSignature("acsp") &&
           signatureAt(profile, kClassAt) == iccSignature("mntr") &&
           signatureAt(profile, kColorSpaceAt) == iccSignature("RGB ");
}

ProfileBytes withTable(std::span<const std::uint8_t> profile, const RampLevels& table) {
    auto tags = tagsOfProfile(profile);
    std::erase_if(tags, [](const IccTag& tag) { return tag.signature == iccSignature("vcgt"); });
    const ProfileBytes data = tableTag(table);
    tags.push_back({iccSignature("vcgt"), data});
    return assembled(profile.first(kIccHeaderSize), tags);
}

}  // namespace dravo::plasma
