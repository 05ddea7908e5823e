#include <array>
#include <chrono>
#include <csignal>
#include <set>
#include <thread>

#include <pwd.h>
#include <unistd.h>

#include "platform/host/processes/child_process.h"
#include "platform/linux/sensors/linux_apple_smc.h"
#include "product/store_keys.h"
#include "programs/tools/machine_record.h"
#include "programs/tools/record.h"
#include "tests/hwmon_tree.h"
#include "tests/replay_fixture.h"
#include "tests/viewer_fixture.h"
#include "viewer/panels.h"
#include "viewer/readings.h"

namespace tarvel {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;

class ReplayedRecordingTest : public ReplayTest {
 protected:
  // What the helper has published, in the form of the fixtures.
  Lines published() {
    Lines lines;
    for (const auto& [key, kind] : {std::pair(kTempValuesKey, "temperature"),
                                    {kFanSpeedValuesKey, "fan"},
                                    {kVoltageValuesKey, "voltage"},
                                    {kCurrentValuesKey, "current"},
                                    {kPowerValuesKey, "power"}}) {
      const auto value = stored(key);
      const auto reading = value ? viewer::decodeReading(key, *value) : std::nullopt;
      if (!reading) continue;
      const std::string begin = std::string("= ") + kind + "\t";
      if (const auto* sensors = std::get_if<std::vector<viewer::SensorRow>>(&*reading)) {
        for (const auto& row : *sensors) lines.push_back(begin + row.name + "=" + row.value);
      } else if (const auto* fans = std::get_if<std::vector<viewer::FanRow>>(&*reading)) {
        for (const auto& row : *fans) {
          lines.push_back(begin + row.name + "=" + row.current + " " + row.minimum + " " +
                          row.maximum);
        }
      }
    }
    return lines;
  }
};

// What the helper publishes on a machine, it publishes from the machine's recording elsewhere.
TEST_F(ReplayedRecordingTest, EveryMachineReplaysElsewhereAsItWas) {
  std::size_t machines = 0;
  for (const auto& entry : std::filesystem::directory_iterator(TARVEL_FIXTURES "/hwmon")) {
    if (entry.path().extension() != ".tsv") continue;
    ++machines;
    const TemporaryTree sys;
    const auto promised = unpackMachine(entry.path(), sys);
    LinuxSMCOptions options;
    options.root = sys.path();
    const auto sensors = makeLinuxAppleSMC(options);
    reset();
    store(kPanelsKey, viewer::allPanelsEnabled());
    writeFile(folder / "rest.json", R"({"format": 1, "running": ["com.Tarvel"]})");
    auto rest = recorded::readRecording(folder / "rest.json");
    ASSERT_TRUE(std::holds_alternative<recorded::Recording>(rest));
    recorded::RecordedPlatform others(std::get<recorded::Recording>(rest));
    const Platform there = others.platform();
    const auto machine = tools::recordMachine({*sensors, there.ataSmart, there.runningApplications,
                                               there.systemLog, there.tasks, there.workspace},
                                              tools::PersonalNames({}));
    {
      AppDelegate helper(Platform{*sensors, there.ataSmart, there.authorization, there.mainBundle,
                                  there.fileManager, there.archiver, there.runLoop,
                                  there.runningApplications, there.systemLog, there.tasks,
                                  there.updaters, there.userDefaults, there.workspace});
      others.run(helper, 1, false);
    }
    const auto publishedThere = published();
    EXPECT_EQ(publishedThere.size(), promised.size()) << entry.path();
    reset();
    store(kPanelsKey, viewer::allPanelsEnabled());
    replay(tools::recordOf({machine}));
    EXPECT_EQ(published(), publishedThere) << entry.path();
  }
  EXPECT_GT(machines, 10U);
}

// Machines that people have reported (docs/recording.md): a recording, and what it should show.
TEST_F(ReplayedRecordingTest, ReportedMachinesShowWhatTheirReportsSay) {
  std::size_t machines = 0;
  for (const auto& entry : std::filesystem::directory_iterator(TARVEL_FIXTURES "/machines")) {
    if (entry.path().extension() != ".json") continue;
    ++machines;
    auto shown = entry.path();
    std::ifstream file(shown.replace_extension(".shown"));
    Lines expected;
    for (std::string line; std::getline(file, line);) expected.push_back("= " + line);
    EXPECT_FALSE(expected.empty()) << shown;
    const auto machine = Json::parse(contentsOf(entry.path()));
    reset();
    store(kPanelsKey, viewer::allPanelsEnabled());
    replay(machine, 1 + machine.value("frames", Json::array()).size());
    EXPECT_EQ(published(), expected) << entry.path();
  }
  EXPECT_GT(machines, 0U);
}

class RecordingTest : public ViewerTest {
 protected:
  // A busy program under a name that tells a lot.
  pid_t startBusy(const std::string& name) {
    const auto program = home.path() / name;
    std::filesystem::copy_file("/bin/sh", program);
    const auto child = spawnProgram(program, {"-c", "while :; do :; done"});
    EXPECT_TRUE(child);
    return child.value_or(-1);
  }

