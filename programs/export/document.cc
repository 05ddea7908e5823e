#include "programs/export/document.h"

#include "platform/host/presence/application_registry.h"
#include "platform/host/store/defaults_store.h"
#include "product/version.h"
#include "programs/export/machine_families.h"
#include "programs/export/reading_families.h"
#include "viewer/snapshot.h"

namespace tarvel::viewer {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatienceWithDrivers = 2s;

void addVersion(Families& families) {
  Family family("tarvel_build_info", "The version of the exporter.");
  family.add({{"version", std::string(kVersion)}}, 1);
  std::move(family).addTo(families);
}

}  // namespace

Document::Document(DefaultsStore& store, const ApplicationRegistry& registry, ProcessLabels labels,
                   const std::string& root)
    : store_(store), registry_(registry), processes_(labels), energy_(root), machine_(root) {
  machine_.sample(Clock::now(), {});
  sources_.wait(kPatienceWithDrivers);
}

std::string Document::text(Clock::time_point now) { return textOf(families(now)); }

std::string Document::ended() {
  Families families;
  addHelper({}, families);
  return textOf(families);
}

Families Document::families(Clock::time_point now) {
  Families families;
  addVersion(families);
  const auto helper = cost_.measure(registry_, now);
  addHelper(helper, families);
  const auto snapshot = readSnapshot(store_, readingKeys());
  addTimes(snapshot, std::chrono::system_clock::now(), families);
  sources_.renew();
  const auto sourceOf = [this](std::string_view panel, const std::string& sensor,
                               std::size_t place) { return sources_.of(panel, sensor, place); };
  for (const auto& reading : snapshot) {
    if (!helper || reading.isStale()) continue;
    addSensors(reading, sourceOf, families);
    processes_.add(reading, now, families);
  }
  energy_.add(families);
  addMachine(machine_.sample(now, {}), families);
  return families;
}

}  // namespace tarvel::viewer
