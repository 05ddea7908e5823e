#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include "tests/temporary_home.h"

// The real programs, run to their end in a home of the test's own.

namespace tarvel {

struct Ended {
  int status = -1;
  std::string output;
  std::string errors;
};

class ViewerTest : public testing::Test {
 protected:
  using Json = nlohmann::json;
  using Words = std::vector<std::string>;

  Ended run(const std::string& program, const Words& arguments, const std::string& input = {}) {
    writeFile(home.path() / "in", input);
    std::string line = quoted(program);
    for (const auto& argument : arguments) line += " " + quoted(argument);
    for (const auto& [sign, name] : {std::pair(" <", "in"), {" >", "out"}, {" 2>", "err"}}) {
      line += sign + quoted(file(name));
    }
    const int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentsOf(file("out")),
            contentsOf(file("err"))};
  }
  Ended tarvel(const Words& arguments, const std::string& input = {}) {
    return run(TARVEL_PROGRAM, arguments, input);
  }

  Json json(const Words& arguments) {
    const auto ended = tarvel(arguments);
    EXPECT_EQ(ended.status, 0) << ended.errors;
    return Json::parse(ended.output);
  }

  // Runs the helper over a recorded machine.
  void replay(const std::string& machineFile, const std::string& cycles = "1") {
    const auto ended = run(TARVEL_REPLAY, {machineFile, "--cycles", cycles});
    ASSERT_EQ(ended.status, 0) << ended.errors;
  }

  // A machine with one reading of each kind, and all panels on.
  void fillStore() {
    writeFile(file("machine.json"), R"({"format": 1, "running": ["com.Tarvel"],
      "smc": {"keys": {
        "TC0P": {"type": "sp78", "bytes": "3a80"}, "TGDD": {"type": "sp78", "bytes": "5b00"},
        "TG1D": {"type": "sp78", "bytes": "5b00"}, "VC0C": {"type": "sp5a", "bytes": "0500"},
        "IC0C": {"type": "sp87", "bytes": "0180"}, "PSTR": {"type": "sp96", "bytes": "0900"},
        "FNum": {"type": "ui8 ", "bytes": "01"}, "F0Ac": {"type": "fpe2", "bytes": "2710"},
        "F0Mn": {"type": "fpe2", "bytes": "1f40"}, "F0Mx": {"type": "fpe2", "bytes": "6000"}}},
      "commands": {
        "cpu": "<pid>301</pid><name>a\\\"b c </name><cpu>12.3</cpu></item>\n<pid>302</pid><name>bash  </name><cpu>2.5</cpu></item>\n",
        "mem": "<pid>302</pid><name>bash  </name><mem>20M</mem><cmprs>512K</cmprs></item>\n",
        "power": "<pid>301</pid><name>a\\\"b c </name><power>4.2</power><user>ada</user></item>\n"},
      "applications": [{"pid": 301, "bundlePath": "/Applications/A.app",
                        "bundleIdentifier": "org.a"}]})");
    ASSERT_EQ(tarvel({"panels", "on", "cpu", "memory", "energy", "fans", "temperatures", "voltages",
                      "powers", "currents"})
                  .status,
              0);
    replay(file("machine.json"));
  }

  std::string file(const std::string& name) const { return (home.path() / name).string(); }

  TemporaryHome home;

 private:
  static std::string quoted(const std::string& text) {
    std::string word = "'";
    for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
  }
};

}  // namespace tarvel
