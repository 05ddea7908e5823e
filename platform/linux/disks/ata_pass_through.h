#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

struct sg_io_hdr;

// ATA commands to a disk through the kernel's SCSI pass-through (SG_IO), and what came of them.
//
// Sources: SAT-4 (ATA PASS-THROUGH and its sense data), ACS-3 (the commands), SPC-4 (sense
// formats), the kernel's sg documentation (host and driver status).

namespace tarvel {

struct AtaCommand {
  std::uint8_t command;
  std::uint8_t feature;
  std::uint8_t count;
  std::uint8_t lbaMid;
  std::uint8_t lbaHigh;
  bool dataIn;          // a block of 512 bytes comes back
  bool wantsRegisters;  // the answer lies in the disk's registers
};

inline constexpr AtaCommand kIdentifyDevice{0xEC, 0, 1, 0, 0, true, false};
inline constexpr AtaCommand kCheckPowerMode{0xE5, 0, 0, 0, 0, false, true};
inline constexpr AtaCommand kSmartEnable{0xB0, 0xD8, 0, 0x4F, 0xC2, false, false};
inline constexpr AtaCommand kSmartDisable{0xB0, 0xD9, 0, 0x4F, 0xC2, false, false};
inline constexpr AtaCommand kSmartAutosaveOn{0xB0, 0xD2, 0xF1, 0x4F, 0xC2, false, false};
inline constexpr AtaCommand kSmartAutosaveOff{0xB0, 0xD2, 0, 0x4F, 0xC2, false, false};
inline constexpr AtaCommand kSmartReturnStatus{0xB0, 0xDA, 0, 0x4F, 0xC2, false, true};
inline constexpr AtaCommand kSmartReadData{0xB0, 0xD0, 1, 0x4F, 0xC2, true, false};

std::array<std::uint8_t, 16> passThrough16(const AtaCommand& command);

// For bridges that know no other. The same code means another command to an optical drive.
std::array<std::uint8_t, 12> passThrough12(const AtaCommand& command);

struct AtaRegisters {
  std::uint8_t status = 0;
  std::uint8_t count = 0;
  std::uint8_t lbaMid = 0;
  std::uint8_t lbaHigh = 0;
};

enum class AtaOutcome {
  success,
  refused,  // the command descriptor is not known there; another size may be
  failed,
  timedOut,
  notSent,
};

struct AtaAnswer {
  AtaOutcome outcome = AtaOutcome::notSent;
  std::optional<AtaRegisters> registers;
};

// What the kernel answered to a pass-through that it took.
AtaAnswer judgeAnswer(const sg_io_hdr& header, std::span<const std::uint8_t> sense);

// ioctl(descriptor, SG_IO, &header), and its errno.
using ScsiIoctl = std::function<int(int descriptor, sg_io_hdr& header)>;
int scsiIoctl(int descriptor, sg_io_hdr& header);

enum class DescriptorSize { sixteen, twelve };

// Sends one command, which the kernel gives up after 30 seconds. `data` receives what a data
// command reads.
AtaAnswer sendAtaCommand(const ScsiIoctl& ioctl, int descriptor, const AtaCommand& command,
                         DescriptorSize size, std::span<std::uint8_t, 512> data);

}  // namespace tarvel
