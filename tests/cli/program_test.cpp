#include <fcntl.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/stat.h>
#include <turbojpeg.h>

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>

#include "cli/commands.h"
#include "display/gamma_table.h"
#include "filter/preset_json.h"
#include "support/process_under_test.h"

namespace dravo::testing {
namespace {

using Pixels = std::vector<std::uint8_t>;

/// A picture as an independent reader sees it: four bytes a pixel.
struct Seen {
    png_uint_32 width = 0;
    png_uint_32 height = 0;
    bool hasAlpha = false;
    Pixels rgba;
};

Seen see(const std::filesystem::path& file) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    Seen seen;
    if (!png_image_begin_read_from_file(&image, file.c_str())) return seen;
    seen.hasAlpha = (image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    image.format = PNG_FORMAT_RGBA;
    seen.rgba.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, seen.rgba.data(), 0, nullptr)) return {};
    seen.width = image.width;
    seen.height = image.height;
    return seen;
}

/// Every level of every channel in some pixel, alpha included.
constexpr unsigned kSide = 64;
Pixels manyColours() {
    Pixels pixels;
    for (unsigned i = 0; i < kSide * kSide; ++i) {
        for (const unsigned value : {i, i * 7 + 3, i * 13 + 11, 255 - i / 16}) {
            pixels.push_back(static_cast<std::uint8_t>(value & 0xff));
        }
    }
    return pixels;
}

void writePng(const std::filesystem::path& file, const Pixels& pixels, png_uint_32 format) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = kSide;
    image.height = kSide;
    image.format = format;
    ASSERT_TRUE(png_image_write_to_file(&image, file.c_str(), 0, pixels.data(), 0, nullptr));
}

std::string jpegOf(const Pixels& pixels) {
    const std::unique_ptr<void, int (*)(void*)> handle(tjInitCompress(), tjDestroy);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    tjCompress2(handle.get(), pixels.data(), kSide, 0, kSide, TJPF_RGBX, &bytes, &size, TJSAMP_444, 100, 0);
    std::string result(reinterpret_cast<const char*>(bytes), size);
    tjFree(bytes);
    return result;
}

Pixels pixelsOf(const std::string& jpeg) {
    const std::unique_ptr<void, int (*)(void*)> handle(tjInitDecompress(), tjDestroy);
    Pixels pixels(kSide * kSide * 4);
    tjDecompress2(handle.get(), reinterpret_cast<const unsigned char*>(jpeg.data()), jpeg.size(), pixels.data(), kSide,
                  0, kSide, TJPF_RGBA, TJFLAG_ACCURATEDCT);
    return pixels;
}

class ProgramTest : public ::testing::Test {
protected:
    ProgramOutcome run(std::vector<std::string> arguments, const std::filesystem::path& outputTo = {}) {
        return runProgram(home_, std::move(arguments), {}, outputTo);
    }

    /// What the program makes of a picture of ours, by the preset of these tests.
    Seen previewOf(const char* input) {
        EXPECT_EQ(run({"preview", path(input), path("out.png"), "evening", "--intensity", "0.4"}).status,
                  ExitStatus::exited(0));
        return see(path("out.png"));
    }

    std::string path(const char* name) const { return (home_.path() / name).string(); }
    void write(const char* name, const std::string& text) const { std::ofstream(path(name), std::ios::binary) << text; }

    /// The pixels as `table` shows them.
    static Pixels through(const GammaTable& table, Pixels pixels) {
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            if (i % 4 == 3) continue;
            const auto& channel = table.*GammaTable::channels()[i % 4];
            pixels[i] = static_cast<std::uint8_t>(std::lround(255 * static_cast<double>(channel[pixels[i]])));
        }
        return pixels;
    }

    static GammaTable evening() {
        const FilterPreset& preset = FilterPreset::evening();
        return computeTable(preset, 0.4, preset.dimming, preset.blackPoint, preset.contrast);
    }

    TestHome home_;
};

