#include <fstream>
#include <numeric>
#include <optional>
#include <string>
#include <variant>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/process_rights.h"
#include "platform/recorded/machine.h"
#include "platform/recorded/recorded_platform.h"
#include "programs/tools/findings.h"
#include "programs/tools/machine_record.h"
#include "programs/tools/record.h"
#include "programs/tools/shown_sensors.h"
#include "smart/ata_data.h"
#include "tests/fake_ata.h"
#include "tests/temporary_home.h"
#include "tests/temporary_tree.h"

namespace tarvel::tools {
namespace {

std::string hexOf(const AtaBlock& block) {
  std::string text;
  for (const auto byte : block) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

AtaBlock filled(AtaBlock block, std::size_t begin, std::size_t end) {
  std::fill(block.begin() + static_cast<std::ptrdiff_t>(begin),
            block.begin() + static_cast<std::ptrdiff_t>(end), 'S');
  return signedBlock(block);
}

// What the recorder makes of a machine that was recorded itself.
Json recordedAgain(const Json& machine, const PersonalNames& personal) {
  const TemporaryTree tree;
  tree.write("machine.json", machine.dump());
  auto recording = recorded::readRecording(tree.path("machine.json"));
  if (const auto* misfit = std::get_if<std::string>(&recording)) {
    ADD_FAILURE() << *misfit;
    return {};
  }
  recorded::RecordedPlatform source(std::get<recorded::Recording>(std::move(recording)));
  const auto services = source.platform();
  return recordMachine({services.appleSMC, services.ataSmart, services.runningApplications,
                        services.systemLog, services.tasks, services.workspace},
                       personal);
}

TEST(Record, NamesAreFoundInAnyCaseAndCutShort) {
  const PersonalNames personal({{"/srv/ada", "/home/user"}, {"ada", "user"}, {"lovelace", "host"}});
  const std::pair<const char*, const char*> rows[] = {
      {"Ada ADA ada's", "user user user's"},
      {"adamant Canada", "adamant Canada"},
      {"ssh ada@LoveLace  ", "ssh user@host  "},
      {"backup-of-lovel ", "backup-of-host "},  // 15 characters, cut by the kernel
      {"backup-lovel ", "backup-lovel "},       // shorter ones are whole
      {"/srv/ada/x", "/home/user/x"},
      {"10.0.0.17 fe80::1 00:11:22:33:44:55", "address address address"}};
  for (const auto& [text, removed] : rows) EXPECT_EQ(personal.removedFrom(text), removed);
}

TEST(Record, AMachineComesBackWithoutWhatIsPersonal) {
  const AtaBlock identify = identifyBlock("DISK");
  const AtaBlock smart = temperatureBlock(40);
  const auto machine = [&](const AtaBlock& identity, const AtaBlock& data, const std::string& name,
                           const std::string& user, const std::string& home) {
    const std::string line = "<pid>7</pid><name>" + name + " </name>";
    const Json key = {{"type", "sp78"}, {"size", 2}, {"bytes", "3a80"}};
    return Json{{"running", {"com.Tarvel", "com.Tarvel", "com.Tarvel.Widget"}},
                {"smc", {{"keys", {{"F9Mx", key}, {"PSTR", key}, {"TC0P", key}}}}},
                {"disks",
                 {{{"smartCapable", true},
                   {"ataBlockStorage", false},
                   {"identify", hexOf(identity)},
                   {"smart", hexOf(data)}}}},
                {"commands",
                 {{"cpu", line + "<cpu>1.0</cpu></item>\n"},
                  {"mem", ""},
                  {"power", line + "<power>1.0</power><user>" + user + "</user></item>\n"}}},
                {"applications",
                 {{{"pid", 7}, {"bundlePath", home + "/a.desktop"}, {"bundleIdentifier", "a"}}}}};
  };
  AtaBlock numbered = identify;
  for (const auto& [begin, end] : {std::pair(20, 40), {216, 224}, {258, 320}, {352, 412}}) {
    numbered = filled(numbered, static_cast<std::size_t>(begin), static_cast<std::size_t>(end));
  }
  const PersonalNames personal({{"/srv/ada", "/home/user"}, {"ada", "user"}, {"tower", "host"}});
  auto expected = machine(identify, smart, "adamant user@host address", "user", "/home/user");
  auto found = recordedAgain(
      machine(numbered, filled(smart, 386, 511), "adamant ada@tower 10.0.0.17", "ada", "/srv/ada"),
      personal);
  const std::string text = found["disks"][0]["identify"];
  std::string blanks;
  for (int i = 0; i < 20; ++i) blanks += "20";
  EXPECT_EQ(text.substr(40, 40), blanks);
  for (const char* block : {"identify", "smart"}) {  // the blanks differ from an empty block's
    std::array<std::uint8_t, 512> bytes{};
    const std::string hex = found["disks"][0][block];
    ASSERT_EQ(hex.size(), 1024U);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = static_cast<std::uint8_t>(std::stoi(hex.substr(2 * i, 2), nullptr, 16));
    }
    EXPECT_EQ(std::count(bytes.begin(), bytes.end() - 1, 'S'),
              block == std::string("smart") ? 0 : 1)
        << "only the S of DISK is left";
    EXPECT_EQ(std::accumulate(bytes.begin(), bytes.end(), 0) % 256, 0) << block;
  }
  expected["disks"][0]["identify"] = text;
  EXPECT_EQ(found, expected);
}

TEST(Record, FailuresAreRecordedAndAMachineWithoutAControllerHasNone) {
  const Json disk = {{"smartCapable", false},
                     {"ataBlockStorage", true},
                     {"identify", hexOf(identifyBlock("DISK"))},
                     {"fail", {"returnStatus", "disableAutosave"}}};
  const auto found = recordedAgain({{"disks", {disk}}}, PersonalNames({}));
  EXPECT_FALSE(found.contains("smc"));
  EXPECT_EQ(found["running"], Json::array());
  EXPECT_EQ(found["disks"][0]["fail"], disk["fail"]);
  EXPECT_EQ(found["disks"][0]["ataBlockStorage"], true);
}

TEST(Record, FurtherCyclesHoldWhatHasChanged) {
  const Json first = {{"running", {"a"}}, {"smc", Json::object()}, {"disks", Json::array()}};
  Json second = first;
  second["running"] = {"b"};
  second.erase("smc");
  const auto whole = recordOf({first, second, second});
  EXPECT_EQ(whole["format"], 1);
  EXPECT_EQ(whole["smc"], Json::object());
  EXPECT_EQ(whole["frames"], Json({{{"running", {"b"}}, {"smc", nullptr}}, Json::object()}));
}

TEST(PersonalNames, OnlyWholeWordsAreNames) {
  const PersonalNames names({{"/home/al", "/home/user"}, {"al", "user"}});
  const std::pair<const char*, const char*> rows[] = {
      {"al", "user"},
      {"journal alarm al-x x.al", "journal alarm user-x x.user"},
      {"/home/al/x /home/alan", "/home/user/x /home/alan"},
      {"a 192.168.1.20 b", "a address b"},
      {"00:1b:44:11:3a:b7", "address"},
      {"fe80::1ff:fe23:4567:890a", "address"},
      {"kworker/0:1-ev python3.11 12:30:05", "kworker/0:1-ev python3.11 address"},
      {"napi/wlx001b441 enxaa", "napi/address enxaa"},  // cut by the kernel
      {"/media/0b1e6a4c-97d1-4f4b-8f4c-2f6b7ad0c0de/x", "/media/identifier/x"},
  };
  for (const auto& [text, cleaned] : rows) EXPECT_EQ(names.removedFrom(text), cleaned);
}

TEST(Doctor, FindsTheSensorsAndDisksOfAMachineAndTheStepThatHelps) {
  const TemporaryTree tree;
  tree.write("sys/devices/chip/name", "coretemp\n");
  tree.write("sys/devices/chip/temp1_label", "Package id 0\n");
  tree.write("sys/devices/chip/temp1_input", "45000\n");
  tree.link("sys/class/hwmon/hwmon0", "../../devices/chip");
  for (const std::string name : {"sda", "sdb"}) {
    tree.write("sys/devices/" + name + "/vendor", "ATA     \n");
    tree.write("sys/devices/" + name + "/type", "0\n");
    tree.link("sys/block/" + name + "/device", "../../devices/" + name);
  }
  tree.write("sys/devices/sdb/hwmon/hwmon1/name", "drivetemp\n");
  tree.write("sys/devices/sdb/hwmon/hwmon1/temp1_input", "30000\n");
  tree.write("sys/devices/wifi/name", "iwlwifi_1\n");
  tree.write("sys/devices/wifi/temp1_input", "38000\n");
  tree.link("sys/class/hwmon/hwmon1", "../../devices/wifi");
  tree.write("sys/devices/nvme/name", "nvme\n");
  tree.write("sys/devices/nvme/temp1_label", "Composite\n");
  tree.write("sys/devices/nvme/temp1_input", "29000\n");
  tree.write("sys/devices/nvme/device/model", "QUICK 1TB   \n");
  tree.write("sys/devices/wifi/fan1_input", "900\n");
  tree.link("sys/class/hwmon/hwmon2", "../../devices/nvme");
  tree.write("sys/devices/sdb/model", "ROUND 8TB\n");
  tree.write("sys/class/powercap/intel-rapl:0/max_energy_range_uj", "262143328850\n");
  tree.write("dev/sda", "");
  tree.write("systemd/multi-user.target.wants/smartmontools.service", "");
  KeptLog log;
  MachineRoots roots;
  roots.proc = tree.path("proc");
  roots.systemd = tree.path("systemd");
  roots.sys = tree.path("sys");
  roots.disks = {tree.path("sys"), tree.path("udev"), tree.path("dev")};
  std::map<std::string, Finding> found;
  for (auto& finding : machineFindings(log, roots)) found[finding.subject] = finding;
  EXPECT_EQ(found["controller"].details["source"], "mapped");
  EXPECT_EQ(found["temperatures"].details["count"], 3);
  EXPECT_EQ(found["voltages"].state, State::missing);
  EXPECT_EQ(found["disk sda"].state, State::missing);
  EXPECT_NE(found["disk sda"].step.find("modprobe drivetemp"), std::string::npos);
  EXPECT_EQ(found["disk sda"].found.find("smartd") != std::string::npos, mayPassCommands());
  EXPECT_NE(found["powers"].step.find("tarvel-helper@" + std::to_string(::geteuid())),
            std::string::npos);
  EXPECT_EQ(found["processes"].state, State::missing);  // the first one is not there
  EXPECT_EQ(found["disk sdb"].details["drivetemp"], true);
  EXPECT_EQ(found["disk sdb"].state, State::missing);  // the kernel does not show its identity

  std::string sources;
  for (const auto& [panel, name, source] : shownSensors(roots.sys, roots.disks)) {
    sources += std::string(panel) + "|" + name + "|" + source.key + "|" + source.chip + "|" +
               source.label + "|" + source.file.substr(roots.sys.size() - 4) + "|" + source.model +
               "\n";
  }
  EXPECT_EQ(
      sources,
      "temperatures|CPU PECI|TCXC|coretemp|Package id 0|/sys/devices/chip/temp1_input|\n"
      "temperatures|SSD Proximity|TH0A|nvme|Composite|/sys/devices/nvme/temp1_input|QUICK 1TB\n"
      "temperatures|Airport Proximity|TW0P|iwlwifi_1|temp1|/sys/devices/wifi/temp1_input|\n"
      "temperatures|HDD||S.M.A.R.T.|sda|/dev/sda|\n"
      "temperatures|HDD||drivetemp|sdb|/sys/devices/sdb/hwmon/hwmon1/temp1_input|ROUND 8TB\n"
      "fans|Fan1|F0Ac|iwlwifi_1|fan1|/sys/devices/wifi/fan1_input|\n");
}

TEST(Doctor, KnowsFromItsEnvironmentWhereAHelperWrites) {
  using namespace std::string_literals;
  const std::pair<std::string, std::optional<std::string>> rows[] = {
      {"A=1\0HOME=/home/a\0"s, "/home/a/.local/share"},
      {"XDG_DATA_HOME=/data\0HOME=/home/a\0"s, "/data"},
      {"HOME=/home/a\0XDG_DATA_HOME=/data"s, "/data"},
      {"HOME=/home/a\0XDG_DATA_HOME=relative\0"s, "/home/a/.local/share"},
      {"NO_XDG_DATA_HOME=/x\0\0HOME=\0"s, std::nullopt},
      {"", std::nullopt}};
  for (const auto& [environment, folder] : rows) {
    EXPECT_EQ(dataHomeIn(environment), folder) << environment;
  }
}

}  // namespace
}  // namespace tarvel::tools
