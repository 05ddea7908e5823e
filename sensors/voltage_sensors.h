#pragma once

#include "platform/property_list.h"
#include "sensors/sensor_name.h"

// The catalogue of electrical readings: for each key that the controller holds, a record [display
// name, reading], the reading with two decimals in volts, amperes or watts. A reading of zero is a
// reading. A catalogue lives for one collection. Main thread only.

namespace tarvel {

class SMCSession;

class SMCVoltageSensors {
 public:
  explicit SMCVoltageSensors(SMCSession& session);

  void setKeys();

  // The records of the present keys of one kind, sorted by display name.
  Array getVoltages();
  Array getCurrent();
  Array getPower();

 private:
  Array readings(SensorKeys keys, SensorNames names);

  SensorKeys smcVoltageKeys;
  SensorKeys smcCurrentKeys;
  SensorKeys smcPowerKeys;
  SensorNames smcVoltageSensorName;
  SensorNames smcCurrentSensorName;
  SensorNames smcPowerSensorName;
  SMCSession& session_;
};

}  // namespace tarvel
