#include <chrono>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/host/presence/application_registry.h"
#include "platform/host/processes/child_process.h"
#include "product/identifiers.h"
#include "tests/viewer_fixture.h"

namespace tarvel {
namespace {

TEST_F(ViewerTest, WrongUsageAndAbsentThingsAreOneLineOnStandardError) {
  const struct {
    Words arguments;
    int status;
    std::string complaint;  // begins with this
  } rows[] = {
      {{"no-such-command"}, 2, "tarvel: arguments: "},
      {{"show", "--no-such-option"}, 2, "tarvel: arguments: "},
      {{"show", "NoReading"}, 2, "tarvel: NoReading: "},
      {{"show"}, 1, "tarvel: readings: "},
      {{"show", "TempValues", "--json"}, 1, "tarvel: readings: "},
      {{"panels", "on"}, 2, "tarvel: arguments: "},
      {{"panels", "on", "cpu", "disks"}, 2, "tarvel: disks: "},
      {{"flag", "TempValues", "CPU Proximity"}, 2, "tarvel: arguments: "},
      {{"flag", "Panels", "CPU Proximity", "0"}, 2, "tarvel: Panels: "},
      {{"flag", "TempValues", "CPU Proximity", "0"}, 1, "tarvel: CPU Proximity: "},
      {{"request", "tea"}, 2, "tarvel: tea: "},
      {{"pannels", "on"}, 2, "tarvel: arguments: "},
      {{"alias", "Panels", "Fan 0", "x"}, 2, "tarvel: Panels: "},
      {{"defaults"}, 2, "tarvel: arguments: "},
      {{"defaults", "read", "Nothing"}, 1, "tarvel: Nothing: "},
      {{"defaults", "read", "--raw"}, 2, "tarvel: --raw: "},
      {{"defaults", "read", "Nothing", "--raw", "--json"}, 2, "tarvel: arguments: "},
      {{"defaults", "delete", "Nothing"}, 1, "tarvel: Nothing: "},
      {{"defaults", "write", "Key"}, 2, "tarvel: arguments: "},
      {{"defaults", "write", "Key", "null"}, 2, "tarvel: Key: "},
      {{"defaults", "write", "Key", "[1, null]"}, 2, "tarvel: Key: "},
      {{"defaults", "write", "Key", "no JSON"}, 2, "tarvel: Key: "},
      {{"defaults", "write", "Key", "9223372036854775808"}, 2, "tarvel: Key: "},
      {{"defaults", "write", "Key", "1", "--data", "-"}, 2, "tarvel: arguments: "},
      {{"defaults", "write", "Key", "--data", "/no/such/file"}, 1, "tarvel: /no/such/file: "},
  };
  for (const auto& row : rows) {
    const auto ended = tarvel(row.arguments);
    const auto& errors = ended.errors;
    EXPECT_EQ(ended.status, row.status) << testing::PrintToString(row.arguments);
    EXPECT_EQ(ended.output, "") << testing::PrintToString(row.arguments);
    EXPECT_TRUE(errors.starts_with(row.complaint)) << errors;
    EXPECT_EQ(errors.find('\n'), errors.size() - 1) << errors;
  }
  EXPECT_EQ(json({"defaults", "read"}), Json::object());  // nothing of this was written
}

TEST_F(ViewerTest, EveryCommandExplainsItself) {
  for (const auto& command : {Words{},
                              {"watch"},
                              {"panels"},
                              {"panels", "on"},
                              {"show"},
                              {"flag"},
                              {"alias"},
                              {"request"},
                              {"defaults"},
                              {"defaults", "read"},
                              {"defaults", "write"},
                              {"doctor"},
                              {"record"},
                              {"export"}}) {
    auto words = command;
    words.emplace_back("--help");
    const auto ended = tarvel(words);
    EXPECT_EQ(ended.status, 0) << testing::PrintToString(words);
    EXPECT_NE(ended.output.find("--help"), std::string::npos) << ended.output;
  }
  EXPECT_EQ(tarvel({"--version"}).output, "tarvel 1.2.5\n");
  // Spelled once in the build, and once by hand where a package's changelog must name it.
  const std::string plist = contentsOf(TARVEL_BUNDLE "/Info.plist");
  EXPECT_NE(plist.find("<key>CFBundleVersion</key>\n\t<string>1.2.5</string>"), plist.npos);
  EXPECT_NE(plist.find("<string>" + std::string(kHelperIdentifier) + "</string>"), plist.npos);
  EXPECT_TRUE(contentsOf(TARVEL_CHANGELOG).starts_with("tarvel (1.2.5"));
}

TEST_F(ViewerTest, PanelsAreSwitchedInAllEntriesThatNameThemAndNothingElseChanges) {
  tarvel({"defaults", "write", "Panels",
          R"([["my TempsDash left", "0", 7], ["TempsDash", "x"], ["Other", "1"], "odd"])"});
  EXPECT_EQ(tarvel({"panels", "on", "temperatures", "ProcessesDash"}).status, 0);
  EXPECT_EQ(json({"defaults", "read", "Panels"}),
            Json::parse(R"([["my TempsDash left", "1", 7], ["TempsDash", "1"], ["Other", "1"],
                            "odd", ["ProcessesDash", "1"]])"));
  EXPECT_EQ(tarvel({"panels", "off", "TempsDash", "fans"}).status, 0);
  EXPECT_EQ(tarvel({"panels"}).output,
            "ProcessesDash on\nAllocationDash off\nEnergyDash off\nFansDash off\nTempsDash off\n"
            "VoltageSensorsDash off\nPowerSensorsDash off\nCurrentSensorsDash off\n");
  EXPECT_EQ(json({"panels", "--json"})["ProcessesDash"], true);
  EXPECT_EQ(json({"defaults", "read", "Panels"}).size(), 5U);  // off appends nothing
}

TEST_F(ViewerTest, ReadingsAreShownAsTheyAreStored) {
  fillStore();
  const auto shown = json({"show", "--json"});
  EXPECT_EQ(shown["CPUAppUsage"],
            Json::parse(R"([{"pid": 301, "name": "a\\\"b c ", "cpu": "12.3", "icon": "org.a.tiff",
                             "number": 12.3, "unit": "percent"},
                            {"pid": 302, "name": "bash  ", "cpu": "2.5", "icon": "unknown",
                             "number": 2.5, "unit": "percent"}])"));
  EXPECT_EQ(shown["MEMAppUsage"],
            Json::parse(R"([{"pid": 302, "name": "bash  ", "mem": "20M", "cmprs": "512K",
                             "icon": "unknown", "bytes": 20971520.0,
                             "compressedBytes": 524288.0}])"));
  EXPECT_EQ(shown["EnergyAppUsage"][0]["power"], "4.2");
  EXPECT_EQ(shown["EnergyAppUsage"][0]["user"], "ada");
  EXPECT_EQ(shown["FanSpeedValues"],
            Json::parse(R"([{"name": "Fan 0", "current": "2500", "minimum": "2000",
                             "maximum": "6144", "flag": "1", "number": 2500.0,
                             "unit": "RPM"}])"));
  EXPECT_EQ(shown["TempValues"], Json::parse(R"([
      {"name": "CPU Proximity", "value": "58", "flag": "1", "number": 58.0, "unit": "°C"},
      {"name": "GPU Diode", "value": "91", "flag": "1", "number": 91.0, "unit": "°C"},
      {"name": "GPU Diode", "value": "91", "flag": "1", "number": 91.0, "unit": "°C",
       "mayBeOld": true}])"));
  EXPECT_LT(shown["age"]["TempValues"], 10.0);
  EXPECT_GT(shown["machine"]["memory"]["totalBytes"], 1e6);
  EXPECT_EQ(shown["VoltageValues"][0]["value"], "1.25");
  EXPECT_EQ(shown["PowerValues"][0]["name"], "System Total");
  EXPECT_EQ(json({"show", "FanSpeedValues", "--json"}).size(), 1U);
  EXPECT_NE(tarvel({"show", "TempValues"}).output.find("58 °C\n"), std::string::npos);
}

