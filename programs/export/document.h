#pragma once

#include <chrono>
#include <string>

#include "programs/export/energy_families.h"
#include "programs/export/process_families.h"
#include "programs/export/sensor_sources.h"
#include "viewer/helper_cost.h"
#include "viewer/machine/machine_reader.h"

// What is exported. One thread.

namespace tarvel {
class ApplicationRegistry;
class DefaultsStore;
}  // namespace tarvel

namespace tarvel::viewer {

class Document {
 public:
  using Clock = std::chrono::steady_clock;

  // The store and the registry outlive the document. Waits for the sources of the sensors, two
  // seconds at most. The root folder of the machine as MachineReader has it.
  Document(DefaultsStore& store, const ApplicationRegistry& registry, ProcessLabels labels,
           const std::string& root = {});

  // To be called at least twice a second by whoever makes more than one text: energy is shared out
  // by each list that the helper publishes, however seldom somebody asks for a text. In a single
  // text there is none.
  void watch(Clock::time_point now) { energy_.watch(store_, now); }

  // The text at this moment. Only reads: nobody measures more for it. Without a helper, and of a
  // reading that is old, there are no samples.
  std::string text(Clock::time_point now);

  // The text of an exporter that has ended: nothing refreshes the readings for it.
  static std::string ended();

 private:
  Families families(Clock::time_point now);

  DefaultsStore& store_;
  const ApplicationRegistry& registry_;
  SensorSources sources_;
  ProcessFamilies processes_;
  EnergyFamilies energy_;
  MachineReader machine_;
  HelperCost cost_;
};

}  // namespace tarvel::viewer
