#include "programs/tools/machine_record.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <string_view>

#include "platform/apple_smc.h"
#include "platform/running_applications.h"
#include "platform/workspace.h"
#include "process/process_usage.h"
#include "product/identifiers.h"
#include "programs/tools/disk_record.h"
#include "sensors/electrical_keys.h"
#include "sensors/temperature_keys.h"
#include "smc/smc_wrapper.h"
#include "text/conversions.h"

namespace tarvel::tools {
namespace {

using viewer::Json;

constexpr int kMostFans = 10;

std::set<std::string> catalogueKeys() {
  std::set<std::string> keys = {"FNum"};
  const auto add = [&](const auto& names) {
    for (const auto& name : names) keys.emplace(name.key);
  };
  add(kTemperatures);
  add(kVoltages);
  add(kCurrents);
  add(kPowers);
  for (int fan = 0; fan < kMostFans; ++fan) {
    for (const char* what : {"ID", "Ac", "Mn", "Mx"}) keys.insert("F" + std::to_string(fan) + what);
  }
  return keys;
}

Json keyRecord(const SMCValue& value) {
  constexpr const char* kDigits = "0123456789abcdef";
  const auto count = std::min<std::size_t>(value.dataSize, value.bytes.size());
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i) {
    bytes += kDigits[value.bytes[i] >> 4];
    bytes += kDigits[value.bytes[i] & 15];
  }
  return {{"type", value.dataType.data()}, {"size", value.dataSize}, {"bytes", bytes}};
}

// A machine without the service has no such member.
void recordController(const RecordSources& sources, Json& machine) {
  if (sources.appleSMC.IOServiceGetMatchingServices("AppleSMC").first == 0) return;
  SMCSession session(sources.appleSMC, sources.systemLog);
  SMCWrapper& wrapper = session.sharedWrapper();
  Json keys = Json::object();
  for (const auto& key : catalogueKeys()) {
    SMCValue value;
    const bool read = wrapper.SMCReadKeyOutputValue(key, value) == 0;
    if (read && value.dataSize != 0) keys[key] = keyRecord(value);
  }
  machine["smc"]["keys"] = std::move(keys);
}

// Replaces what stands between the tags in every line.
template <typename Edit>
std::string withEdited(std::string text, const std::string& tag, Edit edit) {
  const std::string open = "<" + tag + ">";
  for (auto at = text.find(open); at != std::string::npos; at = text.find(open, at)) {
    at += open.size();
    const auto end = text.find("</" + tag + ">", at);
    if (end == std::string::npos) break;
    const std::string value = edit(text.substr(at, end - at));
    text.replace(at, end - at, value);
    at += value.size();
  }
  return text;
}

Json recordCommands(Tasks& tasks, const PersonalNames& personal) {
  Json commands = Json::object();
  for (const auto& [name, sampler] :
       {std::pair("cpu", &kCPUSampler), {"mem", &kMemorySampler}, {"power", &kEnergySampler}}) {
    auto lines = withEdited(runSampler(*sampler, tasks), "name",
                            [&](const std::string& text) { return personal.removedFrom(text); });
    commands[name] = withEdited(std::move(lines), "user",
                                [](const std::string&) { return std::string("user"); });
  }
  return commands;
}

std::set<std::int32_t> processesIn(const Json& commands) {
  std::set<std::int32_t> pids;
  for (const auto& lines : commands) {
    withEdited(lines.get<std::string>(), "pid", [&](const std::string& pid) {
      pids.insert(intValue(pid));
      return pid;
    });
  }
  return pids;
}

Json recordApplications(Workspace& workspace, const std::set<std::int32_t>& pids,
                        const PersonalNames& personal) {
  Json applications = Json::array();
  for (const auto pid : pids) {
    const auto process = workspace.GetProcessForPID(pid);
    if (!process) continue;
    Json application = {{"pid", pid}};
    if (const auto path = workspace.GetProcessBundleLocation(*process)) {
      application["bundlePath"] = personal.removedFrom(*path);
      if (const auto identifier = workspace.bundleIdentifier(*path)) {
        application["bundleIdentifier"] = personal.removedFrom(*identifier);
      }
    }
    applications.push_back(std::move(application));
  }
  return applications;
}

Json recordRunning(RunningApplications& applications) {
  Json running = Json::array();
  for (const auto identifier : {kViewerIdentifier, kWidgetIdentifier}) {
    for (const auto& application :
         applications.runningApplicationsWithBundleIdentifier(identifier)) {
      running.push_back(application.bundleIdentifier);
    }
  }
  return running;
}

}  // namespace

Json recordMachine(const RecordSources& sources, const PersonalNames& personal) {
  Json machine = {{"running", recordRunning(sources.runningApplications)}};
  recordController(sources, machine);
  machine["disks"] = recordDisks(sources.ataSmart);
  machine["commands"] = recordCommands(sources.tasks, personal);
  machine["applications"] =
      recordApplications(sources.workspace, processesIn(machine["commands"]), personal);
  return machine;
}

}  // namespace tarvel::tools
