#include <gtest/gtest.h>

#include "platform/host/property_lists/keyed_archive.h"
#include "tests/property_list_bytes.h"
#include "tests/temporary_home.h"

using namespace std::string_literals;

namespace tarvel {
namespace {

// The objects that stand before "$objects" and the words of an array's record, up to index 16; the
// class record is object number 1, the root number 2.
std::vector<std::string> frame(char count) {
  return {"\xD4\x01\x02\x03\x04\x05\x06\x07\x0A",
          "\x58$version",
          "\x59$archiver",
          "\x54$top",
          "\x58$objects",
          "\x12\x00\x01\x86\xA0"s,
          "\x5F\x10\x0FNSKeyedArchiver",
          "\xD1\x08\x09",
          "\x54root",
          "\x80\x02",
          "\xAF\x10"s + count,
          "\x55$null",
          "\x5ANS.objects",
          "\x56$class",
          "\x5A$classname",
          "\x57NSArray",
          "\xD1\x0E\x0F"};
}

// An archive of arrays that refer to one another: the first is the root and has number 2.
Data archiveOf(const std::vector<std::vector<char>>& arrays) {
  const std::size_t count = arrays.size() + 2;
  auto objects = frame(static_cast<char>(count));
  const auto uid = [](std::size_t number) { return static_cast<char>(17 + number); };
  for (std::size_t number = 0; number < count; ++number) {
    objects.push_back({'\x80', static_cast<char>(number)});
  }
  objects[10] += "\x0B\x10";
  for (const auto& children : arrays) {
    objects[10].push_back(static_cast<char>(objects.size()));
    const char list = static_cast<char>(objects.size() + 1);
    objects.push_back({'\xD2', '\x0C', '\x0D', list, uid(1)});
    std::string uids(1, static_cast<char>(0xA0 + children.size()));
    for (const char child : children) uids.push_back(uid(static_cast<std::size_t>(child)));
    objects.push_back(uids);
  }
  return propertyListOf(objects);
}

Data archived(const Array& root) { return makeKeyedArchiver()->archivedDataWithRootObject(root); }

std::optional<Array> unarchived(const Data& data) {
  return makeKeyedArchiver()->unarchiveObjectWithData(data);
}

Data fixture(const std::string& name) {
  const std::string bytes = contentsOf(TARVEL_FIXTURES "/archives/" + name + ".plist");
  return {bytes.begin(), bytes.end()};
}

TEST(KeyedArchive, WritesThePlatformsBytes) {
  // [["a"]]: 1 the root, 2 its row, 3 "a", 4 the class.
  const std::vector<std::string> objects = {"\xD4\x01\x02\x03\x04\x05\x06\x07\x0A",
                                            "\x58$version",
                                            "\x59$archiver",
                                            "\x54$top",
                                            "\x58$objects",
                                            "\x12\x00\x01\x86\xA0"s,
                                            "\x5F\x10\x0FNSKeyedArchiver",
                                            "\xD1\x08\x09",
                                            "\x54root",
                                            "\x80\x01",
                                            "\xA5\x0B\x0C\x12\x15\x16",
                                            "\x55$null",
                                            "\xD2\x0D\x0E\x0F\x11",
                                            "\x5ANS.objects",
                                            "\x56$class",
                                            "\xA1\x10",
                                            "\x80\x02",
                                            "\x80\x04",
                                            "\xD2\x0D\x0E\x13\x11",
                                            "\xA1\x14",
                                            "\x80\x03",
                                            "\x51\x61",
                                            "\xD2\x17\x18\x19\x1A",
                                            "\x5A$classname",
                                            "\x58$classes",
                                            "\x57NSArray",
                                            "\xA2\x19\x1B",
                                            "\x58NSObject"};
  EXPECT_EQ(archived(Array{PropertyList(Array{"a"})}), propertyListOf(objects, 0, 1));
}

TEST(KeyedArchive, ReadsBackWhatItWrites) {
  Array wide;
  for (int i = 0; i < 300; ++i) wide.emplace_back(Array{"Name " + std::to_string(i), "7", "1"});
  const Array cases[] = {
      {},
      {"", "a\0b"s, "漢字 😀", std::string(70000, 'x')},
      {1, -1, INT64_MAX, 2.5, true, false, Data{}, Data(300, 7)},
      {Dictionary{}, Dictionary{{"$class", "NS.objects"}, {"k", Array{Dictionary{{"", 1}}}}}},
      {Array{}, Array{Array{Array{}}}},
      wide,
  };
  for (const Array& root : cases) EXPECT_EQ(unarchived(archived(root)), root);
}

TEST(KeyedArchive, AltersTheTextThatWouldReadAsAbsent) {
  const Array root = {"$null", "$null ", Dictionary{{"$null", "$nul"}}};
  const Array read = {"$null ", "$null ", Dictionary{{"$null ", "$nul"}}};
  EXPECT_EQ(unarchived(archived(root)), read);
}

TEST(KeyedArchive, ReadsOtherArchivers) {
  const Array records = {Array{"Fan 1", "1200", "1"}, Array{"CPU", "45", "0"},
                         Array{"GPU", "52", "0"}};
  EXPECT_EQ(unarchived(fixture("records-equal-shared")), records);
  EXPECT_EQ(unarchived(fixture("records-mutable-all")), records);
  EXPECT_EQ(unarchived(fixture("records-10.14")), records);
  const Array pairs = {Array{"k1", Array{"a", "b", "c", "d"}},
                       Array{"k2", Array{"", "ß", "漢字", "😀"}}};
  EXPECT_EQ(unarchived(fixture("pairs")), pairs);
}

TEST(KeyedArchive, ReadsRecordsWithTheirValueInside) {
  const struct {
    std::string key, value, name;
    std::optional<PropertyList> expected;
  } cases[] = {
      {"\x59NS.string", "\x51\x61", "\x5F\x10\x0FNSMutableString", "a"},
      {"\x59NS.string", "\x51\x61", "\x58NSString", "a"},
      {"\x57NS.data", "\x41\x07", "\x5DNSMutableData", Data{7}},
      {"\x57NS.time", "\x23\x3F\xF8\x00\x00\x00\x00\x00\x00"s, "\x56NSDate", 1.5},
      {"\x57NS.time", "\x51\x61", "\x56NSDate", std::nullopt},
      {"\x59NS.string", "\x10\x01", "\x58NSString", std::nullopt},
      {"\x59NS.string", "\x80\x02", "\x58NSString", std::nullopt},
      {"\x59NS.string", "\x51\x61", "\x55NSURL", std::nullopt},
      {"\x59NS.strong", "\x51\x61", "\x58NSString", std::nullopt},
  };
  for (const auto& [key, value, name, expected] : cases) {
    SCOPED_TRACE(name + key);
    auto objects = frame(3);
    objects[10] += "\x0B\x10\x12";
    objects[15] = name;
    objects.insert(objects.end(), {"\x80\x01", "\xD2\x13\x0D\x14\x11", key, value});
    EXPECT_EQ(unarchivedObject(propertyListOf(objects)), expected);
  }
}

TEST(KeyedArchive, RefusesWhatIsNoArchiveOfAnArray) {
  EXPECT_EQ(unarchived(archiveOf({{3, 3}, {}})), (Array{Array{}, Array{}}));
  EXPECT_FALSE(unarchived(archiveOf({{2}}))) << "contains itself";
  EXPECT_FALSE(unarchived(archiveOf({{3}, {2}}))) << "contains itself further down";
  EXPECT_FALSE(unarchived(archiveOf({{0}}))) << "an absent element";
  EXPECT_FALSE(unarchived(archiveOf({{1}}))) << "a class as an element";
  std::vector<std::vector<char>> doubling;
  for (char next = 3; next < 33; ++next) doubling.push_back({next, next});
  doubling.push_back({});
  EXPECT_FALSE(unarchived(archiveOf(doubling))) << "2^30 arrays";
  const struct {
    std::size_t index;
    std::string bytes;
  } changes[] = {
      {1, "\x58$Version"},
      {5, "\x12\x00\x01\x86\xA1"s},
      {6, "\x5DNSUnarchiver\x20"},
      {8, "\x54Root"},
      {9, "\x80\x00"s},
      {9, "\x80\x7F"},
      {9, "\x10\x02"},
      {10, "\xD0"},
      {12, "\x5ANS.Objects"},
      {13, "\x56$CLASS"},
      {15, "\x55NSSet"},
      {15, "\x61\x00\x61"s},
      {16, "\x51\x61"},
      {18, "\x80\x63"},
  };
  for (const auto& [index, bytes] : changes) {
    auto objects = frame(3);
    objects[10] += "\x0B\x10\x13";
    objects.insert(objects.end(), {"\x80\x00"s, "\x80\x01", "\xD2\x0C\x0D\x14\x12", "\xA0"});
    EXPECT_TRUE(unarchived(propertyListOf(objects)));
    objects[index] = bytes;
    EXPECT_FALSE(unarchived(propertyListOf(objects))) << index << " " << bytes;
  }
}

TEST(KeyedArchive, RefusesARecordOfManyMembers) {
  // Each of 65535 elements would have to look through as many members for its class.
  auto objects = frame(4);
  objects[10] += "\x0B\x10\x13\x15";
  const std::string list = "\xAF\x11\xFF\xFF" + std::string(0xFFFF, '\x11');
  const std::string members(0xFFFD, '\x0E');
  const std::string record = "\xDF\x11\xFF\xFF" + members + "\x0C\x0D" + members + "\x16\x12";
  objects.insert(objects.end(),
                 {"\x80\x03", "\x80\x01", "\xD2\x0C\x0D\x14\x12", list, record, "\xA0"});
  EXPECT_FALSE(unarchived(propertyListOf(objects)));
}

TEST(KeyedArchive, SurvivesEveryCutAndFlip) {
  const Data whole = archived({Array{"a", 1}, Dictionary{{"k", Data{1}}}});
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(
        unarchived(Data(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))));
  }
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (int flip = 1; flip < 256; ++flip) {
      Data broken = whole;
      broken[i] = static_cast<std::uint8_t>(broken[i] ^ flip);
      const auto array = unarchived(broken);
      EXPECT_TRUE(!array || unarchived(archived(*array)));
    }
  }
}

}  // namespace
}  // namespace tarvel