TEST_F(ProgramTest, SaysThatThereIsNoRoomForItsOutput) {
    const ProgramOutcome full = run({"presets", "--json"}, "/dev/full");
    EXPECT_EQ(full.status, ExitStatus::exited(1));
    EXPECT_EQ(full.err, "dravo: cannot write the output: No space left on device\n");
}

TEST_F(ProgramTest, ListsOnesOwnPresetsAndComplainsOnceAboutADamagedFile) {
    home_.write(".dravo/custom_presets.json", *encodePresets(std::vector{FilterPreset{.id = "MINE"}}));
    EXPECT_EQ(nlohmann::json::parse(run({"presets", "--json"}).out).back()["id"], "MINE");
    home_.write(".dravo/custom_presets.json", "[{}]");
    const ProgramOutcome damaged = run({"presets", "--json"});
    EXPECT_EQ(nlohmann::json::parse(damaged.out).size(), FilterPreset::builtIn().size());
    EXPECT_EQ(damaged.status, ExitStatus::exited(1));
    EXPECT_NE(damaged.err.find("custom_presets.json"), std::string::npos) << damaged.err;
    EXPECT_EQ(std::ranges::count(damaged.err, '\n'), 1) << damaged.err;
}

TEST_F(ProgramTest, TakesOnlyAZoneForAZoneAndKnowsWhereThePersonIs) {
    const auto sun = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"sun", "--date", "2024-06-21", "--json"});
        const auto outcome = run(words);
        return outcome.status == ExitStatus::exited(0) ? outcome.out : outcome.err;
    };
    home_.writePreferences("lastLatitude = 51.5\nlastLongitude = 0\n");
    EXPECT_EQ(sun({}).find(R"({"sunrise":"2024-06-21T03:4)"), 0U) << sun({});
    EXPECT_NE(sun({"--time-zone", "Asia/Tokyo"}), sun({}));
    for (const std::string none : {"/etc/passwd", "zone1970.tab", "Nowhere/Atall", "CET-1CEST", ""}) {
        EXPECT_NE(sun({"--time-zone", none, "--latitude=1", "--longitude=1"}).find("there is no time zone '" + none),
                  std::string::npos)
            << none;
    }
    home_.writePreferences("lastLatitude = 91\nlastLongitude = 0\n");
    EXPECT_NE(sun({}).find("give --latitude and --longitude"), std::string::npos) << "UTC has no place";
}

TEST(ManualTest, NamesEveryCommandAndOption) {
    std::string manual = contentOf(DRAVO_MANUAL);
    std::erase(manual, '\\');
    const std::size_t begin = manual.find(".SH COMMANDS");
    const std::string commands = manual.substr(begin, manual.find(".SH SIGNALS") - begin);
    for (const cli::Command* const command : cli::commands()) {
        const std::regex entry("\n\\.TP\n\\.B[^\n]*\\b" + std::string(command->name) + "\\b");
        EXPECT_TRUE(std::regex_search(commands, entry)) << command->name;
        for (const cli::Option& option : command->options)
            EXPECT_NE(commands.find(std::string("--") + option.name), std::string::npos) << option.name;
    }
}

TEST_F(ProgramTest, PreviewsAPictureExactlyAsTheTableSaysAndKeepsAlpha) {
    const Pixels colours = manyColours();
    writePng(path("in.png"), colours, PNG_FORMAT_RGBA);
    const Seen seen = previewOf("in.png");
    EXPECT_TRUE(seen.hasAlpha);
    ASSERT_EQ(seen.width, kSide);
    ASSERT_EQ(seen.height, kSide);
    EXPECT_EQ(seen.rgba, through(evening(), colours));

    // In place, by a misleading name.
    std::filesystem::rename(path("in.png"), path("same.png"));
    std::filesystem::create_symlink(path("same.png"), path("link.png"));
    ASSERT_EQ(run({"preview", path("link.png"), path("same.png"), "evening", "--intensity=0.4"}).status,
              ExitStatus::exited(0));
    EXPECT_EQ(see(path("same.png")).rgba, seen.rgba);

    // Without alpha, in grey, and as JPEG: compared with what a reader makes of the input.
    writePng(path("grey.png"), colours, PNG_FORMAT_GRAY);
    const Seen grey = previewOf("grey.png");
    EXPECT_EQ(grey.rgba, through(evening(), see(path("grey.png")).rgba));
    EXPECT_FALSE(grey.hasAlpha);
    write("photo.png", jpegOf(colours));
    EXPECT_EQ(previewOf("photo.png").rgba, through(evening(), pixelsOf(jpegOf(colours))));
}

