#include <algorithm>

#include "process/process_usage.h"
#include "tests/replay_fixture.h"

namespace tarvel {
namespace {

using Json = nlohmann::json;
using ProcessCollection = ReplayTest;

constexpr const char* kRow = "<pid>301</pid><name>bash  </name><cpu>12.3</cpu>";

TEST_F(ProcessCollection, LinesBecomeRecords) {
  const std::string row = kRow;
  const std::string unknown = "<icon>unknown</icon>";
  const struct {
    const char* what;
    Json output;
    Array records;
  } rows[] = {
      {"nothing", "", {}},
      {"only a newline", "\n", {}},
      {"one row", row + "</item>\n", {row + unknown}},
      {"order and repeats are kept",
       "b</item>\na</item>\nb</item>\n",
       {"b" + unknown, "a" + unknown, "b" + unknown}},
      {"text after the last row", row + "</item>\nrest", {row + unknown, "rest" + unknown}},
      {"no end at all", "no row", {"no row" + unknown}},
      {"newlines inside a row go, blanks stay",
       "<pid>1</pid>\n <name>a\nb</name>\r</item>",
       {"<pid>1</pid> <name>ab</name>\r" + unknown}},
      {"a hidden name",
       "<pid>1</pid><name>LaunchCFMApp x </name></item>" + row + "</item>",
       {row + unknown}},
      {"a name that only resembles it",
       "<name>launchCFM</name></item><name>xLaunchCFM</name></item>",
       {"<name>launchCFM</name>" + unknown, "<name>xLaunchCFM</name>" + unknown}},
      {"a hidden name whose tag is not closed",
       "<name>LaunchCFM</item>",
       {"<name>LaunchCFM" + unknown}},
      {"not UTF-8", {{"base64", "PHBpZD4x/zwvcGlkPjwvaXRlbT4K"}}, {}},
      {"empty items", "</item></item>\n</item>", {}},
  };
  for (const auto& test : rows) {
    reset();
    store("Panels", Array{Array{"ProcessesDash", "1"}});
    replay({{"running", {"com.Tarvel"}}, {"commands", {{"cpu", test.output}}}});
    EXPECT_EQ(storedArray("CPUAppUsage"), PropertyList(test.records)) << test.what;
  }
}

TEST(ProcessRecords, WhatIsReadStandsBetweenItsTags) {
  const struct {
    const char* item;
    std::int32_t pid;
    const char* name;
  } rows[] = {{"<pid>12</pid><name>a</name>", 12, "a"},
              {"</pid></name><pid>12</pid><name>a</name>", 12, "a"},
              {"<pid>12<name>a", 0, ""},
              {"12", 0, ""}};
  for (const auto& row : rows) {
    processRecords(row.item, kCPUSampler, [&](std::int32_t pid, const std::string& name) {
      EXPECT_EQ(pid, row.pid) << row.item;
      EXPECT_EQ(name, row.name) << row.item;
      return std::string();
    });
  }
}

TEST_F(ProcessCollection, EachListRunsItsOwnCommandAndOnlyEnergyWantsApplications) {
  store("Panels", Array{Array{"any", "1"}});
  const std::string row = "<pid>x</pid><name>a  </name></item>\n";
  const auto trace = replay({{"running", {"com.Tarvel"}},
                             {"applications", {{{"pid", 301}, {"bundlePath", "/a"}}}},
                             {"commands", {{"cpu", row}, {"mem", row}, {"power", row}}}});
  std::vector<std::string> commands;
  for (const auto& line : trace) {
    if (line["call"] != "launch" || line["waited"] == false) continue;
    EXPECT_EQ(line["path"], "/bin/sh");
    EXPECT_EQ(line["arguments"][0], "-c");
    commands.push_back(line["arguments"][1]);
  }
  EXPECT_EQ(
      commands,
      (std::vector<std::string>{
          "top -o cpu -l 2 -n 30 -stats pid,cpu,command | tail -n 30 | awk '{print \"<pid>\"$1"
          "\"</pid><name>\"$3,$4,$5\"</name><cpu>\"$2\"</cpu></item>\"}'",
          "top -o mem -l 2 -n 30 -stats pid,mem,cmprs,command | tail -n 30 | awk '{print "
          "\"<pid>\"$1\"</pid><name>\"$4,$5,$6\"</name><mem>\"$2\"</mem><cmprs>\"$3"
          "\"</cmprs></item>\"}'",
          "top -o power -l 2 -n 50 -stats pid,power,user,command | tail -n 50 | awk '{print "
          "\"<pid>\"$1\"</pid><name>\"$4,$5,$6\"</name><power>\"$2\"</power><user>\"$3"
          "\"</user></item>\"}'"}));
  const auto pids = calls(trace, {"GetProcessForPID"});
  EXPECT_EQ(pids.size(), 3U);  // an id without digits is asked for too, as 0
  EXPECT_EQ(storedArray("CPUAppUsage")->as<Array>()->size(), 1U);
  EXPECT_EQ(storedArray("MEMAppUsage")->as<Array>()->size(), 1U);
  EXPECT_EQ(storedArray("EnergyAppUsage"), PropertyList(Array{}));
}

}  // namespace
}  // namespace tarvel
