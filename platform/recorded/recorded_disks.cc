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
  TracedDisk(Playback& playback, std::size_t index) : playback_(playback), index_(index) {}

  // The disk as it is now; one that a later frame has taken away fails at everything.
  const Disk* disk() const {
    const auto& disks = playback_.machine().disks;
    return index_ < disks.size() ? &disks[index_] : nullptr;
  }

  std::uint32_t status(std::string_view operation) const {
    return disk() == nullptr || disk()->fails(operation) ? kIOReturnError : 0;
  }

  std::uint32_t traced(std::string_view call, std::uint32_t status) const {
    playback_.trace(call, {{"disk", index_}}, status);
    return status;
  }

  std::uint32_t traced(std::string_view call, bool enable, std::uint32_t status) const {
    playback_.trace(call, {{"disk", index_}, {"enable", enable}}, status);
    return status;
  }

  void traced(std::string_view call) const { playback_.trace(call, {{"disk", index_}}); }

 private:
  Playback& playback_;
  std::size_t index_;
};

std::uint32_t copyBlock(const Data& bytes, AtaBlock& block) {
  if (bytes.size() != block.size()) return kIOReturnError;
  std::copy(bytes.begin(), bytes.end(), block.begin());
  return 0;
}

class RecordedInterface : public AtaSmartInterface {
 public:
  explicit RecordedInterface(const TracedDisk& target) : target_(target) {}
  ~RecordedInterface() override { target_.traced("Release"); }
  RecordedInterface(const RecordedInterface&) = delete;
  RecordedInterface& operator=(const RecordedInterface&) = delete;

  std::uint32_t GetATAIdentifyData(AtaBlock& block) override {
    std::uint32_t status = target_.status("identify");
    if (status == 0) status = copyBlock(target_.disk()->identify, block);
    return target_.traced("GetATAIdentifyData", status);
  }

  std::uint32_t SMARTEnableDisableOperations(bool enable) override {
    return target_.traced("SMARTEnableDisableOperations", enable,
                          target_.status(enable ? "enableOperations" : "disableOperations"));
  }

  std::uint32_t SMARTEnableDisableAutosave(bool enable) override {
    return target_.traced("SMARTEnableDisableAutosave", enable,
                          target_.status(enable ? "enableAutosave" : "disableAutosave"));
  }

  std::uint32_t SMARTReturnStatus(bool& thresholdExceeded) override {
    thresholdExceeded = false;
    return target_.traced("SMARTReturnStatus", target_.status("returnStatus"));
  }

  std::uint32_t SMARTReadData(AtaBlock& block) override {
    std::uint32_t status = target_.status("readData");
    if (status == 0) status = copyBlock(target_.disk()->smart, block);
    return target_.traced("SMARTReadData", status);
  }

  std::uint32_t SMARTValidateReadData(const AtaBlock& block) override {
    std::uint32_t status = target_.status("validate");
    const auto sum = std::accumulate(block.begin(), block.end(), 0U);
    if (status == 0 && sum % 256 != 0) status = kIOReturnError;
    return target_.traced("SMARTValidateReadData", status);
  }

 private:
  TracedDisk target_;
};

class RecordedPlugIn : public AtaSmartPlugIn {
 public:
  explicit RecordedPlugIn(const TracedDisk& target) : target_(target) {}
  ~RecordedPlugIn() override { target_.traced("IODestroyPlugInInterface"); }
  RecordedPlugIn(const RecordedPlugIn&) = delete;
  RecordedPlugIn& operator=(const RecordedPlugIn&) = delete;

  std::unique_ptr<AtaSmartInterface> QueryInterface() override {
    if (target_.traced("QueryInterface", target_.status("interface")) != 0) return nullptr;
    return std::make_unique<RecordedInterface>(target_);
  }

 private:
  TracedDisk target_;
};

class RecordedDisks : public AtaSmart {
 public:
  explicit RecordedDisks(Playback& playback) : playback_(playback) {}

  std::vector<Service> servicesMatchingProperty(std::string_view property) override {
    playback_.trace("IOServiceGetMatchingServices", {{"property", property}}, 0);
    return property == "SMART Capable" ? matching(&Disk::smartCapable) : std::vector<Service>{};
  }

  std::vector<Service> servicesMatchingClass(std::string_view className) override {
    playback_.trace("IOServiceGetMatchingServices", {{"class", className}}, 0);
    return className == "IOATABlockStorageDevice" ? matching(&Disk::ataBlockStorage)
                                                  : std::vector<Service>{};
  }

  std::unique_ptr<AtaSmartPlugIn> IOCreatePlugInInterfaceForService(Service service) override {
    const TracedDisk disk(playback_, service - 1);
    if (disk.traced("IOCreatePlugInInterfaceForService", disk.status("plugin")) != 0) {
      return nullptr;
    }
    return std::make_unique<RecordedPlugIn>(disk);
  }

 private:
  // Services count from 1, disks from 0.
  std::vector<Service> matching(bool Disk::*flag) const {
    std::vector<Service> services;
    const auto& disks = playback_.machine().disks;
    for (std::size_t i = 0; i < disks.size(); ++i) {
      if (disks[i].*flag) services.push_back(static_cast<Service>(i + 1));
    }
    return services;
  }

  Playback& playback_;
};

}  // namespace

std::unique_ptr<AtaSmart> makeRecordedDisks(Playback& playback) {
  return std::make_unique<RecordedDisks>(playback);
}

}  // namespace tarvel::recorded
