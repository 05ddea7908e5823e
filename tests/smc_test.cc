#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include "smc/key_codes.h"
#include "smc/smc_wrapper.h"
#include "tests/fake_smc.h"
#include "tests/temporary_home.h"
#include "text/decimal_text.h"

namespace tarvel {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Machine {
  FakeSMC smc;
  KeptLog log;
  std::optional<SMCSession> session{std::in_place, smc, log};

  SMCWrapper& wrapper() { return session->sharedWrapper(); }
  void hold(const std::string& key, const std::string& type, const Bytes& bytes) {
    smc.keys[key] = {type, static_cast<std::uint32_t>(bytes.size()), bytes};
  }
};

// What a session with this controller prints, as a pipe has it while the program goes on.
std::string printedBy(FakeSMC& smc) {
  int ends[2];
  if (::pipe(ends) != 0) return "no pipe";
  std::fflush(stdout);
  const int saved = ::dup(STDOUT_FILENO);
  ::dup2(ends[1], STDOUT_FILENO);
  KeptLog log;
  SMCSession session(smc, log);
  session.sharedWrapper();
  ::close(ends[1]);
  pollfd output = {ends[0], POLLIN, 0};
  const bool come = ::poll(&output, 1, 1000) > 0;
  ::dup2(saved, STDOUT_FILENO);
  ::close(saved);
  std::string said(100, ' ');
  said.resize(come ? static_cast<std::size_t>(::read(ends[0], said.data(), said.size())) : 0);
  ::close(ends[0]);
  return said;
}

TEST(SMC, WhatItSaysIsFlushed) {
  FakeSMC absent;
  absent.match = {0, 0};
  EXPECT_EQ(printedBy(absent), "Error: no SMC found\n");
  FakeSMC closed;
  closed.openError = 0xe00002c5;
  EXPECT_EQ(printedBy(closed), "Error: IOServiceOpen() = e00002c5\n");
}

TEST(SMC, DecodesEveryType) {
  const Bytes huge = {0, 0, 0x80, 0x7F};
  const struct {
    const char* type;
    Bytes bytes;
    const char* text;
  } cases[] = {
      {"ui8 ", {0x02}, "2 "},
      {"ui8 ", {0xFF}, "255 "},
      {"ui8 ", {}, "0 "},
      {"ui16", {0x01, 0x2C}, "300 "},
      {"ui16", {1, 2, 3}, "66051 "},
      {"ui32", {0xFF, 0xFF, 0xFF, 0xFF}, "4294967295 "},
      {"ui32", {1, 0, 0, 0, 0}, ""},
      {"flt ", {0, 0, 0x96, 0x44}, "1200 "},
      {"flt ", {0, 0, 0x20, 0x40}, "2 "},  // 2.5: ties to even
      {"flt ", {0, 0, 0, 0x80}, "-0 "},
      {"flt ", {0xFF, 0xFF, 0x7F, 0x7F}, "34028234663852"},
      {"flt ", {0, 0x50, 0xC3, 0xD7}, "-4294967296000"},
      {"flt ", huge, "inf "},
      {"flt ", {0, 0, 0x80, 0xFF}, "-inf "},
      {"flt ", {0, 0, 0xC0, 0x7F}, "nan "},
      {"flt ", {0, 0, 0xC0, 0xFF}, "-nan "},
      {"flt ", {0, 0}, ""},
      {"fp1f", {0xFF, 0xFF}, "1.99997 "},
      {"fp4c", {0x12, 0x34}, "1.13770 "},
      {"fp5b", {0x12, 0x34}, "2.27539 "},
      {"fp6a", {0x12, 0x34}, "4.5508 "},
      {"fp79", {0x12, 0x34}, "9.1016 "},
      {"fp88", {0x12, 0x34}, "18.203 "},
      {"fpa6", {0x12, 0x34}, "72.81 "},
      {"fpc4", {0x12, 0x34}, "291.25 "},
      {"fpe2", {0x12, 0xC0}, "1200.00 "},
      {"fpe2", {0, 0, 0x12, 0xC0}, ""},
      {"sp1e", {0x80, 0x00}, "-2.00000 "},
      {"sp2d", {0x12, 0x34}, "0.56885 "},
      {"sp3c", {0x12, 0x34}, "1.13770 "},
      {"sp4b", {0x62, 0xC0}, "12.3438 "},
      {"sp5a", {0x12, 0x34}, "4.5508 "},
      {"sp69", {0x12, 0x34}, "9.102 "},
      {"sp78", {0x2E, 0x80}, "46.500 "},
      {"sp78", {0xFF, 0x00}, "-1.000 "},
      {"sp87", {0xFF, 0xC0}, "-0.500 "},
      {"sp96", {0x12, 0x34}, "72.81 "},
      {"spb4", {0x12, 0x34}, "291.25 "},
      {"spf0", {0x00, 0x10}, "16 "},
      {"spf0", {0xFF, 0xFF}, "65535 "},
      {"si16", {0xFF, 0xFF}, "65535 "},
      {"si8 ", {0xFF}, "-1 "},
      {"si8 ", {0xFF, 0xFF}, ""},
      {"{pwm", {0x80, 0x00}, "50.0% "},
      {"{pwm", {0xFF, 0xFF}, "100.0% "},
      {"{fds", {0x80, 0x00}, ""},
      {"ui8", {0x02}, ""},
      {"", {0x02}, ""},
  };
  Machine machine;
  std::string text;
  for (const auto& row : cases) {
    machine.hold("TEST", row.type, row.bytes);
    EXPECT_TRUE(machine.wrapper().readKeyAsString("TEST", text));
    EXPECT_EQ(text, row.text) << row.type;
  }
}

TEST(SMC, DecimalTextIsExactAndBounded) {
  EXPECT_EQ(decimalText(0.125, 2), "0.12");
  EXPECT_EQ(decimalText(-0.001, 2), "-0.00");
  EXPECT_EQ(decimalText(std::numeric_limits<double>::max(), 5).size(), 315U);
  char buffer[3];
  EXPECT_EQ(decimalText(12.34, 2, buffer), "12.");
}

TEST(SMC, CodesAndNumbers) {
  const std::uint8_t name[] = {'F', 'N', 'u', 'm'};
  EXPECT_EQ(_strtoulForSizeInBase(name, 4, 16), 0x464E756DU);
  EXPECT_EQ(_strtoulForSizeInBase(name, 0, 16), 0U);
  EXPECT_EQ(_strtoulForSizeInBase(name, -1, 10), 0U);
  char text[5];
  _ultostrForValue(text, 0x75693820);
  EXPECT_STREQ(text, "ui8 ");
  _ultostrForValue(text, 0);
  EXPECT_STREQ(text, "");
}

TEST(SMC, ReadsAKeyInTwoCalls) {
  Machine machine;
  machine.hold("TC0P", "sp78", {0x2E, 0x80});
  SMCValue value;
  ASSERT_EQ(machine.wrapper().SMCReadKeyOutputValue("TC0P", value), 0U);
  SMCRecordBytes expected{};
  expected[0] = 'P', expected[1] = '0', expected[2] = 'C', expected[3] = 'T';
  expected[42] = 9;
  ASSERT_EQ(machine.smc.requests.size(), 2U);
  EXPECT_EQ(machine.smc.requests[0], expected);
  expected[28] = 2;
  expected[42] = 5;
  EXPECT_EQ(machine.smc.requests[1], expected);
  EXPECT_EQ(machine.smc.selectors, std::vector<std::uint32_t>({2, 2}));
  EXPECT_STREQ(value.key.data(), "");
  EXPECT_STREQ(value.dataType.data(), "sp78");
  EXPECT_EQ(value.bytes[0], 0x2E);
}

TEST(SMC, KeepsWhatAFailedReadReached) {
  Machine machine;
  machine.smc.keys["TC0P"] = {"sp78", 2, {1, 2}, 0, 0xE00002BC};
  machine.smc.keys["TC0D"] = {"sp78", 2, {1, 2}, 0xE00002C2, 0};
  std::string text = "old";
  std::optional<double> number;
  SMCValue value;
  EXPECT_EQ(machine.wrapper().SMCReadKeyOutputValue("TC0P", value), 0xE00002BC);
  EXPECT_EQ(value.dataSize, 2U);
  EXPECT_STREQ(value.dataType.data(), "sp78");
  EXPECT_EQ(value.bytes, decltype(value.bytes){});
  EXPECT_EQ(machine.wrapper().SMCReadKeyOutputValue("TC0D", value), 0xE00002C2);
  EXPECT_EQ(value.dataSize, 0U);
  EXPECT_FALSE(machine.wrapper().readKeyAsString("TC0P", text));
  EXPECT_EQ(text, "");
  EXPECT_FALSE(machine.wrapper().readKeyIntoNumber("TC0P", number));
  EXPECT_EQ(number, 0);
  machine.hold("FNum", "{pwm", {0x80, 0});
  EXPECT_TRUE(machine.wrapper().readKeyIntoNumber("FNum", number));
  EXPECT_EQ(number, std::nullopt);
}

TEST(SMC, OpensOnceAndSaysWhyNot) {
  const struct {
    AppleSMC::Match match;
    std::uint32_t openError;
    const char* output;
    bool opened;
  } cases[] = {
      {{0, 5}, 0, "", true},
      {{0xE00002BC, 5}, 0, "Error: IOServiceGetMatchingServices() = e00002bc\n", false},
      {{0, 0}, 0, "Error: no SMC found\n", false},
      {{0, 5}, 0xBAD, "Error: IOServiceOpen() = 00000bad\n", false},
  };
  for (const auto& row : cases) {
    Machine machine;
    machine.smc.match = row.match;
    machine.smc.openError = row.openError;
    machine.hold("FNum", "ui8 ", {2});
    testing::internal::CaptureStdout();
    std::optional<double> number;
    const bool read = machine.wrapper().readKeyIntoNumber("FNum", number);
    EXPECT_EQ(machine.wrapper().readKeyIntoNumber("FNum", number), read);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), row.output);
    EXPECT_EQ(read, row.opened);
    EXPECT_EQ(number, row.opened ? 2 : 0);
    const std::vector<std::string> line{"Unable to open SMC."};
    EXPECT_EQ(machine.log.lines, row.opened ? std::vector<std::string>{} : line);
    EXPECT_EQ(std::ranges::count(machine.smc.calls, "match AppleSMC"), 1);
    machine.session.reset();
    EXPECT_EQ(machine.smc.calls.back(), row.opened ? "close 7" : "close 0");
  }
}