TEST_F(ViewerTest, AFlagGoesToTheFirstRecordOfItsNameAlone) {
  fillStore();
  EXPECT_EQ(tarvel({"flag", "TempValues", "GPU Diode", "0"}).status, 0);
  EXPECT_EQ(tarvel({"flag", "FanSpeedValues", "Fan 0", "hidden"}).status, 0);
  EXPECT_EQ(tarvel({"flag", "TempValues", "gpu diode", "0"}).status, 1);
  const auto shown = json({"show", "--json"});
  EXPECT_EQ(shown["TempValues"][1]["flag"], "0");
  EXPECT_EQ(shown["TempValues"][2]["flag"], "1");
  EXPECT_EQ(shown["FanSpeedValues"][0]["flag"], "hidden");
  EXPECT_EQ(shown["FanSpeedValues"][0]["maximum"], "6144");
}

// The time at which the helper published its readings, set back by this many seconds.
void makeOlder(const std::string& path, std::int64_t seconds) {
  std::fstream times(path, std::ios::in | std::ios::out | std::ios::binary);
  for (std::streamoff at = 0; at < 64; at += 8) {
    std::int64_t time = 0;
    times.seekg(at);
    times.read(reinterpret_cast<char*>(&time), sizeof time);
    time -= seconds * 1'000'000'000;
    times.seekp(at);
    times.write(reinterpret_cast<const char*>(&time), sizeof time);
  }
}

