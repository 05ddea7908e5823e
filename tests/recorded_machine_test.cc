#include <string>

#include <gtest/gtest.h>

#include "platform/recorded/machine.h"
#include "tests/temporary_tree.h"

namespace tarvel::recorded {
namespace {

// A file with this text; a folder where it is empty.
std::string complaint(const std::string& text) {
  const TemporaryTree tree;
  tree.write("machine.json", text);
  const auto read = readRecording(tree.path(text[0] == '\0' ? "" : "machine.json"));
  const auto* reason = std::get_if<std::string>(&read);
  return reason != nullptr ? *reason : "";
}

TEST(RecordedMachine, AFileThatDoesNotFitIsToldByItsPlace) {
  const struct {
    const char* text;
    const char* place;  // where the complaint begins; "" for none
  } rows[] = {
      {R"({})", ""},
      {R"({"format": 1, "smc": {"keys": {"TC0P": {}}}, "disks": [{}], "frames": [{}]})", ""},
      {R"({"frames": [{"smc": null, "disks": null, "running": null, "commands": null}]})", ""},
      {R"({"authorization": -60005, "applications": [{}]})", ""},
      {R"([])", "the whole: "},
      {R"({"format": 2})", "format: "},
      {R"({"smc": null})", "smc: "},
      {R"({"smd": {}})", "smd: unknown member"},
      {R"({"running": "com.Tarvel"})", "running: "},
      {R"({"running": [1]})", "running[0]: "},
      {R"({"smc": {"matchError": -1}})", "smc.matchError: "},
      {R"({"smc": {"openError": 4294967296}})", "smc.openError: "},
      {R"({"smc": {"openError": 1.5}})", "smc.openError: "},
      {R"({"smc": {"keys": {"TC0": {}}}})", "smc.keys.TC0: "},
      {R"({"smc": {"keys": {"TC0P": {"type": "sp789"}}}})", "smc.keys.TC0P.type: "},
      {R"({"smc": {"keys": {"TC0P": {"bytes": "2e8"}}}})", "smc.keys.TC0P.bytes: "},
      {R"({"smc": {"keys": {"TC0P": {"bytes": "xx"}}}})", "smc.keys.TC0P.bytes: "},
      {R"({"disks": [{"fail": ["identify", "spin"]}]})", "disks[0].fail[1]: "},
      {R"({"disks": [{"smart": 7}]})", "disks[0].smart: "},
      {R"({"commands": {"disk": ""}})", "commands.disk: "},
      {R"({"commands": {"cpu": {"base64": "QQ="}}})", "commands.cpu.base64: "},
      {R"({"applications": [{"wholeIcon": "none.png"}]})", "applications[0].wholeIcon: "},
      {R"({"applications": [{"icon": [{"width": 48}]}]})", "applications[0].icon[0].file: "},
      {R"({"frames": [{}, {"format": 1}]})", "frames[1].format: "},
      {R"({"frames": [{"disks": [{"identify": 1}]}]})", "frames[0].disks[0].identify: "},
      {R"({"running": [)", "not JSON"},
      {R"({"format": 1e999})", "not JSON"},
      {"", "cannot be read"},
  };
  for (const auto& row : rows) {
    const std::string said = complaint(row.text);
    EXPECT_TRUE(row.place[0] == '\0' ? said.empty() : said.starts_with(row.place))
        << row.text << " -> " << said;
  }
}

}  // namespace
}  // namespace tarvel::recorded
