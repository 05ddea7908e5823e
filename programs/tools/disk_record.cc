#include "programs/tools/disk_record.h"

#include <algorithm>
#include <numeric>
#include <span>
#include <string>
#include <vector>

namespace tarvel::tools {
namespace {

using viewer::Json;

struct Field {
  std::size_t begin;
  std::size_t end;
  std::uint8_t filler;
};

// Of IDENTIFY DEVICE data (ACS-3): words 10-19, 108-111, 129-159 and 176-205.
constexpr Field kIdentifyFields[] = {
    {20, 40, ' '},   // serial number
    {216, 224, 0},   // world-wide name
    {258, 320, 0},   // the maker's own
    {352, 412, ' '}  // serial number of the medium
};
constexpr Field kSmartFields[] = {{386, 511, 0}};  // the maker's own

// The fields blanked, with the same sum of all bytes as before.
AtaBlock blanked(AtaBlock block, std::span<const Field> fields) {
  const int before = std::accumulate(block.begin(), block.end(), 0);
  for (const auto& field : fields) {
    std::fill(block.begin() + static_cast<std::ptrdiff_t>(field.begin),
              block.begin() + static_cast<std::ptrdiff_t>(field.end), field.filler);
  }
  const int after = std::accumulate(block.begin(), block.end(), 0);
  block.back() = static_cast<std::uint8_t>(block.back() + before - after);
  return block;
}

std::string hexOf(const AtaBlock& block) {
  constexpr const char* kDigits = "0123456789abcdef";
  std::string text;
  for (const auto byte : block) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

bool attempt(Json& disk, const char* operation, std::uint32_t status) {
  if (status != 0) disk["fail"].push_back(operation);
  return status == 0;
}

void recordSmart(AtaSmartInterface& interface, Json& disk) {
  bool exceeded = false;
  AtaBlock block{};
  if (!attempt(disk, "enableOperations", interface.SMARTEnableDisableOperations(true)) ||
      !attempt(disk, "enableAutosave", interface.SMARTEnableDisableAutosave(true)) ||
      !attempt(disk, "returnStatus", interface.SMARTReturnStatus(exceeded)) ||
      !attempt(disk, "readData", interface.SMARTReadData(block))) {
    return;
  }
  disk["smart"] = hexOf(blanked(block, kSmartFields));
  attempt(disk, "validate", interface.SMARTValidateReadData(block));
}

void recordBlocks(AtaSmart& ataSmart, AtaSmart::Service service, Json& disk) {
  const auto plugIn = ataSmart.IOCreatePlugInInterfaceForService(service);
  if (!attempt(disk, "plugin", plugIn ? 0 : 1)) return;
  const auto interface = plugIn->QueryInterface();
  if (!attempt(disk, "interface", interface ? 0 : 1)) return;
  AtaBlock block{};
  if (!attempt(disk, "identify", interface->GetATAIdentifyData(block))) return;
  disk["identify"] = hexOf(blanked(block, kIdentifyFields));
  recordSmart(*interface, disk);
  attempt(disk, "disableAutosave", interface->SMARTEnableDisableAutosave(false));
  attempt(disk, "disableOperations", interface->SMARTEnableDisableOperations(false));
}

}  // namespace

Json recordDisks(AtaSmart& ataSmart) {
  const auto capable = ataSmart.servicesMatchingProperty("SMART Capable");
  const auto storage = ataSmart.servicesMatchingClass("IOATABlockStorageDevice");
  const auto isIn = [](const auto& list, auto service) {
    return std::find(list.begin(), list.end(), service) != list.end();
  };
  auto services = capable;
  for (const auto service : storage) {
    if (!isIn(capable, service)) services.push_back(service);
  }
  std::sort(services.begin(), services.end());
  Json disks = Json::array();
  for (const auto service : services) {
    Json disk = {{"smartCapable", isIn(capable, service)},
                 {"ataBlockStorage", isIn(storage, service)}};
    recordBlocks(ataSmart, service, disk);
    disks.push_back(std::move(disk));
  }
  return disks;
}

}  // namespace tarvel::tools
