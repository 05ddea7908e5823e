#include "platform/recorded/recorded_disks.h"

#include <algorithm>
#include <numeric>
#include <string>

namespace tarvel::recorded {
namespace {

constexpr std::uint32_t kIOReturnError = 0xE00002BC;

// One disk as the calls see it: every call is traced with the disk's index and its status.
class TracedDisk {
 public:
  TracedDisk(Playback& where, std::size_t which) : playback(where), index(which) {}

  // The disk as it is now; one that a later frame has taken away fails at everything.
  const Disk* disk() const {
    const auto& disks = playback.machine().disks;
    return index < disks.size() ? &disks[index] : nullptr;
  }

  std::uint32_t status(std::string_view operation) const {
    return disk() == nullptr || disk()->fails(operation) ? kIOReturnError : 0;
  }

  std::uint32_t traced(std::string_view call, std::uint32_t status) const {
    playback.trace(call, {{"disk", index}}, status);
    return status;
  }

  std::uint32_t traced(std::string_view call, bool enable, std::uint32_t status) const {
    playback.trace(call, {{"disk", index}, {"enable", enable}}, status);
    return status;
  }

  void traced(std::string_view call) const { playback.trace(call, {{"disk", index}}); }

 private:
  Playback& playback;
  std::size_t index;
};

std::uint32_t copyBlock(const Data& bytes, AtaBlock& block) {
  if (bytes.size() != block.size()) return kIOReturnError;
  std::copy(bytes.begin(), bytes.end(), block.begin());
  return 0;
}

class RecordedInterface : public AtaSmartInterface {
 public:
  explicit RecordedInterface(const TracedDisk& which) : target(which) {}
  ~RecordedInterface() override { target.traced("Release"); }
  RecordedInterface(const RecordedInterface&) = delete;
  RecordedInterface& operator=(const RecordedInterface&) = delete;

  std::uint32_t GetATAIdentifyData(AtaBlock& block) override {
    std::uint32_t status = target.status("identify");
    if (status == 0) status = copyBlock(target.disk()->identify, block);
    return target.traced("GetATAIdentifyData", status);
  }

  std::uint32_t SMARTEnableDisableOperations(bool enable) override {
    return target.traced("SMARTEnableDisableOperations", enable,
                         target.status(enable ? "enableOperations" : "disableOperations"));
  }

  std::uint32_t SMARTEnableDisableAutosave(bool enable) override {
    return target.traced("SMARTEnableDisableAutosave", enable,
                         target.status(enable ? "enableAutosave" : "disableAutosave"));
  }

  std::uint32_t SMARTReturnStatus(bool& thresholdExceeded) override {
    thresholdExceeded = false;
    return target.traced("SMARTReturnStatus", target.status("returnStatus"));
  }

  std::uint32_t SMARTReadData(AtaBlock& block) override {
    std::uint32_t status = target.status("readData");
    if (status == 0) status = copyBlock(target.disk()->smart, block);
    return target.traced("SMARTReadData", status);
  }

  std::uint32_t SMARTValidateReadData(const AtaBlock& block) override {
    std::uint32_t status = target.status("validate");
    const auto sum = std::accumulate(block.begin(), block.end(), 0U);
    if (status == 0 && sum % 256 != 0) status = kIOReturnError;
    return target.traced("SMARTValidateReadData", status);
  }

 private:
  TracedDisk target;
};

class RecordedPlugIn : public AtaSmartPlugIn {
 public:
  explicit RecordedPlugIn(const TracedDisk& which) : target(which) {}
  ~RecordedPlugIn() override { target.traced("IODestroyPlugInInterface"); }
  RecordedPlugIn(const RecordedPlugIn&) = delete;
  RecordedPlugIn& operator=(const RecordedPlugIn&) = delete;

  std::unique_ptr<AtaSmartInterface> QueryInterface() override {
    if (target.traced("QueryInterface", target.status("interface")) != 0) return nullptr;
    return std::make_unique<RecordedInterface>(target);
  }

 private:
  TracedDisk target;
};

class RecordedDisks : public AtaSmart {
 public:
  explicit RecordedDisks(Playback& where) : playback(where) {}

  std::vector<Service> servicesMatchingProperty(std::string_view property) override {
    playback.trace("IOServiceGetMatchingServices", {{"property", property}}, 0);
    return property == "SMART Capable" ? matching(&Disk::smartCapable) : std::vector<Service>{};
  }

  std::vector<Service> servicesMatchingClass(std::string_view className) override {
    playback.trace("IOServiceGetMatchingServices", {{"class", className}}, 0);
    return className == "IOATABlockStorageDevice" ? matching(&Disk::ataBlockStorage)
                                                  : std::vector<Service>{};
  }

  std::unique_ptr<AtaSmartPlugIn> IOCreatePlugInInterfaceForService(Service service) override {
    const TracedDisk disk(playback, service - 1);
    if (disk.traced("IOCreatePlugInInterfaceForService", disk.status("plugin")) != 0) {
      return nullptr;
    }
    return std::make_unique<RecordedPlugIn>(disk);
  }

 private:
  // Services count from 1, disks from 0.
  std::vector<Service> matching(bool Disk::*flag) const {
    std::vector<Service> services;
    const auto& disks = playback.machine().disks;
    for (std::size_t i = 0; i < disks.size(); ++i) {
      if (disks[i].*flag) services.push_back(static_cast<Service>(i + 1));
    }
    return services;
  }

  Playback& playback;
};

}  // namespace

std::unique_ptr<AtaSmart> makeRecordedDisks(Playback& playback) {
  return std::make_unique<RecordedDisks>(playback);
}

}  // namespace tarvel::recorded