TEST_F(ViewerTest, OldReadingsAreNeverShownAsPresentOnes) {
  fillStore();
  makeOlder(file("data/QX8JD3LW6H.com.Tarvel/Library/Caches/ReadingTimes"), 125);
  tarvel({"flag", "TempValues", "GPU Diode", "0"});  // a viewer's write makes nothing younger
  const double age = json({"show", "--json"})["age"]["TempValues"];
  EXPECT_GE(age, 125);
  EXPECT_LT(age, 185);
  EXPECT_NE(tarvel({"show", "TempValues"}).output.find("(2 min old)"), std::string::npos);
  EXPECT_NE(tarvel({"watch", "--line", "--once"}).output.find(" (stale)\n"), std::string::npos);
  EXPECT_EQ(json({"watch", "--line", "--once", "--format", "waybar"})["class"], "stale");
  EXPECT_EQ(tarvel({"watch", "--line", "--once", "--text", "{temp}"}).output, "- (stale)\n");
  const auto once = tarvel({"watch", "--once", "--no-helper"});
  EXPECT_EQ(once.status, 1);
  EXPECT_NE(once.output.find("58 °C"), std::string::npos);
  EXPECT_EQ(once.errors, "tarvel: readings: 2 min old: is the helper running?\n");
}

TEST_F(ViewerTest, AliasesAreKeptInTheViewersSettings) {
  const auto path = file("config/tarvel/dashboard.json");
  EXPECT_EQ(tarvel({"alias", "TempValues", "GPU Diode", "Radeon"}).status, 0);
  EXPECT_EQ(Json::parse(contentsOf(path))["aliases"],
            Json::parse(R"({"TempValues": {"GPU Diode": "Radeon"}})"));
  EXPECT_EQ(tarvel({"alias", "TempValues", "GPU Diode", ""}).status, 0);
  EXPECT_EQ(Json::parse(contentsOf(path))["aliases"], Json::object());
  for (const char* broken : {"[]", "{", "\xff"}) {
    writeFile(path, broken);
    EXPECT_EQ(tarvel({"alias", "TempValues", "GPU Diode", "x"}).status, 1) << broken;
    EXPECT_EQ(contentsOf(path), broken) << "a broken file is its owner's to mend";
  }
  writeFile(path,
            R"({"order": 7, "theme": [], "intervalMilliseconds": 1e300, "aliases": {"x": 1}})");
  EXPECT_EQ(tarvel({"alias", "TempValues", "GPU Diode", "x"}).status, 0);
  EXPECT_EQ(Json::parse(contentsOf(path))["intervalMilliseconds"], 60000);
}

TEST_F(ViewerTest, RequestsAreWrittenUnderTheirKeys) {
  for (const auto& [action, key] : {std::pair("updates", "CheckHelperUpdates"),
                                    {"uninstall", "UninstallHelper"},
                                    {"clear-sensors", "ClearSensors"}}) {
    EXPECT_EQ(tarvel({"request", action}).status, 0);
    EXPECT_EQ(json({"defaults", "read", key}), true) << key;
  }
}

// Whoever started it: a viewer that was killed leaves its helper to those that still run.
TEST_F(ViewerTest, TheHelperEndsWithTheLastViewer) {
  const ApplicationRegistry registry;
  const auto runs = [&](std::string_view identifier, std::size_t count) {
    for (int i = 0; i < 1000 && registry.running(identifier).size() != count; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return registry.running(identifier).size() == count;
  };
  const FileDescriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  const auto watch = [&] {
    return *spawnProgram(TARVEL_PROGRAM, {"watch", "--json"},
                         {{{nowhere.get(), STDOUT_FILENO}, {nowhere.get(), STDERR_FILENO}}});
  };
  const auto first = watch();
  ASSERT_TRUE(runs(kHelperIdentifier, 1));
  const auto second = watch();
  const auto third = watch();
  ASSERT_TRUE(runs(kViewerIdentifier, 3));
  ::kill(first, SIGKILL);
  waitForProgram(first);
  ::kill(second, SIGTERM);
  EXPECT_EQ(waitForProgram(second), 0);
  EXPECT_TRUE(runs(kHelperIdentifier, 1)) << "the third still runs";
  ::kill(third, SIGQUIT);
  EXPECT_EQ(waitForProgram(third), 0);
  EXPECT_TRUE(runs(kHelperIdentifier, 0));
}

TEST_F(ViewerTest, AReplayTellsThatItsTraceIsCutShort) {
  writeFile(file("machine.json"), "{}");
  const auto ended = run(TARVEL_REPLAY, {file("machine.json"), "--trace", "/dev/full"});
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.errors, "tarvel-replay: /dev/full: cannot be written\n");
}

