#include "platform/linux/disks/disk_interfaces.h"

#include <optional>
#include <utility>

namespace tarvel {
namespace {

constexpr std::uint32_t kIOReturnSuccess = 0;
constexpr std::uint32_t kIOReturnError = 0xE00002BC;

class LastReading : public AtaSmartInterface {
 public:
  explicit LastReading(const DiskReading& reading) : reading_(reading) {}

  std::uint32_t GetATAIdentifyData(AtaBlock& block) override {
    block = reading_.identify;
    return kIOReturnSuccess;
  }
  std::uint32_t SMARTEnableDisableOperations(bool) override { return kIOReturnSuccess; }
  std::uint32_t SMARTEnableDisableAutosave(bool) override { return kIOReturnSuccess; }
  std::uint32_t SMARTReturnStatus(bool& thresholdExceeded) override {
    thresholdExceeded = false;
    return kIOReturnSuccess;
  }
  std::uint32_t SMARTReadData(AtaBlock& block) override {
    block = reading_.smart;
    return kIOReturnSuccess;
  }
  std::uint32_t SMARTValidateReadData(const AtaBlock& block) override {
    return hasRightChecksum(block) ? kIOReturnSuccess : kIOReturnError;
  }

 private:
  const DiskReading reading_;
};

class LiveDisk : public AtaSmartInterface {
 public:
  LiveDisk(DiskLink link, std::shared_ptr<DiskState> state)
      : link_(std::move(link)), state_(std::move(state)) {}

  std::uint32_t GetATAIdentifyData(AtaBlock& block) override {
    if (ask(kIdentifyDevice, block)) {
      reading_.identify = block;
      return kIOReturnSuccess;
    }
    block = state_->last.value_or(DiskReading{}).identify;
    return lastStatus();
  }

  std::uint32_t SMARTEnableDisableOperations(bool enable) override {
    AtaBlock none{};
    if (!enable) return switchOff(kSmartDisable);
    switchedOn_ = switchedOn_ || !failed_;
    return ask(kSmartEnable, none) ? kIOReturnSuccess : lastStatus();
  }

  std::uint32_t SMARTEnableDisableAutosave(bool enable) override {
    AtaBlock none{};
    if (!enable) return switchOff(kSmartAutosaveOff);
    return ask(kSmartAutosaveOn, none) ? kIOReturnSuccess : lastStatus();
  }

  // Disks and bridges that do not say count as within their thresholds.
  std::uint32_t SMARTReturnStatus(bool& thresholdExceeded) override {
    constexpr std::uint8_t exceededMid = 0xF4;
    AtaBlock none{};
    thresholdExceeded = false;
    const auto answer = askFor(kSmartReturnStatus, none);
    if (!answer) return lastStatus();
    if (answer->registers) thresholdExceeded = answer->registers->lbaMid == exceededMid;
    return kIOReturnSuccess;
  }

  std::uint32_t SMARTReadData(AtaBlock& block) override {
    const bool whole = ask(kSmartReadData, block) && (hasRightChecksum(block) || !state_->last);
    if (whole) return kIOReturnSuccess;
    failed_ = true;
    if (state_->last) block = state_->last.value_or(DiskReading{}).smart;
    return lastStatus();
  }

  std::uint32_t SMARTValidateReadData(const AtaBlock& block) override {
    if (!hasRightChecksum(block)) return kIOReturnError;
    if (!failed_) {
      reading_.smart = block;
      state_->last = reading_;
    }
    return kIOReturnSuccess;
  }

 private:
  std::optional<AtaAnswer> askFor(const AtaCommand& command, AtaBlock& block) {
    if (failed_) return std::nullopt;
    const auto answer = link_.send(command, block);
    failed_ = answer.outcome != AtaOutcome::success;
    return failed_ ? std::nullopt : std::optional(answer);
  }

  bool ask(const AtaCommand& command, AtaBlock& block) {
    return askFor(command, block).has_value();
  }

  std::uint32_t switchOff(const AtaCommand& command) {
    AtaBlock none{};
    if (!switchedOn_) return kIOReturnSuccess;
    const bool done = link_.send(command, none).outcome == AtaOutcome::success;
    return done ? kIOReturnSuccess : kIOReturnError;
  }

  std::uint32_t lastStatus() const { return state_->last ? kIOReturnSuccess : kIOReturnError; }

  DiskLink link_;
  std::shared_ptr<DiskState> state_;
  DiskReading reading_;
  bool failed_ = false;
  bool switchedOn_ = false;
};

}  // namespace

std::unique_ptr<AtaSmartInterface> makeLastReading(const DiskReading& reading) {
  return std::make_unique<LastReading>(reading);
}

std::unique_ptr<AtaSmartInterface> makeLiveDisk(DiskLink link, std::shared_ptr<DiskState> state) {
  return std::make_unique<LiveDisk>(std::move(link), std::move(state));
}

}  // namespace tarvel
