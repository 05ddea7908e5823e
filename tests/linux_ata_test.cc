#include <cerrno>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <scsi/sg.h>

#include "platform/linux/disks/linux_ata_smart.h"
#include "smart/smart_controller.h"
#include "tests/fake_ata.h"
#include "tests/temporary_tree.h"

namespace tarvel {
namespace {

using Lines = std::vector<std::string>;
using Rows = std::vector<DataSetRow>;
using std::chrono::minutes;
using std::chrono::seconds;

std::string hex(std::span<const std::uint8_t> bytes) {
  std::string text;
  for (const auto byte : bytes) {
    char two[4];
    std::snprintf(two, sizeof two, "%02x ", byte);
    text += two;
  }
  text.pop_back();
  return text;
}

std::vector<std::uint8_t> bytesOf(const std::string& text) {
  std::vector<std::uint8_t> bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 3) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(text.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

// The kernel behind the ioctl and one disk behind the kernel.
struct Kernel {
  AtaBlock identify = identifyBlock("DISK");
  AtaBlock smart = temperatureBlock(40);
  std::uint8_t powerMode = 0xFF;
  bool refuses16 = false;
  bool fixedSense = false;
  bool noSense = false;
  bool timesOut = false;
  int error = 0;                      // errno of the ioctl itself
  std::set<std::uint8_t> failing;     // commands, or features of SMART commands
  std::shared_future<void> hangsFor;  // set: every command waits for it
  std::mutex mutex;
  Lines sent;

  int ioctl(sg_io_hdr& header) {
    const std::span<const std::uint8_t> descriptor(header.cmdp, header.cmd_len);
    const bool wide = descriptor[0] == 0x85;
    const std::uint8_t command = descriptor[wide ? 14 : 9];
    const std::uint8_t feature = descriptor[wide ? 4 : 3];
    {
      const std::scoped_lock lock(mutex);
      sent.push_back(hex(descriptor));
    }
    if (hangsFor.valid()) hangsFor.wait();
    if (error != 0) return error;
    EXPECT_EQ(header.interface_id, 'S');
    EXPECT_EQ(header.timeout, 30000U);
    EXPECT_GE(header.mx_sb_len, 32);
    if (timesOut) {
      header.host_status = 3;
    } else if (wide && refuses16) {
      sense(header, "70 00 05 00 00 00 00 0a 00 00 00 00 20 00 00 00 00 00");
    } else if (failing.contains(command == 0xB0 ? feature : command)) {
      // An aborted command as libata tells it: the registers are not where they belong.
      sense(header, "70 00 0b 00 00 00 00 0a 04 41 00 01 00 00 00 00 00 00");
    } else if (header.dxfer_direction == SG_DXFER_FROM_DEV) {
      EXPECT_EQ(header.dxfer_len, 512U);
      const auto& block = command == 0xEC ? identify : smart;
      std::copy(block.begin(), block.end(), static_cast<std::uint8_t*>(header.dxferp));
    } else if ((descriptor[2] & 0x20) != 0 && !noSense) {
      const std::string count = hex(std::span(&powerMode, 1));
      sense(header, fixedSense ? "f0 00 01 00 50 00 " + count + " 0a 00 00 4f c2 00 1d 00 00 00 00"
                               : "72 01 00 1d 00 00 00 0e 09 0c 00 00 00 " + count +
                                     " 00 00 00 4f 00 c2 00 50");
    }
    return 0;
  }

  static void sense(sg_io_hdr& header, const std::string& text) {
    const auto bytes = bytesOf(text);
    std::copy(bytes.begin(), bytes.end(), header.sbp);
    header.sb_len_wr = static_cast<unsigned char>(bytes.size());
    header.status = 2;
    header.driver_status = 8;
  }
};

class Machine {
 public:
  TemporaryTree root;
  MonotonicTime now = seconds(1000);
  LinuxAtaOptions options;
  std::shared_ptr<Kernel> kernel = std::make_shared<Kernel>();

  Machine() {
    options.roots = {root.path("sys"), root.path("udev"), root.path("dev")};
    options.clock = [this] { return now; };
    options.ioctl = [kernel = kernel](int, sg_io_hdr& header) { return kernel->ioctl(header); };
    disk("sda", "ATA     ", "0");
  }

  void disk(const std::string& name, const std::string& vendor, const std::string& type) {
    root.write("dev/" + name, "");
    root.write("sys/devices/" + name + "/vendor", vendor + "\n");
    root.write("sys/devices/" + name + "/type", type + "\n");
    root.write("sys/block/" + name + "/dev", "8:0\n");
    root.link("sys/block/" + name + "/device", "../../devices/" + name);
  }
  void page89(const std::string& name, const AtaBlock& identify) {
    std::string page(60, '\0');
    page[56] = static_cast<char>(0xEC);
    page.append(identify.begin(), identify.end());
    root.write("sys/devices/" + name + "/vpd_pg89", page);
  }

  Rows update() {
    if (!ata) ata = makeLinuxAtaSmart(options);
    SmartController controller(*ata);
    controller.update();
    return controller.getDataSet(TemperatureUnit::celsius);
  }

  // The commands since the last call, by name.
  std::string sent() {
    const std::scoped_lock lock(kernel->mutex);
    std::string names;
    for (const auto& descriptor : kernel->sent) {
      const auto bytes = bytesOf(descriptor);
      const std::uint8_t command = bytes[bytes.size() - (bytes.size() == 16 ? 2 : 3)];
      const std::uint8_t feature = bytes[bytes.size() == 16 ? 4 : 3];
      const std::uint8_t code = command == 0xB0 ? feature : command;
      names += hex(std::span(&code, 1)) + " ";
    }
    kernel->sent.clear();
    return names;
  }

  std::unique_ptr<AtaSmart> ata;
};

const Rows kDiskAt40 = {{"DISK", "40"}};
const std::string kSequence = "e5 ec d8 d2 da d0 d2 d9 ";

TEST(LinuxAta, SendsTheCommandsByteForByte) {
  const Lines wide = {"85 06 20 00 00 00 00 00 00 00 00 00 00 00 e5 00",
                      "85 08 0e 00 00 00 01 00 00 00 00 00 00 00 ec 00",
                      "85 06 00 00 d8 00 00 00 00 00 4f 00 c2 00 b0 00",
                      "85 06 00 00 d2 00 f1 00 00 00 4f 00 c2 00 b0 00",
                      "85 06 20 00 da 00 00 00 00 00 4f 00 c2 00 b0 00",
                      "85 08 0e 00 d0 00 01 00 00 00 4f 00 c2 00 b0 00",
                      "85 06 00 00 d2 00 00 00 00 00 4f 00 c2 00 b0 00",
                      "85 06 00 00 d9 00 00 00 00 00 4f 00 c2 00 b0 00"};
  const Lines narrow = {
      "a1 06 20 00 00 00 00 00 00 e5 00 00", "a1 08 0e 00 01 00 00 00 00 ec 00 00",
      "a1 06 00 d8 00 00 4f c2 00 b0 00 00", "a1 06 00 d2 f1 00 4f c2 00 b0 00 00",
      "a1 06 20 da 00 00 4f c2 00 b0 00 00", "a1 08 0e d0 01 00 4f c2 00 b0 00 00",
      "a1 06 00 d2 00 00 4f c2 00 b0 00 00", "a1 06 00 d9 00 00 4f c2 00 b0 00 00"};
  for (const bool fixed : {false, true}) {
    Machine machine;
    machine.kernel->fixedSense = fixed;
    EXPECT_EQ(machine.update(), kDiskAt40);
    EXPECT_EQ(machine.kernel->sent, wide);
    machine.kernel->sent.clear();
    machine.kernel->refuses16 = true;
    machine.now += minutes(1);
    EXPECT_EQ(machine.update(), kDiskAt40);
    Lines expected = {wide[0]};
    expected.insert(expected.end(), narrow.begin(), narrow.end());
    EXPECT_EQ(machine.kernel->sent, expected);
  }
}

TEST(LinuxAta, TellsSuccessFromFailure) {
  constexpr auto kSuccess = AtaOutcome::success;
  constexpr auto kFailed = AtaOutcome::failed;
  const std::string good = "72 01 00 1d 00 00 00 0e 09 0c 00 00 00 ff 00 00 00 4f 00 c2 00 50";
  const struct {
    const char* what;
    unsigned short host, driver;
    unsigned char status;
    std::string sense;
    int missing;
    AtaOutcome outcome;
  } cases[] = {
      {"plain", 0, 0, 0, "", 0, kSuccess},
      {"no connection", 1, 0, 0, "", 0, kFailed},
      {"host timed out", 3, 0, 0, "", 0, AtaOutcome::timedOut},
      {"host error", 7, 8, 2, good, 0, kFailed},
      {"driver timed out", 0, 6, 0, "", 0, AtaOutcome::timedOut},
      {"driver suggests", 0, 0x18, 2, good, 0, kSuccess},
      {"driver error", 0, 4, 0, "", 0, kFailed},
      {"busy", 0, 0, 8, "", 0, kFailed},
      {"reserved", 0, 0, 0x18, "", 0, kFailed},
      {"short", 0, 0, 0, "", 256, kFailed},
      {"short with registers", 0, 8, 2, good, 256, kFailed},
      {"descriptor", 0, 8, 2, good, 0, kSuccess},
      {"driver says nothing of sense", 0, 0, 2, good, 0, kSuccess},
      {"descriptor further on", 0, 8, 2,
       "72 01 00 1d 00 00 00 14 00 04 00 00 00 00 09 0c 00 00 00 ff 00 00 00 4f 00 c2 00 50", 0,
       kSuccess},
      {"descriptor cut off", 0, 8, 2, good.substr(0, 18 * 3 - 1), 0, kFailed},
      {"descriptor without registers", 0, 8, 2, "72 01 00 1d 00 00 00 00", 0, kFailed},
      {"old kernel without code", 0, 8, 2,
       "72 00 00 00 00 00 00 0e 09 0c 00 00 00 ff 00 00 00 4f 00 c2 00 50", 0, kSuccess},
      {"aborted in descriptor", 0, 8, 2,
       "72 0b 00 1d 00 00 00 0e 09 0c 00 04 00 00 00 00 00 00 00 00 00 51", 0, kFailed},
      {"aborted, good registers", 0, 8, 2,
       "72 0b 00 1d 00 00 00 0e 09 0c 00 00 00 00 00 00 00 4f 00 c2 00 50", 0, kFailed},
      {"error bit", 0, 8, 2, "72 01 00 1d 00 00 00 0e 09 0c 00 04 00 00 00 00 00 00 00 00 00 51", 0,
       kFailed},
      {"device fault", 0, 8, 2, "72 01 00 1d 00 00 00 0e 09 0c 00 00 00 00 00 00 00 00 00 00 00 70",
       0, kFailed},
      {"wrong key beside good registers", 0, 8, 2,
       "72 04 00 1d 00 00 00 0e 09 0c 00 00 00 ff 00 00 00 4f 00 c2 00 50", 0, kSuccess},
      {"fixed", 0, 8, 2, "f0 00 01 00 50 00 ff 0a 00 00 4f c2 00 1d 00 00 00 00", 0, kSuccess},
      {"fixed, no status", 0, 8, 2, "70 00 01 00 00 00 ff 0a 00 00 4f c2 00 1d 00 00 00 00", 0,
       kFailed},
      {"fixed, aborted, misplaced registers", 0, 8, 2,
       "70 00 0b 00 00 00 00 0a 04 41 00 01 00 00 00 00 00 00", 0, kFailed},
      {"fixed, cut off", 0, 8, 2, "70 00 01 00 50 00 ff 0a 00 4f", 0, kFailed},
      {"refused", 0, 8, 2, "70 00 05 00 00 00 00 0a 00 00 00 00 20 00 00 00 00 00", 0,
       AtaOutcome::refused},
      {"refused in descriptor", 0, 8, 2, "72 05 20 00 00 00 00 00", 0, AtaOutcome::refused},
      {"bad field", 0, 8, 2, "70 00 05 00 00 00 00 0a 00 00 00 00 24 00 00 00 00 00", 0, kFailed},
      {"no medium", 0, 8, 2, "70 00 02 00 00 00 00 0a 00 00 00 00 3a 00 00 00 00 00", 0, kFailed},
      {"no sense at all", 0, 0, 2, "", 0, kFailed},
      {"sense of no format", 0, 8, 2, "00 00 00 00 00 00 00 00", 0, kFailed},
      {"good status, bad sense", 0, 8, 0, "72 04 44 00 00 00 00 00", 0, kFailed},
  };
  for (const auto& row : cases) {
    const auto sense = row.sense.empty() ? std::vector<std::uint8_t>{} : bytesOf(row.sense + " ");
    sg_io_hdr header{};
    header.dxfer_direction = SG_DXFER_FROM_DEV;
    header.host_status = row.host;
    header.driver_status = row.driver;
    header.status = row.status;
    header.sb_len_wr = static_cast<unsigned char>(sense.size());
    header.resid = row.missing;
    const auto answer = judgeAnswer(header, sense);
    EXPECT_EQ(answer.outcome, row.outcome) << row.what;
    if (answer.registers) {
      EXPECT_EQ(answer.registers->count, 0xFF) << row.what;
      EXPECT_EQ(answer.registers->lbaMid, 0x4F) << row.what;
      EXPECT_EQ(answer.registers->lbaHigh, 0xC2) << row.what;
    }
  }
}

// What is sent when one command fails, and that a disk that answered before keeps its reading.
TEST(LinuxAta, StopsAtAFailureAndKeepsTheLastReading) {
  const struct {
    std::uint8_t failing;
    const char* sent;
    bool found;
  } cases[] = {
      {0xE5, "e5 ", false},
      {0xEC, "e5 ec ", false},
      {0xD8, "e5 ec d8 d2 d9 ", false},
      {0xD2, "e5 ec d8 d2 d2 d9 ", false},
      {0xDA, "e5 ec d8 d2 da d2 d9 ", false},
      {0xD0, "e5 ec d8 d2 da d0 d2 d9 ", false},
      {0xD9, "e5 ec d8 d2 da d0 d2 d9 ", true},
  };
  for (const auto& row : cases) {
    Machine machine;
    machine.kernel->failing = {row.failing};
    EXPECT_EQ(machine.update(), row.found ? kDiskAt40 : Rows{}) << row.sent;
    EXPECT_EQ(machine.sent(), row.sent);
    machine.now += minutes(1);
    machine.kernel->failing.clear();
    EXPECT_EQ(machine.update(), kDiskAt40);
    EXPECT_EQ(machine.sent(), kSequence);
    machine.now += minutes(1);
    machine.kernel->failing = {row.failing};
    EXPECT_EQ(machine.update(), kDiskAt40) << row.sent;
    EXPECT_EQ(machine.sent(), row.sent);
  }
}

TEST(LinuxAta, AsksADiskOnceAMinute) {
  Machine machine;
  EXPECT_EQ(machine.update(), kDiskAt40);
  EXPECT_EQ(machine.sent(), kSequence);
  machine.kernel->smart = temperatureBlock(41);
  machine.now += seconds(59);
  EXPECT_EQ(machine.update(), kDiskAt40);
  EXPECT_EQ(machine.sent(), "");
  machine.now += seconds(1);
  EXPECT_EQ(machine.update(), Rows({{"DISK", "41"}}));
  machine.now += minutes(1);
  ++machine.kernel->smart[100];  // the checksum is wrong now
  EXPECT_EQ(machine.update(), Rows({{"DISK", "41"}}));
  machine.root.write("sys/block/sda/diskseq", "2\n");  // another disk in its place
  machine.now += seconds(3);
  EXPECT_TRUE(machine.update().empty());
  machine.root.remove("sys/block/sda");
  machine.now += seconds(3);
  EXPECT_TRUE(machine.update().empty());
}

TEST(LinuxAta, LeavesSleepersAloneAndWhoDoesNotSay) {
  for (const bool known : {false, true}) {
    Machine machine;
    const Rows expected = known ? kDiskAt40 : Rows{};
    if (known) machine.update();
    machine.sent();
    const auto next = [&] {
      machine.now += minutes(1);
      EXPECT_EQ(machine.update(), expected);
      return machine.sent();
    };
    machine.kernel->powerMode = 0x00;
    EXPECT_EQ(next(), "e5 ");
    machine.kernel->powerMode = 0x01;
    machine.kernel->fixedSense = true;
    EXPECT_EQ(next(), "e5 ");
    machine.kernel->noSense = true;
    EXPECT_EQ(next(), "e5 ");
    machine.root.write("sys/devices/sda/power/runtime_status", "suspended\n");
    EXPECT_EQ(next(), "");
    machine.root.write("sys/devices/sda/power/runtime_status", "active\n");
    machine.kernel->error = EPERM;
    EXPECT_EQ(next(), "e5 ");
    machine.root.remove("dev/sda");
    EXPECT_EQ(next(), "");
  }
}

TEST(LinuxAta, AsksNothingMoreForTenMinutesAfterATimeOut) {
  Machine machine;
  EXPECT_EQ(machine.update(), kDiskAt40);
  machine.now += minutes(1);
  machine.sent();
  machine.kernel->timesOut = true;
  EXPECT_EQ(machine.update(), kDiskAt40);
  EXPECT_EQ(machine.sent(), "e5 ");
  machine.kernel->timesOut = false;
  machine.now += minutes(10) - seconds(1);
  EXPECT_EQ(machine.update(), kDiskAt40);
  EXPECT_EQ(machine.sent(), "");
  machine.now += seconds(1);
  EXPECT_EQ(machine.update(), kDiskAt40);
  EXPECT_EQ(machine.sent(), kSequence);
}

TEST(LinuxAta, GoesOnWithoutADiskThatHangs) {
  Machine machine;
  std::promise<void> answer;
  machine.options.commandLimit = std::chrono::milliseconds(20);
  machine.kernel->hangsFor = answer.get_future().share();
  EXPECT_TRUE(machine.update().empty());
  machine.now += minutes(20);  // it still hangs
  EXPECT_TRUE(machine.update().empty());
  std::string sent;  // by a thread that may have its turn after this one
  for (int i = 0; i < 1000 && sent.empty(); ++i) {
    sent = machine.sent();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_EQ(sent, "e5 ");
  answer.set_value();
  Rows rows;
  for (int i = 0; i < 1000 && rows.empty(); ++i) {
    machine.now += minutes(10);
    rows = machine.update();
  }
  EXPECT_EQ(rows, kDiskAt40);
}

TEST(LinuxAta, TakesTheKernelsReadingWhereThereIsOne) {
  Machine machine;
  machine.page89("sda", identifyBlock("WATCHED"));
  machine.root.write("sys/devices/sda/hwmon/hwmon4/name", "drivetemp\n");
  const auto set = [&](const std::string& millidegrees) {
    machine.root.write("sys/devices/sda/hwmon/hwmon4/temp1_input", millidegrees + "\n");
  };
  const auto next = [&] {
    machine.now += minutes(1);
    return machine.update();
  };
  const Rows at33 = {{"WATCHED", "33"}};
  const Rows at34 = {{"WATCHED", "34"}};
  set("33000");
  EXPECT_EQ(next(), at33);
  EXPECT_EQ(machine.sent(), "e5 ");
  set("34999");
  EXPECT_EQ(machine.update(), at33) << "once a minute";
  const struct {
    std::uint8_t mode;
    bool isRead;
  } modes[] = {{0x00, false}, {0x01, false}, {0x40, false}, {0x02, false}, {0x84, false},
               {0x41, true},  {0x80, true},  {0x81, true},  {0x83, true},  {0xFF, true}};
  for (const auto& [mode, isRead] : modes) {
    machine.kernel->powerMode = mode;
    EXPECT_EQ(next(), isRead ? at34 : at33) << +mode;
    if (!isRead) continue;
    set("33000");
    machine.kernel->powerMode = 0xFF;
    EXPECT_EQ(next(), at33);
    set("34999");
  }
  set("");
  EXPECT_EQ(next(), at33);
}

TEST(LinuxAta, LetsSleepersLieWhereItMayNotAsk) {
  Machine machine;
  machine.page89("sda", identifyBlock("WATCHED"));
  machine.root.write("sys/devices/sda/hwmon/hwmon4/name", "drivetemp\n");
  machine.kernel->error = EPERM;
  const struct {
    seconds after;
    const char *traffic, *kernelSays, *shown, *what;
  } looks[] = {
      {seconds(3), "7 0", "31000", "", "nothing is known of it"},
      {seconds(3), "7 0", "31000", "", "sleeps, perhaps"},
      {seconds(3), "8 0", "31000", "31", "is in use"},
      {seconds(3), "9 0", "32000", "31", "once a minute"},
      {seconds(60), "10 0", "32000", "31", "may have gone to sleep since it was used"},
      {seconds(3), "10 0", "32000", "31", "sleeps, perhaps"},
      {seconds(3), "10 5", "32000", "32", "is in use"},
  };
  for (const auto& look : looks) {
    machine.now += look.after;
    machine.root.write("sys/block/sda/stat", look.traffic);
    machine.root.write("sys/devices/sda/hwmon/hwmon4/temp1_input", look.kernelSays);
    const std::string shown = look.shown;
    EXPECT_EQ(machine.update(), shown.empty() ? Rows{} : Rows({{"WATCHED", shown}})) << look.what;
  }
}

TEST(LinuxAta, FindsDisksWithoutACommand) {
  Machine machine;
  auto notCapable = identifyBlock("OLD");
  notCapable[164] = 0;
  machine.page89("sda", notCapable);
  machine.disk("sdb", "ATA     ", "0");
  machine.page89("sdb", identifyBlock("CAPABLE"));
  machine.disk("sdc", "WD      ", "0");  // in a USB enclosure, known to udev
  machine.root.write("sys/block/sdc/dev", "8:32\n");
  machine.root.write("udev/b8:32", "S:x\nE:ID_ATA=1\nE:ID_ATA_FEATURE_SET_SMART=1\nG:systemd\n");
  machine.disk("sdd", "ATA     ", "0");
  machine.root.write("sys/devices/sdd/vpd_pg89", "short");
  machine.disk("sde", "USB     ", "0");  // a stick
  machine.disk("sr0", "ATA     ", "5");
  machine.page89("sr0", identifyBlock("BURNER"));
  machine.root.write("sys/block/nvme0n1/device/model", "NVMe\n");
  machine.root.write("sys/block/vda/dev", "254:0\n");
  Lines names;
  for (const auto& disk : listAtaDisks(machine.options.roots)) {
    names.push_back(disk.name + (disk.smartCapable ? " capable" : "") +
                    (disk.ataBlockStorage ? " ata" : ""));
  }
  EXPECT_EQ(names, Lines({"sda ata", "sdb capable ata", "sdc capable", "sdd ata"}));
}

}  // namespace
}  // namespace tarvel