TEST_F(ViewerTest, EveryKindOfValueComesBackFromTheStore) {
  for (const char* text : {R"("text \u0000 ü")", "true", "-9223372036854775808", "0.1", "1e300",
                           "[]", "{}", R"({"list": [1, 2.5, "x", {"deep": [false]}]})"}) {
    EXPECT_EQ(tarvel({"defaults", "write", "Key", text}).status, 0) << text;
    EXPECT_EQ(json({"defaults", "read", "Key", "--json"}), Json::parse(text));
    EXPECT_EQ(tarvel({"defaults", "read", "Key", "--raw"}).status, 1) << "not a data value";
  }
  EXPECT_EQ(tarvel({"defaults", "write", "Key", R"("\u009b\u007f\u202e")"}).status, 0);
  EXPECT_EQ(tarvel({"defaults", "read", "Key"}).output, "\"\\u009b\\u007f\\u202e\"\n");
  EXPECT_EQ(json({"defaults", "read", "--json"}).size(), 1U);
  EXPECT_EQ(tarvel({"defaults", "delete", "Key"}).status, 0);
  EXPECT_EQ(tarvel({"defaults", "read", "Key"}).status, 1);
}

TEST_F(ViewerTest, DataIsKeptByteForByte) {
  const std::string bytes("\0\n\xff no archive", 14);
  EXPECT_EQ(tarvel({"defaults", "write", "Blob", "--data", "-"}, bytes).status, 0);
  EXPECT_EQ(tarvel({"defaults", "read", "Blob", "--raw"}).output, bytes);
  EXPECT_EQ(json({"defaults", "read", "Blob"}), Json::parse(R"({"data": "AAr/IG5vIGFyY2hpdmU="})"));
  fillStore();
  const auto archive = tarvel({"defaults", "read", "TempValues", "--raw"}).output;
  writeFile(file("archive"), archive);
  EXPECT_EQ(tarvel({"defaults", "write", "Copy", "--data", file("archive")}).status, 0);
  EXPECT_EQ(json({"defaults", "read", "Copy"})[0], Json::parse(R"(["CPU Proximity", "58", "1"])"));
}

// The file has twelve archives inside one another, each twelve times in the one around it.
TEST_F(ViewerTest, OfArchivesInArchivesSomeAreShown) {
  const std::string nested = TARVEL_FIXTURES "/archives/nested.plist";
  EXPECT_EQ(tarvel({"defaults", "write", "Nested", "--data", nested}).status, 0);
  const auto shown = tarvel({"defaults", "read", "Nested", "--json"});
  EXPECT_EQ(shown.status, 0);
  EXPECT_LT(shown.output.size(), 32U << 20U);
  EXPECT_TRUE(Json::parse(shown.output)[0][0][0].is_array());
}

TEST_F(ViewerTest, WatchingEnablesAllPanelsWhereNoneWereChosen) {
  fillStore();
  tarvel({"defaults", "delete", "Panels"});
  const auto line = run("/usr/bin/timeout",
                        {"-s", "TERM", "1", TARVEL_PROGRAM, "watch", "--json", "--no-helper"});
  EXPECT_EQ(line.output.find('\n'), line.output.size() - 1) << "one line while nothing changes";
  auto printed = Json::parse(line.output);
  auto shown = json({"show", "--json"});
  for (const char* moving : {"age", "machine"}) {
    EXPECT_TRUE(printed.contains(moving)) << moving;
    printed.erase(moving);
    shown.erase(moving);
  }
  EXPECT_EQ(printed, shown);
  EXPECT_EQ(json({"defaults", "read", "Panels"}).size(), 8U);
}