TEST(SMC, NamesFans) {
  Machine machine;
  const std::string longName(40, 'x');
  machine.hold("F0ID", "{fds", {0, 0, 1, 0, 'C', 'P', 'U', ' ', 'F', 'a', 'n', ' ', 0x7F, 0x80});
  machine.hold("F1ID", "{fds", {' ', 0, 0xFF});
  machine.hold("F2ID", "{fds", Bytes(longName.begin(), longName.end()));
  EXPECT_EQ(machine.wrapper().getFanName(0), "CPUFan\x7F");
  EXPECT_EQ(machine.wrapper().getFanName(1), "Fan 1");
  EXPECT_EQ(machine.wrapper().getFanName(2), longName.substr(0, 32));
  EXPECT_EQ(machine.wrapper().getFanName(3), "Fan 3");
}

TEST(SMC, ListsThePresentKeysInTheirOrder) {
  Machine machine;
  machine.hold("AAAA", "ui8 ", {1});
  machine.hold("BBBB", "ui8 ", {});
  machine.hold("DDDD", "none", {1, 2, 3});
  machine.smc.keys["EEEE"] = {"ui8 ", 1, {1}, 0, 1};
  using Keys = std::vector<std::string_view>;
  const Keys keys = {"DDDD", "AAAA", "BBBB", "CCCC", "DDDD", "EEEE"};
  EXPECT_EQ(machine.wrapper().getSupportedTempValues(keys), Keys({"DDDD", "AAAA", "DDDD"}));
  machine.smc.missingKeyError = 0xE00002F0;
  EXPECT_EQ(machine.wrapper().getSupportedTempValues(keys), Keys({"DDDD", "AAAA", "DDDD"}));
  EXPECT_TRUE(machine.wrapper().getSupportedTempValues({}).empty());
}

}  // namespace
}  // namespace tarvel
