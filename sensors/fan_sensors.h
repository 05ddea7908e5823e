#pragma once

#include <string_view>

#include "platform/property_list.h"
#include "sensors/sensor_name.h"

// The fan catalogue: every fan that the controller counts, as a record [display name, [current,
// minimum, maximum, "1"]]. Speeds are whole revolutions per minute as text; the last text is the
// viewer flag. A catalogue lives for one collection. Main thread only.

namespace tarvel {

class SMCSession;
class SMCWrapper;

class SMCFanSensors {
 public:
  explicit SMCFanSensors(SMCSession& session);

  void setFanNames();

  // The fans that are there, sorted by display name. Fans of one name give one record, that of the
  // last; a speed that cannot be read is "0". The controller's keys number fans 0 to 9: further
  // ones are left out.
  Array getFans();

 private:
  static Array fanValues(SMCWrapper& wrapper, int index);

  SensorNames fanSensorName;
  SMCSession& session_;
};

}  // namespace tarvel