TEST_F(ProgramTest, RefusesDamagedAndHostilePicturesAndLeavesTheOldOneAlone) {
    writePng(path("good.png"), manyColours(), PNG_FORMAT_RGB);
    const std::string png = contentOf(path("good.png"));
    const std::string jpeg = jpegOf(manyColours());
    std::string flipped = png;
    flipped[png.size() / 2] = static_cast<char>(flipped[png.size() / 2] ^ 0x55);
    std::string hugeJpeg = jpeg;  // height and width stand behind the frame marker
    const std::size_t frame = hugeJpeg.find("\xff\xc0");
    ASSERT_NE(frame, std::string::npos);
    hugeJpeg.replace(frame + 5, 4, "\xff\xff\xff\xff");
    const std::string cases[] = {
        png.substr(0, png.size() / 2),
        png.substr(0, png.size() - 12),
        png.substr(0, 20),
        flipped,
        jpeg.substr(0, jpeg.size() / 2),
        jpeg.substr(0, 30),
        hugeJpeg,
        "",
        "GIF89a, not a PNG or JPEG",
    };
    write("out.png", "kept");
    for (const std::string& damaged : cases) {
        write("in.png", damaged);
        const ProgramOutcome outcome = run({"preview", path("in.png"), path("out.png"), "fl41"});
        EXPECT_EQ(outcome.status, ExitStatus::exited(1)) << damaged.size();
        EXPECT_TRUE(outcome.err.starts_with("dravo preview: " + path("in.png") + ": ")) << outcome.err;
        EXPECT_EQ(contentOf(path("out.png")), "kept");
    }
    EXPECT_EQ(run({"preview", path("missing.png"), path("out.png"), "fl41"}).status, ExitStatus::exited(1));
    EXPECT_EQ(run({"preview", path("no/folder/out.png"), "fl41"}).status, ExitStatus::exited(1));
    EXPECT_EQ(contentOf(path("out.png")), "kept");
}

TEST_F(ProgramTest, DrawsItsOwnTestCardAndTheSheetOfAllPresets) {
    ASSERT_EQ(run({"preview", path("plain.png"), "migrainePrecision", "--intensity", "0"}).status,
              ExitStatus::exited(0));
    ASSERT_EQ(run({"preview", path("filtered.png"), "evening", "--intensity", "0.4"}).status, ExitStatus::exited(0));
    const Seen plain = see(path("plain.png"));
    ASSERT_GT(plain.width, 600U);
    EXPECT_EQ(see(path("filtered.png")).rgba, through(evening(), plain.rgba));

    ASSERT_EQ(run({"preview", "--all", path("all.png")}).status, ExitStatus::exited(0));
    const Seen sheet = see(path("all.png"));
    ASSERT_GT(sheet.width, 1000U);
    // Only one preset has a dot of this green.
    const FilterPreset& green = FilterPreset::greenBand();
    std::vector<long> dot;
    for (const double factor : {green.redFactor, green.greenFactor, green.blueFactor})
        dot.push_back(std::lround(255 * factor));
    EXPECT_FALSE(std::ranges::search(sheet.rgba, dot).empty());
    EXPECT_EQ(run({"preview", "--displays", path("displays.png")}).status, ExitStatus::exited(3));
}

}  // namespace
}  // namespace dravo::testing
