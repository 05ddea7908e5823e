#include <array>

#include <png.h>
#include <tiffio.h>

#include "tests/replay_fixture.h"

namespace tarvel {
namespace {

using Json = nlohmann::json;

struct Colour {
  std::uint8_t red, green, blue, alpha;
};

class IconCacheTest : public ReplayTest {
 protected:
  // A PNG file of one colour beside the machine file; its name.
  std::string picture(const std::string& name, std::uint32_t side, Colour colour) {
    std::vector<Colour> pixels(std::size_t{side} * side, colour);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = image.height = side;
    image.format = PNG_FORMAT_RGBA;
    EXPECT_NE(
        png_image_write_to_file(&image, (folder / name).c_str(), 0, pixels.data(), 0, nullptr), 0);
    return name;
  }

  // The machine with these applications, each listed once among the busiest and the thirstiest.
  static Json machine(const std::vector<Json>& applications) {
    std::string rows;
    for (const auto& application : applications) {
      rows += "<pid>" + application["pid"].dump() + "</pid><name>a  </name></item>\n";
    }
    return {{"running", {"com.Tarvel"}},
            {"applications", applications},
            {"commands", {{"cpu", rows}, {"power", rows}}}};
  }

  // The icon values of the list under the key, in its order.
  std::vector<std::string> iconValues(std::string_view key) {
    std::vector<std::string> values;
    const auto list = storedArray(key);
    for (const auto& record : *list->as<Array>()) {
      const auto& text = *record.as<std::string>();
      const auto start = text.find("<icon>") + 6;
      values.push_back(text.substr(start, text.find("</icon>") - start));
    }
    return values;
  }

