#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "platform/host/files/file_descriptor.h"
#include "platform/linux/disks/ata_disks.h"
#include "platform/linux/disks/disk_reading.h"
#include "platform/linux/disks/linux_ata_smart.h"

// What is known of one disk, and the way to send commands to it.

namespace tarvel {

// One disk for as long as it is attached.
struct DiskState {
  AtaDisk disk;
  std::optional<DiskReading> last;         // when it last said everything
  std::optional<MonotonicTime> notBefore;  // when it may be asked again
  DescriptorSize size = DescriptorSize::sixteen;

  // Where the disk may not be asked whether it stands by, its traffic tells that it does not.
  bool mayNotBeAsked = false;
  std::string traffic;  // what the kernel counted at the last look
  std::optional<MonotonicTime> lookedAt;

  std::atomic<bool> busy = false;  // with work that may hang
};

bool mayBeAsked(const DiskState& state, const LinuxAtaOptions& options);
void leaveAloneFor(DiskState& state, const LinuxAtaOptions& options, MonotonicTime pause);

// Does the work on a thread that may hang; false when it does, or when no thread can be made. The
// disk is then left alone for ten minutes, or until the work ends if that takes longer.
bool workWithDisk(const std::shared_ptr<DiskState>& state, const LinuxAtaOptions& options,
                  std::function<void()> work);

// A disk as far as it can be opened, which the first command does. Nothing more is sent once a
// command was given up or has run into the kernel's own limit.
class DiskLink {
 public:
  // The options outlive the link.
  DiskLink(std::shared_ptr<DiskState> state, const LinuxAtaOptions& options);

  // The block receives what a data command reads. A size of descriptor that is refused gives way to
  // the other one.
  AtaAnswer send(const AtaCommand& command, AtaBlock& block);

  enum class PowerMode {
    awake,
    standby,
    unknown,       // it does not say, or nothing that the standard knows
    notForUsToAsk  // no command may be sent
  };
  PowerMode powerMode();

 private:
  AtaAnswer sendOnce(const AtaCommand& command, AtaBlock& block);

  std::shared_ptr<DiskState> state_;
  const LinuxAtaOptions& options_;
  std::shared_ptr<FileDescriptor> descriptor_ = std::make_shared<FileDescriptor>();
  bool timedOut_ = false;
};

}  // namespace tarvel
