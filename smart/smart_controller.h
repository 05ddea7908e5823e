#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/ata_smart.h"
#include "smart/ata_data.h"

// The machine's disks by model and temperature. A disk that fails at any step is left out and the
// others are still read; nothing is reported. Main thread only.

namespace tarvel {

using DataSetRow = std::array<std::string, 2>;  // model, temperature in the unit asked for

class SmartController {
 public:
  explicit SmartController(AtaSmart& ataSmart) : ataSmart_(ataSmart) {}

  // Reads every disk that says that it is S.M.A.R.T. capable; where that finds no temperature,
  // every ATA disk.
  void update();

  // One row for each disk of the last update; none before it.
  std::vector<DataSetRow> getDataSet(TemperatureUnit unit) const;

 private:
  struct DiskRecord {
    std::string model;
    std::uint32_t temp = 0;  // degrees Celsius, 1 to 255
  };

  void getSMARTData(AtaSmart::Service service);
  static std::optional<DiskRecord> getDiskInfo(AtaSmartInterface& interface);

  // Leaves S.M.A.R.T. operations and autosave switched off, whatever it answers.
  static std::optional<std::uint32_t> getSMARTTempForInterface(AtaSmartInterface& interface);

  AtaSmart& ataSmart_;
  std::vector<DiskRecord> diskData;
  std::vector<DiskRecord> latestData;
};

}  // namespace tarvel
