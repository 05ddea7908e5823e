#include <fstream>
#include <iterator>
#include <span>
#include <utility>

#include <unistd.h>

#include "platform/linux/desktop/desktop_index.h"
#include "platform/linux/desktop/icon_theme.h"
#include "platform/linux/process_rights.h"
#include "platform/linux/sensors/linux_apple_smc.h"
#include "platform/linux/sensors/sensor_scan.h"
#include "programs/tools/findings.h"
#include "sensors/electrical_keys.h"
#include "sensors/fan_sensors.h"
#include "sensors/temperature_keys.h"
#include "smc/smc_wrapper.h"

namespace tarvel::tools {
namespace {

constexpr const char* kGenericIcon = "application-x-executable";
constexpr std::size_t kIdentifyLength = 512;

// CVE-2020-8694: the energy of its instructions betrays what a program computes.
std::string stepToClosedCounters() {
  return "the energy counters are root's alone, since they betray what other programs compute; "
         "where all users are trusted, an administrator may start tarvel-helper@" +
         std::to_string(::geteuid()) + ".service";
}

// drivetemp looks at a disk when it is loaded, or when the disk comes, and takes none whose
// S.M.A.R.T. is off. Ours ends so, also for other monitors: docs/sensors.md has all commands.
std::string stepToDrivetemp(const std::string& disk) {
  return "sudo smartctl --smart=on /dev/" + disk +
         " (package smartmontools), then sudo modprobe -r drivetemp and sudo modprobe drivetemp";
}

// A machine without sensors is mostly no real one, and then no driver would help.
bool isVirtualMachine() {
  std::ifstream file("/proc/cpuinfo");
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  return text.find(" hypervisor") != std::string::npos;
}

std::string counted(std::size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

Finding controllerFinding(const SensorScan& scan) {
  constexpr const char* subject = "controller";
  switch (controllerSource(scan)) {
    case ControllerSource::raw:
      return {subject, State::ok, "a real controller, every key of it", "", {{"source", "raw"}}};
    case ControllerSource::labelled:
      return {subject,
              State::ok,
              "a real controller, by the values that its driver labels",
              "run the helper as root to read every key",
              {{"source", "labelled"}}};
    case ControllerSource::mapped:
      return {subject,
              State::ok,
              "the machine's own sensors stand for its keys",
              "",
              {{"source", "mapped"}}};
    case ControllerSource::none:
      break;
  }
  return {subject, State::missing, "no sensor that stands for a key", "", {{"source", "none"}}};
}

// What the kernel shows, whether it has a key or not.
Finding chipFinding(const std::vector<Chip>& chips) {
  Finding finding{"sensor chips", State::ok, "", "", {{"chips", Json::array()}}};
  for (const auto& chip : chips) {
    if (!finding.found.empty()) finding.found += ", ";
    finding.found += chip.name + " (" + counted(chip.inputs.size(), "input") + ")";
    finding.details["chips"].push_back(
        {{"name", chip.name}, {"path", chip.path}, {"inputs", chip.inputs.size()}});
  }
  if (!chips.empty()) return finding;
  finding.state = State::missing;
  finding.found = "none in /sys/class/hwmon, powercap, power_supply and thermal";
  finding.step = isVirtualMachine() ? "a virtual machine has none: run on the machine itself"
                                    : "sudo sensors-detect (package lm-sensors) finds the drivers";
  return finding;
}

// Counters of energy that only root may read, as the kernel has it since 5.10.
bool hasClosedEnergyCounter(const std::vector<Chip>& chips) {
  for (const auto& chip : chips) {
    for (const auto& input : chip.inputs) {
      if (input.kind == "energy" && ::access(input.file.path.c_str(), R_OK) != 0) return true;
    }
  }
  return false;
}

// One of the five kinds of sensors, and what would help where none answers.
Finding kindFinding(const std::string& kind, std::size_t count, const std::string& step) {
  Finding finding{kind, State::ok, counted(count, "sensor"), "", {{"count", count}}};
  if (count > 0) return finding;
  finding.state = State::missing;
  finding.found = "no sensor answers";
  finding.step = step;
  return finding;
}

struct Counts {
  std::size_t temperatures = 0;
  std::size_t fans = 0;
  std::size_t voltages = 0;
  std::size_t currents = 0;
  std::size_t powers = 0;
};

// The keys that the helper would find. A service that is not there is not asked: the controller's
// wrapper prints its complaint.
Counts countSensors(SystemLog& log, const std::string& root) {
  LinuxSMCOptions options;
  options.root = root;
  const auto service = makeLinuxAppleSMC(options);
  if (service->IOServiceGetMatchingServices("AppleSMC").first == 0) return {};
  SMCSession session(*service, log);
  SMCWrapper& wrapper = session.sharedWrapper();
  const auto count = [&](const auto& names) {
    return wrapper.getSupportedTempValues(keysOf(names)).size();
  };
  return {count(kTemperatures), SMCFanSensors(session).getFans().size(), count(kVoltages),
          count(kCurrents), count(kPowers)};
}

Findings kindFindings(const std::vector<Chip>& chips, const Counts& counts) {
  const bool any = !chips.empty();
  const std::string board = any ? "sudo sensors-detect finds the board's own driver" : "";
  const std::string processor = any ? "sudo modprobe coretemp (Intel) or k10temp (AMD)" : "";
  const std::string power = hasClosedEnergyCounter(chips) ? stepToClosedCounters() : board;
  return {kindFinding("temperatures", counts.temperatures, processor),
          kindFinding("fans", counts.fans, board), kindFinding("voltages", counts.voltages, board),
          kindFinding("currents", counts.currents, board),
          kindFinding("powers", counts.powers, power)};
}

// A disk that drivetemp watches. Its identity is the kernel's, which keeps it since Linux 5.5.
Finding watchedDisk(Finding finding, const AtaDisk& disk) {
  finding.found = "by the kernel's drivetemp, which everybody may read";
  if (cachedIdentifyData(disk).size() == kIdentifyLength) return finding;
  finding.state = State::missing;
  finding.found = "drivetemp watches it, but the kernel does not show what the disk is";
  finding.step = "use Linux 5.5 or later";
  return finding;
}

// Whether smartd, which needs S.M.A.R.T. to stay on, starts with the machine.
bool isSmartdEnabled(const std::string& systemd) {
  for (const char* unit : {"smartmontools.service", "smartd.service"}) {
    const std::string link = systemd + "/multi-user.target.wants/" + unit;
    if (::access(link.c_str(), F_OK) == 0) return true;
  }
  return false;
}

// A disk that this user's helper reads by commands.
Finding commandedDisk(Finding finding, const AtaDisk& disk, const MachineRoots& roots) {
  const bool conflicts = isSmartdEnabled(roots.systemd);
  finding.found = "by commands to the disk, which this user may send";
  finding.step = "stop the helper, whose commands leave S.M.A.R.T. switched off, then " +
                 stepToDrivetemp(disk.name);
  finding.details["smartd"] = conflicts;
  if (!conflicts) return finding;
  finding.state = State::missing;
  finding.found += "; smartd, which is enabled, then finds S.M.A.R.T. switched off";
  return finding;
}

Finding diskFinding(const AtaDisk& disk, const MachineRoots& machine) {
  const AtaDiskRoots& roots = machine.disks;
  const bool watched = !drivetempFile(disk).empty();
  const bool node = ::access((roots.dev + "/" + disk.name).c_str(), R_OK) == 0;
  const bool commands = mayPassCommands();
  Finding finding{"disk " + disk.name, State::ok, "", ""};
  finding.details = {{"smartCapable", disk.smartCapable},
                     {"ataBlockStorage", disk.ataBlockStorage},
                     {"drivetemp", watched},
                     {"nodeReadable", node},
                     {"mayPassCommands", commands},
                     {"suspended", isSuspended(disk)}};
  if (watched) return watchedDisk(std::move(finding), disk);
  if (node && commands) return commandedDisk(std::move(finding), disk, machine);
  finding.state = State::missing;
  finding.found = node ? "not readable: commands to a disk take CAP_SYS_RAWIO"
                       : "not readable: its device file is closed to this user";
  finding.step = "sudo modprobe drivetemp";
  if (::access((machine.sys + "/module/drivetemp").c_str(), F_OK) != 0) return finding;
  finding.found += ", and drivetemp, which is loaded, found its S.M.A.R.T. off or no temperature";
  finding.step = stepToDrivetemp(disk.name);
  return finding;
}

Findings diskFindings(const MachineRoots& roots) {
  Findings findings;
  for (const auto& disk : listAtaDisks(roots.disks)) findings.push_back(diskFinding(disk, roots));
  if (findings.empty()) {
    findings.push_back({"disks", State::note, "no ATA disk (NVMe disks are sensor chips)", ""});
  }
  return findings;
}

// proc(5): with hidepid=1 or 2 the first process, like all of other users, is closed or not there.
Finding processFinding(const std::string& proc) {
  Finding finding{"processes", State::ok, "those of all users", ""};
  const bool others = ::access((proc + "/1/stat").c_str(), R_OK) == 0;
  finding.details["others"] = others;
  if (others) return finding;
  finding.state = State::missing;
  finding.found = "this user's alone: " + proc + " is mounted with hidepid";
  finding.step = "mount it with hidepid=0, or with gid= of a group that this user is in";
  return finding;
}

// Names of processes are shown with icons of the theme; the generic one stands in for missing ones.
Finding iconFinding(const std::vector<std::string>& folders) {
  const auto icons = userIconFolders(folders);
  const bool generic = !iconFiles(kGenericIcon, icons).empty();
  Finding finding{"icon theme", State::ok, icons.theme, ""};
  finding.details = {{"theme", icons.theme}, {"folders", Json::array()}, {"genericIcon", generic}};
  for (const auto& folder : icons.base) {
    if (::access(folder.c_str(), R_OK | X_OK) == 0) finding.details["folders"].push_back(folder);
  }
  if (generic) return finding;
  finding.state = State::missing;
  finding.found += ", without an icon for applications: a plain one is drawn instead";
  finding.step = "sudo apt install adwaita-icon-theme";
  return finding;
}

Finding entryFinding(const std::vector<std::string>& folders) {
  DesktopIndex index(folders);
  index.refresh();
  Finding finding{"applications", State::ok, counted(index.size(), "desktop entry"), ""};
  if (index.size() != 1) finding.found = std::to_string(index.size()) + " desktop entries";
  finding.details = {{"count", index.size()}, {"folders", folders}};
  if (index.size() > 0) return finding;
  finding.state = State::missing;
  finding.found = "no desktop entries: every process counts as no application";
  finding.step = "set XDG_DATA_DIRS to where applications/ lies";
  return finding;
}

void append(Findings& findings, Findings more) {
  findings.insert(findings.end(), std::make_move_iterator(more.begin()),
                  std::make_move_iterator(more.end()));
}

}  // namespace

Findings machineFindings(SystemLog& log, const MachineRoots& roots) {
  NvidiaCards nvidia;
  const auto scan = scanSensors(roots.sys, openKeyAtIndex, nvidia);
  Findings findings = {controllerFinding(scan), chipFinding(scan.chips)};
  append(findings, kindFindings(scan.chips, countSensors(log, roots.sys)));
  append(findings, diskFindings(roots));
  findings.push_back(processFinding(roots.proc));
  const auto folders = dataFolders();
  findings.push_back(iconFinding(folders));
  findings.push_back(entryFinding(folders));
  return findings;
}

}  // namespace tarvel::tools
