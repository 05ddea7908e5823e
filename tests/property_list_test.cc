#include <gtest/gtest.h>

#include "platform/host/property_lists/property_list_format.h"
#include "tests/property_list_bytes.h"

using namespace std::string_literals;

namespace tarvel {
namespace {

PropertyList nested(int depth) {
  PropertyList value("core");
  for (int i = 0; i < depth; ++i) value = Array{std::move(value)};
  return value;
}

TEST(PropertyListFormat, WritesAndReadsKnownBytes) {
  const std::string long15(15, 'x');
  const struct {
    PropertyList value;
    std::vector<std::string> objects;
  } cases[] = {
      {true, {"\x09"}},
      {false, {"\x08"}},
      {0, {"\x10\x00"s}},
      {255, {"\x10\xFF"}},
      {256, {"\x11\x01\x00"s}},
      {100000, {"\x12\x00\x01\x86\xA0"s}},
      {std::int64_t{1} << 32, {"\x13\x00\x00\x00\x01\x00\x00\x00\x00"s}},
      {-1, {"\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}},
      {INT64_MIN, {"\x13\x80\x00\x00\x00\x00\x00\x00\x00"s}},
      {1.5, {"\x23\x3F\xF8\x00\x00\x00\x00\x00\x00"s}},
      {Data{1, 2}, {"\x42\x01\x02"}},
      {"", {"\x50"}},
      {"a\0b"s, {"\x53\x61\x00\x62"s}},
      {long15, {"\x5F\x10\x0F" + long15}},
      {"aé", {"\x62\x00\x61\x00\xE9"s}},
      {"漢", {"\x61\x6F\x22"}},
      {"😀", {"\x62\xD8\x3D\xDE\x00"s}},
      {Array{}, {"\xA0"}},
      {Array{Array{1, 2}, "a"},
       {"\xA2\x01\x04", "\xA2\x02\x03", "\x10\x01", "\x10\x02", "\x51\x61"}},
      {Dictionary{{"a", Array{1}}, {"b", 2}},
       {"\xD2\x01\x02\x03\x05", "\x51\x61", "\x51\x62", "\xA1\x04", "\x10\x01", "\x10\x02"}},
  };
  for (const auto& [value, objects] : cases) {
    SCOPED_TRACE(testing::PrintToString(objects));
    EXPECT_EQ(encode(value), propertyListOf(objects, 0, 1));
    EXPECT_EQ(decode(propertyListOf(objects)), value);
  }
}

TEST(PropertyListFormat, WidensReferencesAndOffsets) {
  Array many;
  for (int i = 0; i < 70000; ++i) many.emplace_back(i);
  EXPECT_EQ(decode(encode(many)), PropertyList(many));
  EXPECT_EQ(decode(encode(Data(70000, 7))), PropertyList(Data(70000, 7)));
}

TEST(PropertyListFormat, ReadsWhatOthersWrite) {
  const struct {
    std::vector<std::string> objects;
    PropertyList value;
  } cases[] = {
      {{"\x14"s + std::string(8, '\0') + std::string(7, '\0') + "\x05"}, 5},
      {{"\x14"s + std::string(16, '\xFF')}, -1},
      {{"\x22\x3F\xC0\x00\x00"s}, 1.5},
      {{"\x33\x3F\xF8\x00\x00\x00\x00\x00\x00"s}, 1.5},
      {{"\xA2\x01\x01", "\x51\x61"}, Array{"a", "a"}},           // a shared element
      {{"\xA1\x02", "\x51\x62", "\x51\x61"}, Array{"a"}},        // one for nobody
      {{"\xAF\x12\x00\x00\x00\x01\x01"s, "\x09"}, Array{true}},  // a wide count
      {{"\xD1\x01\x02", "\x61\x00\xE9"s, "\x08"}, Dictionary{{"é", false}}},
  };
  for (const auto& [objects, value] : cases) {
    SCOPED_TRACE(testing::PrintToString(objects));
    EXPECT_EQ(decode(propertyListOf(objects)), value);
  }
}

TEST(PropertyListFormat, RefusesWhatIsNone) {
  const std::vector<std::string> cases[] = {
      {"\x14"s + std::string(8, '\0') + "\x80" + std::string(7, '\0')},  // 2^63
      {"\x00"s},                                                         // null
      {"\x0F"},
      {"\x80\x01"},                                  // UID
      {"\xC1\x01", "\x09"},                          // set
      {"\x51\xE9"},                                  // not ASCII
      {"\x61\xD8\x3D"},                              // half a pair
      {"\x62\xDE\x00\xD8\x3D"s},                     // a pair turned round
      {"\x52\x61"},                                  // cut off
      {"\x5F\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"},  // longer than anything
      {"\x5F\x51\x61"},                              // a count that is no number
      {"\xAF\x12\x7F\xFF\xFF\xFF"},
      {"\xA1\x05"},  // nothing there
      {"\xA1"},
      {"\xA1\x00"s},                                 // itself
      {"\xD1\x01\x02", "\x10\x01", "\x09"},          // a key that is no text
      {"\xD2\x01\x01\x02\x02", "\x51\x61", "\x09"},  // a key twice
      {"\xD1\x01\x00"s, "\x51\x61"},
      {},
  };
  for (const auto& objects : cases) {
    EXPECT_FALSE(decode(propertyListOf(objects))) << testing::PrintToString(objects);
  }
  EXPECT_FALSE(decode(propertyListOf({"\x09"}, 1)));
  const std::string xml = "<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>";
  EXPECT_FALSE(decode(Data(xml.begin(), xml.end())));
}

TEST(PropertyListFormat, BoundsDepthAndSharedExpansion) {
  EXPECT_EQ(decode(encode(nested(512))), nested(512));
  EXPECT_TRUE(encode(nested(513)).empty());
  std::vector<std::string> doubling;
  for (char next = 1; next <= 60; ++next) doubling.push_back({'\xA2', next, next});
  doubling.emplace_back("\x09");
  EXPECT_FALSE(decode(propertyListOf(doubling)));
  doubling.erase(doubling.begin(), doubling.begin() + 50);
  for (std::size_t i = 0; i < 10; ++i) {
    doubling[i] = {'\xA2', static_cast<char>(i + 1), static_cast<char>(i + 1)};
  }
  EXPECT_TRUE(decode(propertyListOf(doubling)));
}

TEST(PropertyListFormat, ShowsBytesOutsideUTF8AsReplacements) {
  EXPECT_EQ(decode(encode("a\xFFz\xC3")), PropertyList("a\uFFFDz\uFFFD"));
}

TEST(PropertyListFormat, SurvivesEveryCutAndFlip) {
  const Data whole = encode(Dictionary{{"a", Array{"é", 1, 2.5}}, {"b", Data{1}}, {"c", true}});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(decode(std::span(whole).first(size))) << size;
  }
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (int flip = 1; flip < 256; ++flip) {
      Data broken = whole;
      broken[i] = static_cast<std::uint8_t>(broken[i] ^ flip);
      const auto value = decode(broken);
      EXPECT_TRUE(!value || decode(encode(*value)));
    }
  }
}

}  // namespace
}  // namespace tarvel