  // Width and first pixel of the icon file, "48: 10 20 30 255"; "" where there is none.
  std::string fileSays(const std::string& name) {
    TIFF* tiff = TIFFOpen((icons() + name).c_str(), "r");
    if (tiff == nullptr) return "";
    std::uint32_t width = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    std::vector<std::uint32_t> pixels(std::size_t{width} * width);
    EXPECT_EQ(TIFFReadRGBAImage(tiff, width, width, pixels.data(), 0), 1);
    TIFFClose(tiff);
    const std::uint32_t pixel = pixels.front();
    return std::to_string(width) + ": " + std::to_string(TIFFGetR(pixel)) + " " +
           std::to_string(TIFFGetG(pixel)) + " " + std::to_string(TIFFGetB(pixel)) + " " +
           std::to_string(TIFFGetA(pixel));
  }
};

TEST_F(IconCacheTest, OneRepresentationGoesIntoTheFile) {
  picture("red.png", 16, {200, 10, 10, 255});
  picture("green.png", 48, {10, 200, 10, 255});
  picture("blue.png", 96, {10, 10, 200, 255});
  picture("half.png", 48, {100, 200, 50, 128});
  const auto drawing = [](double width, const char* file) {
    return Json{{"width", width}, {"height", width}, {"file", file}};
  };
  const struct {
    const char* what;
    Json icon;
    const char* whole;
    const char* says;
  } rows[] = {
      {"the one of 48 points",
       {drawing(16, "red.png"), drawing(48, "green.png"), drawing(96, "blue.png")},
       nullptr,
       "48: 10 200 10 255"},
      {"the last of several",
       {drawing(48, "green.png"), drawing(48, "blue.png"), drawing(16, "red.png")},
       nullptr,
       "96: 10 10 200 255"},
      {"the first where none is",
       {drawing(16, "red.png"), drawing(47.99, "green.png")},
       nullptr,
       "16: 200 10 10 255"},
      {"the whole icon without any", Json::array(), "blue.png", "96: 10 10 200 255"},
      {"colours multiplied by alpha", {drawing(48, "half.png")}, nullptr, "48: 50 100 25 128"},
      {"nothing to draw", Json::array(), nullptr, ""},
  };
  for (const auto& row : rows) {
    Json application = {
        {"pid", 301}, {"bundlePath", "/a"}, {"bundleIdentifier", "org.a"}, {"icon", row.icon}};
    if (row.whole != nullptr) application["wholeIcon"] = row.whole;
    store("Panels", Array{Array{"ProcessesDash", "1"}});
    replay(machine({application}), 1, true);
    EXPECT_EQ(iconValues("CPUAppUsage"), std::vector<std::string>{"org.a.tiff"}) << row.what;
    EXPECT_EQ(fileSays("org.a.tiff"), row.says) << row.what;
  }
}

TEST_F(IconCacheTest, TheProcessDecidesTheIconValue) {
  const std::string file = picture("green.png", 48, {10, 200, 10, 255});
  const std::string longName(300, 'x');
  const struct {
    const char* what;
    Json application;
    const char* value;
    bool isWritten;
  } rows[] = {
      {"no bundle location", {{"bundleIdentifier", "org.a"}}, "unknown", false},
      {"no identifier", {{"bundlePath", "/a"}}, "unknown", false},
      {"an identifier with slashes",
       {{"bundlePath", "/a"}, {"bundleIdentifier", "/../org/a/"}},
       "..orga.tiff",
       true},
      {"only dots", {{"bundlePath", "/a"}, {"bundleIdentifier", ".."}}, "...tiff", true},
      {"control characters",
       {{"bundlePath", "/a"}, {"bundleIdentifier", "a\n\tb"}},
       "a\n\tb.tiff",
       true},
      {"empty", {{"bundlePath", "/a"}, {"bundleIdentifier", ""}}, ".tiff", true},
  };
  for (auto row : rows) {
    reset();
    picture(file, 48, {10, 200, 10, 255});
    row.application["pid"] = 301;
    row.application["wholeIcon"] = file;
    store("Panels", Array{Array{"any", "1"}});
    replay(machine({row.application}), 1, true);
    const std::vector<std::string> listed = {row.value};
    const bool isApplication = listed.front() != "unknown";
    EXPECT_EQ(iconValues("CPUAppUsage"), listed) << row.what;
    EXPECT_EQ(iconValues("EnergyAppUsage"), isApplication ? listed : std::vector<std::string>{});
    EXPECT_EQ(std::filesystem::exists(icons() + row.value), row.isWritten) << row.what;
    EXPECT_EQ(std::filesystem::exists(icons()), isApplication) << row.what;
  }
  reset();
  picture(file, 48, {10, 200, 10, 255});
  store("Panels", Array{Array{"any", "1"}});
  const Json tooLong = {
      {"pid", 301}, {"bundlePath", "/a"}, {"bundleIdentifier", longName}, {"wholeIcon", file}};
  const auto trace = replay(machine({tooLong}), 2, true);
  EXPECT_EQ(iconValues("CPUAppUsage"), std::vector<std::string>{longName + ".tiff"});
  EXPECT_TRUE(std::filesystem::is_empty(icons()));
  EXPECT_GT(calls(trace, {"iconForFile"}).size(), 1U);  // a file that is missing is tried again
}

TEST_F(IconCacheTest, AFileServesAllProcessesAndIsNotDrawnTwice) {
  picture("green.png", 48, {10, 200, 10, 255});
  picture("red.png", 48, {200, 10, 10, 255});
  const auto application = [](int pid, const char* path, const char* file) {
    return Json{
        {"pid", pid}, {"bundlePath", path}, {"bundleIdentifier", "org.a"}, {"wholeIcon", file}};
  };
  store("Panels", Array{Array{"any", "1"}});
  const auto trace = replay(
      machine({application(1, "/a", "green.png"), application(2, "/b", "red.png")}), 3, true);
  EXPECT_EQ(calls(trace, {"iconForFile"}).size(), 1U);
  EXPECT_EQ(calls(trace, {"createDirectoryAtPath"}).size(), 1U);
  EXPECT_EQ(fileSays("org.a.tiff"), "48: 10 200 10 255");
  replay(machine({application(2, "/b", "red.png")}));
  EXPECT_FALSE(std::filesystem::exists(icons()));  // gone at the end
}

}  // namespace
}  // namespace tarvel
