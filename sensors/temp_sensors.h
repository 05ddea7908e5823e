#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/property_list.h"
#include "sensors/sensor_name.h"
#include "smart/smart_controller.h"

// The temperature catalogue: for each key that the controller holds, and for each disk that reports
// a temperature, a record [display name, whole degrees Celsius]. Fractions are dropped, readings
// below 1 left out; every disk is "HDD". Main thread only.

namespace tarvel {

class AtaSmart;
class SMCSession;

class SMCTempSensors {
 public:
  SMCTempSensors(SMCSession& session, AtaSmart& ataSmart);

  void setTempKeys();

  // All readings, sorted by display name. Asks the disks at the first call and at every 60th after
  // it; the calls between repeat their last rows.
  Array getTemps();

 private:
  void appendControllerReadings(Array& records);
  void refreshSmartData();

  std::unique_ptr<SmartController> smartController;
  SensorKeys smcTempKeys;
  SensorNames smcTempSensorName;
  std::int32_t smartTick = 0;  // calls since the disks were asked
  bool hasSmartData = false;
  std::vector<DataSetRow> smartData;
  SMCSession& session_;
  AtaSmart& ataSmart_;
};

}  // namespace tarvel