TEST_F(ViewerTest, TheWidgetPrintsOneLineInTheFormOfItsBar) {
  EXPECT_EQ(tarvel({"watch", "--line", "--once"}).status, 1) << "nothing is there";
  EXPECT_EQ(tarvel({"watch", "--line", "--format", "tea"}).status, 2);
  EXPECT_EQ(tarvel({"watch", "--format", "tmux"}).status, 2);
  fillStore();
  tarvel({"flag", "FanSpeedValues", "Fan 0", "0"});
  const std::string plain = R"(a\"b c 12.3% · 91 °C · 36.00 W)";
  const auto once = [&](const std::string& format) {
    return tarvel({"watch", "--line", "--once", "--format", format}).output;
  };
  EXPECT_EQ(once("plain"), plain + "\n");
  EXPECT_EQ(once("tmux"), R"(a\"b c 12.3% · #[fg=red]91 °C#[default] · 36.00 W)"
                          "\n");
  EXPECT_EQ(Json::parse(once("i3blocks")),
            Json({{"full_text", plain}, {"short_text", R"(a\"b c 12.3%)"}, {"color", "#FF0000"}}));
  auto waybar = Json::parse(once("waybar"));
  EXPECT_LE(waybar["percentage"], 100);
  waybar.erase("percentage");
  EXPECT_EQ(waybar, Json({{"text", plain},
                          {"tooltip", "a\\\"b c 12.3%\nGPU Diode 91 °C\nSystem Total 36.00 W"},
                          {"class", "hot"}}));
  const auto filled = [&](const std::string& text) {
    return tarvel({"watch", "--line", "--once", "--text", text});
  };
  EXPECT_EQ(
      filled("{temp} {temp:CPU Proximity} {fan:Fan 0} {fan} {power} {{x}} {battery.time}").output,
      "91 °C 58 °C 2500 RPM - 36.00 W {x} -\n");
  for (const char* wrong : {"{cpo}", "{temp", "}", "{}", "{temps:max}"}) {
    EXPECT_EQ(filled(wrong).status, 2) << wrong;
  }
  const auto kept = tarvel({"defaults", "read"}).output;
  const auto runs = run("/usr/bin/timeout",
                        {"-s", "TERM", "1", TARVEL_PROGRAM, "watch", "--line", "--no-helper"});
  EXPECT_EQ(runs.output, plain + "\n") << "one line while nothing changes";
  EXPECT_EQ(tarvel({"defaults", "read"}).output, kept) << "it writes nothing";
}

TEST_F(ViewerTest, ARecordOfThisMachineReplaysIntoItsReadings) {
  const auto ended = tarvel({"record", file("this.json")});
  ASSERT_EQ(ended.status, 0) << ended.errors;
  const auto record = Json::parse(contentsOf(file("this.json")));
  EXPECT_EQ(record["running"], Json({"com.Tarvel"}));
  ASSERT_EQ(tarvel({"panels", "on", "cpu"}).status, 0);
  replay(file("this.json"));
  const auto rows = json({"show", "CPUAppUsage", "--json"})["CPUAppUsage"];
  ASSERT_FALSE(rows.empty());
  const std::string lines = record["commands"]["cpu"];
  EXPECT_EQ(static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n')), rows.size());
  const std::string name = rows[0]["name"];
  const std::string load = rows[0]["cpu"];
  EXPECT_TRUE(lines.starts_with("<pid>" + rows[0]["pid"].dump() + "</pid><name>" + name +
                                "</name><cpu>" + load + "</cpu></item>\n"));
  EXPECT_EQ(tarvel({"record", file("no/such/folder")}).status, 1);
  EXPECT_EQ(tarvel({"record"}).status, 2);
}

TEST_F(ViewerTest, TheDoctorTellsStateAndStepOfEverySource) {
  const auto findings = json({"doctor", "--json"})["findings"];
  std::vector<std::string> subjects;
  for (const auto& finding : findings) {
    subjects.push_back(finding["subject"]);
    const std::string state = finding["state"];
    EXPECT_TRUE(state == "ok" || state == "missing" || state == "note") << finding;
    EXPECT_NE(finding["found"], "") << finding;
    if (subjects.back() == "container") {
      EXPECT_EQ(finding["details"]["path"], file("data/QX8JD3LW6H.com.Tarvel"));
    }
    if (subjects.back() == "viewer") {
      EXPECT_EQ(finding["details"]["pids"], Json::array());
    }
  }
  for (const char* subject :
       {"controller", "temperatures", "fans", "icon theme", "applications", "container", "store",
        "registry", "helper", "viewer", "widget", "helper bundle", "updates"}) {
    EXPECT_EQ(std::count(subjects.begin(), subjects.end(), subject), 1) << subject;
  }
  EXPECT_NE(tarvel({"doctor"}).output.find("registry"), std::string::npos);
}

}  // namespace
}  // namespace tarvel
