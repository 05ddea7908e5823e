#include "platform/linux/disks/disk_link.h"

#include <string>
#include <utility>

#include <fcntl.h>

#include "platform/linux/bounded_work.h"
#include "platform/linux/process_rights.h"

namespace tarvel {
namespace {

constexpr std::chrono::minutes kAfterTimeOut{10};

// Opened for reading: udev looks at a disk anew when one that was open for writing is closed.
constexpr int kOpenFlags = O_RDONLY | O_NONBLOCK | O_CLOEXEC;

// The count that CHECK POWER MODE answers, as ACS-3 has it.
constexpr std::uint8_t kStandbyZ = 0x00;
constexpr std::uint8_t kStandbyY = 0x01;
constexpr std::uint8_t kSpunDown = 0x40;  // a disk with a cache of its own that it serves from
constexpr std::uint8_t kSpunUp = 0x41;    // the same
constexpr std::uint8_t kIdle = 0x80;
constexpr std::uint8_t kIdleC = 0x83;  // Idle_a to Idle_c: heads parked or slower, but turning
constexpr std::uint8_t kActiveOrIdle = 0xFF;

DiskLink::PowerMode powerModeOf(std::uint8_t count) {
  if (count == kStandbyZ || count == kStandbyY || count == kSpunDown) {
    return DiskLink::PowerMode::standby;
  }
  const bool isIdle = count >= kIdle && count <= kIdleC;
  return isIdle || count == kSpunUp || count == kActiveOrIdle ? DiskLink::PowerMode::awake
                                                              : DiskLink::PowerMode::unknown;
}

}  // namespace

bool mayBeAsked(const DiskState& state, const LinuxAtaOptions& options) {
  return !state.busy && (!state.notBefore || options.clock() >= *state.notBefore);
}

void leaveAloneFor(DiskState& state, const LinuxAtaOptions& options, MonotonicTime pause) {
  state.notBefore = options.clock() + pause;
}

bool workWithDisk(const std::shared_ptr<DiskState>& state, const LinuxAtaOptions& options,
                  std::function<void()> work) {
  state->busy = true;
  const auto outcome = runBounded("disk", options.commandLimit, [state, work = std::move(work)] {
    work();
    state->busy = false;
  });
  if (outcome == BoundedOutcome::notStarted) state->busy = false;
  if (outcome == BoundedOutcome::goesOn) leaveAloneFor(*state, options, kAfterTimeOut);
  return outcome == BoundedOutcome::finished;
}

DiskLink::DiskLink(std::shared_ptr<DiskState> state, const LinuxAtaOptions& options)
    : state_(std::move(state)), options_(options) {}

AtaAnswer DiskLink::send(const AtaCommand& command, AtaBlock& block) {
  AtaAnswer answer = sendOnce(command, block);
  if (answer.outcome != AtaOutcome::refused || state_->size == DescriptorSize::twelve) {
    return answer;
  }
  state_->size = DescriptorSize::twelve;
  answer = sendOnce(command, block);
  if (answer.outcome == AtaOutcome::refused) state_->size = DescriptorSize::sixteen;
  return answer;
}

DiskLink::PowerMode DiskLink::powerMode() {
  AtaBlock none{};
  const auto answer = send(kCheckPowerMode, none);
  if (answer.outcome == AtaOutcome::notSent && !timedOut_) return PowerMode::notForUsToAsk;
  if (answer.outcome != AtaOutcome::success || !answer.registers) return PowerMode::unknown;
  return powerModeOf(answer.registers->count);
}

AtaAnswer DiskLink::sendOnce(const AtaCommand& command, AtaBlock& block) {
  struct Work {
    AtaAnswer answer;
    AtaBlock block{};
  };
  if (timedOut_) return {};
  const auto work = std::make_shared<Work>();
  const std::string node = options_.roots.dev + "/" + state_->disk.name;
  const bool done = workWithDisk(
      state_, options_,
      [work, command, node, disk = descriptor_, size = state_->size, ioctl = options_.ioctl] {
        const RaisedRights rights;
        if (!*disk) disk->reset(::open(node.c_str(), kOpenFlags));
        if (*disk) work->answer = sendAtaCommand(ioctl, disk->get(), command, size, work->block);
      });
  timedOut_ = !done || work->answer.outcome == AtaOutcome::timedOut;
  if (timedOut_) leaveAloneFor(*state_, options_, kAfterTimeOut);
  if (!done) return {};
  if (command.dataIn && work->answer.outcome == AtaOutcome::success) block = work->block;
  return work->answer;
}

}  // namespace tarvel
