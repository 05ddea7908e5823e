#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "platform/property_list.h"
#include "text/conversions.h"
#include "text/printable_text.h"

namespace tarvel {
namespace {

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

TEST(Text, IntegersAreTheLeadingDigits) {
  const struct {
    const char* text;
    std::int32_t value;
  } rows[] = {
      {"1199.75 ", 1199},
      {" \t\n 42x", 42},
      {"-3.000 ", -3},
      {"+7", 7},
      {"", 0},
      {"abc", 0},
      {"0x10", 0},
      {"1,200", 1},
      {"--1", 0},
      {"- 1", 0},
      {"2147483647", kMost},
      {"2147483648", kMost},
      {"99999999999999999999999", kMost},
      {"-2147483648", kLeast},
      {"-99999999999999999999999", kLeast},
  };
  for (const auto& row : rows) EXPECT_EQ(intValue(row.text), row.value) << row.text;
}

TEST(Text, RealsAreTheLeadingNumber) {
  const struct {
    const char* text;
    float value;
  } rows[] = {
      {"12.3438 ", 12.3438F},
      {"-0.500 ", -0.5F},
      {" .5", 0.5F},
      {"5.", 5.0F},
      {"1e2x", 100.0F},
      {"1e", 1.0F},
      {"", 0.0F},
      {"nan", 0.0F},
      {"-inf", 0.0F},
      {"0x1p3", 0.0F},
      {"50.0% ", 50.0F},
      {"1e99", std::numeric_limits<float>::max()},
      {"1e-99", 0.0F},
      {"1e999", std::numeric_limits<float>::max()},
  };
  for (const auto& row : rows) EXPECT_EQ(floatValue(row.text), row.value) << row.text;
}

TEST(Text, BooleansFollowTheStoredType) {
  const struct {
    PropertyList object;
    bool value;
  } rows[] = {
      {"YES", true},
      {"true", true},
      {" +001", true},
      {"0", false},
      {"000", false},
      {"", false},
      {"no", false},
      {"on", false},
      {true, true},
      {false, false},
      {2, true},
      {0, false},
      {-1, true},
      {0.0, false},
      {-0.0, false},
      {0.1, true},
      {Data{1}, false},
      {Array{true}, false},
      {Dictionary{{"a", true}}, false},
  };
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    EXPECT_EQ(boolValue(rows[i].object), rows[i].value) << "row " << i;
  }
}

TEST(Text, NumbersAreWholeTexts) {
  const struct {
    const char* text;
    std::optional<double> value;
  } rows[] = {
      {"2 ", 2.0},
      {" -1.5 ", -1.5},
      {"1200.00 ", 1200.0},
      {"50.0% ", std::nullopt},
      {"nan ", std::nullopt},
      {"", std::nullopt},
      {" ", std::nullopt},
      {"12abc", std::nullopt},
      {"1e3", std::nullopt},
      {"inf", std::nullopt},
      {"1 2", std::nullopt},
  };
  for (const auto& row : rows) EXPECT_EQ(numberFromText(row.text), row.value) << row.text;
}

TEST(Text, NothingThatIsShownObeysWhoeverWroteIt) {
  const std::pair<const char*, const char*> rows[] = {{"Grüße 漢字 😀", "Grüße 漢字 😀"},
                                                      {"\x1b[31m\n\x7f", "?[31m??"},
                                                      {"\u0085\u009b", "??"},
                                                      {"exe\u202etxt", "exe?txt"},
                                                      {"\u2066a\u2069", "?a?"},
                                                      {"\u200e\u061c", "??"},
                                                      {"\u2028", "?"},
                                                      {"\xff\xc2", "??"},
                                                      {"a<b", "a?b"}};
  for (const auto& [text, shown] : rows) EXPECT_EQ(printableText(text, "<"), shown);
}

TEST(Text, CaseIsFoldedToLowerBeforeComparing) {
  EXPECT_LT(caseInsensitiveCompare("alpha", "Beta"), 0);
  EXPECT_EQ(caseInsensitiveCompare("SSD", "ssd"), 0);
  EXPECT_LT(caseInsensitiveCompare("CPU Core 10", "CPU Core 2"), 0);
  EXPECT_LT(caseInsensitiveCompare("A_", "AB"), 0);  // "_" stands before "b"
  EXPECT_LT(caseInsensitiveCompare("HDD", "HDD Bay 1"), 0);
  EXPECT_GT(caseInsensitiveCompare("b", "A"), 0);
}

}  // namespace
}  // namespace tarvel
