#include "platform/linux/disks/linux_ata_smart.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "platform/linux/disks/disk_interfaces.h"
#include "platform/linux/sysfs.h"

namespace tarvel {
namespace {

constexpr std::chrono::minutes kBetweenReadings{1};

// Traffic since a look that is older says nothing of what the disk does now.
constexpr std::chrono::seconds kBetweenLooks{15};

// One look for disks serves a cycle, which may ask for them once for every panel.
constexpr std::chrono::seconds kLookServes{1};

class DiskPlugIn : public AtaSmartPlugIn {
 public:
  DiskPlugIn(std::shared_ptr<DiskState> state, const LinuxAtaOptions& options)
      : state_(std::move(state)), options_(options) {}

  std::unique_ptr<AtaSmartInterface> QueryInterface() override {
    const bool isInUse = lookForTraffic();
    if (mayBeAsked(*state_, options_) && (isInUse || !state_->mayNotBeAsked)) {
      leaveAloneFor(*state_, options_, kBetweenReadings);
      if (auto disk = ask(isInUse)) return disk;
    }
    const auto last = state_->last;
    return last ? makeLastReading(*last) : nullptr;
  }

 private:
  using PowerMode = DiskLink::PowerMode;

  // Whether there was traffic since a look a short time ago.
  bool lookForTraffic() {
    const auto now = options_.clock();
    const auto before = std::exchange(state_->lookedAt, now);
    std::string counts = trafficCounts(state_->disk, options_.roots);
    const bool moved = counts != state_->traffic;
    state_->traffic = std::move(counts);
    return moved && before && now - *before <= kBetweenLooks;
  }

  // The disk, when it is awake and commands are the way to its data.
  std::unique_ptr<AtaSmartInterface> ask(bool isInUse) {
    if (isSuspended(state_->disk)) return nullptr;
    DiskLink link(state_, options_);
    const auto mode = link.powerMode();
    state_->mayNotBeAsked = mode == PowerMode::notForUsToAsk;
    const std::string watched = drivetempFile(state_->disk);
    if (watched.empty()) {
      return mode == PowerMode::awake ? makeLiveDisk(std::move(link), state_) : nullptr;
    }
    if (mode == PowerMode::awake || (state_->mayNotBeAsked && isInUse)) {
      readWatched(watched);
      state_->traffic = trafficCounts(state_->disk, options_.roots);  // some kernels count ours
    } else if (state_->mayNotBeAsked) {
      leaveAloneFor(*state_, options_, MonotonicTime(0));
    }
    return nullptr;
  }

  // Takes the kernel's reading as the disk's.
  void readWatched(const std::string& file) {
    const auto millidegrees = std::make_shared<std::optional<std::int64_t>>();
    const bool done = workWithDisk(state_, options_, [millidegrees, file] {
      *millidegrees = leadingInteger(readAttribute(file));
    });
    if (!done) return;
    const auto degrees = *millidegrees;
    if (!degrees) return;
    const auto reading = readingOfTemperature(cachedIdentifyData(state_->disk), *degrees);
    if (reading) state_->last = reading;
  }

  std::shared_ptr<DiskState> state_;
  const LinuxAtaOptions& options_;
};

class LinuxAtaSmart : public AtaSmart {
 public:
  explicit LinuxAtaSmart(LinuxAtaOptions options) : options_(std::move(options)) {}

  std::vector<Service> servicesMatchingProperty(std::string_view property) override {
    return property == "SMART Capable" ? services(&AtaDisk::smartCapable) : std::vector<Service>{};
  }

  std::vector<Service> servicesMatchingClass(std::string_view className) override {
    return className == "IOATABlockStorageDevice" ? services(&AtaDisk::ataBlockStorage)
                                                  : std::vector<Service>{};
  }

  std::unique_ptr<AtaSmartPlugIn> IOCreatePlugInInterfaceForService(Service service) override {
    for (const auto& [identity, known] : disks_) {
      if (known.service == service) return std::make_unique<DiskPlugIn>(known.state, options_);
    }
    return nullptr;
  }

 private:
  struct Known {
    Service service = 0;
    std::shared_ptr<DiskState> state;
  };

  std::vector<Service> services(bool AtaDisk::*kind) {
    const auto now = options_.clock();
    if (!looked_ || now - *looked_ >= kLookServes) {
      looked_ = now;
      look();
    }
    std::vector<Service> matching;
    for (const auto& identity : order_) {
      const Known& known = disks_[identity];
      if (known.state->disk.*kind) matching.push_back(known.service);
    }
    return matching;
  }

  // Finds which disks there are now; what was known of others is forgotten.
  void look() {
    std::map<std::string, Known> present;
    order_.clear();
    for (auto& disk : listAtaDisks(options_.roots)) {
      Known known = disks_[disk.identity];
      if (!known.state) known = Known{nextService_++, std::make_shared<DiskState>()};
      order_.push_back(disk.identity);
      known.state->disk = disk;
      present[disk.identity] = std::move(known);
    }
    disks_ = std::move(present);
  }

  LinuxAtaOptions options_;
  std::map<std::string, Known> disks_;  // by identity
  std::vector<std::string> order_;      // their identities as they were found
  std::optional<MonotonicTime> looked_;
  Service nextService_ = 1;
};

}  // namespace

std::unique_ptr<AtaSmart> makeLinuxAtaSmart(LinuxAtaOptions options) {
  return std::make_unique<LinuxAtaSmart>(std::move(options));
}

}  // namespace tarvel
