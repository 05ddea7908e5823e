#include "app/app_delegate.h"
#include "platform/keyed_archiver.h"
#include "process/process_usage.h"
#include "product/store_keys.h"

namespace tarvel {

void AppDelegate::getCPUAppUsage() { publishProcesses(kCPUSampler, kCPUAppUsageKey); }
void AppDelegate::getMEMAppUsage() { publishProcesses(kMemorySampler, kMEMAppUsageKey); }
void AppDelegate::getPowerAppUsage() { publishProcesses(kEnergySampler, kEnergyAppUsageKey); }

void AppDelegate::publishProcesses(const ProcessSampler& sampler, std::string_view key) {
  const std::string output = runSampler(sampler, platform_.tasks);
  auto records = processRecords(output, sampler, [this](std::int32_t pid, const std::string& name) {
    return getAppPathName(pid, name);
  });
  const Array list(std::make_move_iterator(records.begin()),
                   std::make_move_iterator(records.end()));
  SharedDefaults->setObject(platform_.archiver.archivedDataWithRootObject(list), key);
}

std::string AppDelegate::getAppPathName(std::int32_t pid, const std::string& name) {
  return iconCache_.iconValue(pid, name);
}

}  // namespace tarvel
