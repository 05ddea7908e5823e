#include "smart/smart_controller.h"

#include <memory>
#include <utility>

namespace tarvel {
namespace {

std::optional<std::uint8_t> readTemperature(AtaSmartInterface& interface) {
  bool thresholdExceeded = false;
  AtaBlock block{};
  if (interface.SMARTEnableDisableOperations(true) != 0) return std::nullopt;
  if (interface.SMARTEnableDisableAutosave(true) != 0) return std::nullopt;
  if (interface.SMARTReturnStatus(thresholdExceeded) != 0) return std::nullopt;
  if (interface.SMARTReadData(block) != 0) return std::nullopt;
  if (interface.SMARTValidateReadData(block) != 0) return std::nullopt;
  return attributeTemperature(block);
}

}  // namespace

void SmartController::update() {
  diskData.clear();
  for (const auto service : ataSmart_.servicesMatchingProperty("SMART Capable")) {
    getSMARTData(service);
  }
  if (diskData.empty()) {
    for (const auto service : ataSmart_.servicesMatchingClass("IOATABlockStorageDevice")) {
      getSMARTData(service);
    }
  }
  latestData = diskData;
}

std::vector<DataSetRow> SmartController::getDataSet(TemperatureUnit unit) const {
  std::vector<DataSetRow> rows;
  for (const auto& disk : latestData) {
    const auto temperature = convertedTemperature(static_cast<std::int32_t>(disk.temp), unit);
    rows.push_back({disk.model, std::to_string(temperature)});
  }
  return rows;
}

void SmartController::getSMARTData(AtaSmart::Service service) {
  const auto plugIn = ataSmart_.IOCreatePlugInInterfaceForService(service);
  if (!plugIn) return;
  const auto interface = plugIn->QueryInterface();
  if (!interface) return;
  auto disk = getDiskInfo(*interface);
  if (!disk) return;
  const auto temperature = getSMARTTempForInterface(*interface);
  if (!temperature) return;
  disk->temp = *temperature;
  diskData.push_back(*std::move(disk));
}

std::optional<SmartController::DiskRecord> SmartController::getDiskInfo(
    AtaSmartInterface& interface) {
  AtaBlock block{};
  if (interface.GetATAIdentifyData(block) != 0) return std::nullopt;
  if (VerifyIdentifyData(block) != 0) return std::nullopt;
  auto model = modelName(block);
  if (!model || !supportsSmart(block)) return std::nullopt;
  return DiskRecord{*std::move(model)};
}

std::optional<std::uint32_t> SmartController::getSMARTTempForInterface(
    AtaSmartInterface& interface) {
  const auto temperature = readTemperature(interface);
  interface.SMARTEnableDisableAutosave(false);
  interface.SMARTEnableDisableOperations(false);
  if (!temperature || *temperature < 1) return std::nullopt;
  return *temperature;
}

}  // namespace tarvel