  // What would tell this machine or its people from others, where the test may read it.
  static std::set<std::string> secretsOfThisMachine() {
    std::set<std::string> files = {"/etc/machine-id", "/proc/sys/kernel/random/boot_id"};
    std::error_code error;
    for (const auto& [folder, file] : {std::pair("/sys/class/net", "address"),
                                       {"/sys/class/block", "device/serial"},
                                       {"/sys/class/nvme", "serial"}}) {
      for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        files.insert((entry.path() / file).string());
      }
    }
    for (const char* what : {"product", "board", "chassis"}) {
      files.insert(std::string("/sys/class/dmi/id/") + what + "_serial");
    }
    std::set<std::string> secrets;
    for (const auto& file : files) {
      auto text = contentsOf(file);
      text.erase(text.find_last_not_of(" \n") + 1);
      if (text.size() > 5 && text != "00:00:00:00:00:00") secrets.insert(text);
    }
    ::setpwent();
    while (const passwd* const person = ::getpwent()) {
      if (person->pw_uid >= 1000 && person->pw_uid != 65534) secrets.insert(person->pw_dir);
    }
    ::endpwent();
    return secrets;
  }

  static std::string hostName() {
    std::array<char, 256> name{};
    ::gethostname(name.data(), name.size() - 1);
    return name.data();
  }
};

TEST_F(RecordingTest, ASignalKeepsTheCyclesSoFarAndNothingPersonalIsInThem) {
  const auto path = file("machine.json");
  const std::string host = hostName();
  const std::vector<pid_t> busy = {startBusy("at@" + host), startBusy("to 10.9.8.7")};
  int status = 1;
  for (auto time = 4s; status != 0 && time < 60s; time *= 2) {  // a cycle at three seconds
    const auto recorder =
        spawnProgram(TARVEL_PROGRAM, {"record", path, "--cycles", "10000"}).value_or(-1);
    std::this_thread::sleep_for(time);
    ::kill(recorder, SIGINT);
    status = waitForProgram(recorder);
  }
  for (const pid_t pid : busy) ::kill(pid, SIGKILL);
  for (const pid_t pid : busy) ::waitpid(pid, nullptr, 0);
  ASSERT_EQ(status, 0);
  const auto text = contentsOf(path);
  const auto machine = Json::parse(text);
  EXPECT_LE(machine.value("frames", Json::array()).size(), 10U);
  const std::string cpu = machine["commands"]["cpu"];
  EXPECT_NE(cpu.find("<name>at@"), std::string::npos) << cpu;
  EXPECT_TRUE(host == "host" || cpu.find("<name>at@" + host.substr(0, 12)) == cpu.npos) << cpu;
  EXPECT_NE(cpu.find("<name>to address"), std::string::npos) << cpu;
  for (const auto& secret : secretsOfThisMachine()) {
    EXPECT_EQ(text.find(secret), std::string::npos) << secret;
  }

  // It replays in another home, with the processes that it names.
  EXPECT_EQ(tarvel({"panels", "on", "cpu"}).status, 0);
  replay(path);
  const auto shown = json({"show", "CPUAppUsage", "--json"})["CPUAppUsage"];
  EXPECT_NE(shown.dump().find("\"to address"), std::string::npos) << shown;
}

TEST_F(RecordingTest, WithoutACycleThereIsNoFile) {
  const auto path = file("machine.json");
  const auto ended = run("/usr/bin/timeout", {"-s", "INT", "1", TARVEL_PROGRAM, "record", path});
  EXPECT_TRUE(ended.errors.starts_with("tarvel: " + path + ": ")) << ended.errors;
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
}  // namespace tarvel
