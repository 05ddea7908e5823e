#include "platform/linux/disks/ata_pass_through.h"

#include <algorithm>
#include <cerrno>

#include <scsi/sg.h>
#include <sys/ioctl.h>

namespace tarvel {
namespace {

// What a disk may need that has to spin up first. At the end of it the kernel resets the disk's
// link, which every other command to it feels, so that only a broken disk may get there.
constexpr unsigned kTimeLimitMilliseconds = 30'000;

constexpr std::size_t kSenseBytes = 64;

constexpr std::uint8_t kPassThrough16 = 0x85;
constexpr std::uint8_t kPassThrough12 = 0xA1;
constexpr std::uint8_t kProtocolNoData = 3 << 1;
constexpr std::uint8_t kProtocolDataIn = 4 << 1;
constexpr std::uint8_t kOneBlockFromDevice = 0x0E;  // direction, unit and place of the length
constexpr std::uint8_t kCheckCondition = 0x20;      // answer with the registers

constexpr std::uint8_t kStatusCheckCondition = 0x02;
constexpr unsigned kHostTimedOut = 3;
constexpr unsigned kDriverTimedOut = 6;
constexpr unsigned kDriverSense = 8;

constexpr std::uint8_t kKeyRecovered = 0x1;
constexpr std::uint8_t kKeyIllegalRequest = 0x5;
constexpr std::uint8_t kKeyAborted = 0xB;
constexpr std::uint16_t kInvalidCommand = 0x2000;
constexpr std::uint16_t kRegistersAvailable = 0x001D;
constexpr std::uint8_t kAtaReturnDescriptor = 0x09;
constexpr std::uint8_t kAtaReturnLength = 0x0C;

constexpr std::uint8_t kAtaError = 0x01;
constexpr std::uint8_t kAtaDeviceFault = 0x20;
constexpr std::uint8_t kAtaReady = 0x40;
constexpr std::uint8_t kAtaBusy = 0x80;

struct Sense {
  std::uint8_t key = 0;
  std::uint16_t code = 0;  // additional sense code and its qualifier
  std::optional<AtaRegisters> registers;
};

std::uint16_t codeOf(std::uint8_t code, std::uint8_t qualifier) {
  return static_cast<std::uint16_t>(code << 8 | qualifier);
}

// The descriptor may stand anywhere in the list.
std::optional<AtaRegisters> registersInDescriptors(std::span<const std::uint8_t> list) {
  while (list.size() >= 2) {
    const std::size_t length = std::size_t{2} + list[1];
    if (length > list.size()) break;
    if (list[0] == kAtaReturnDescriptor && list[1] == kAtaReturnLength) {
      return AtaRegisters{list[13], list[5], list[9], list[11]};
    }
    list = list.subspan(length);
  }
  return std::nullopt;
}

std::optional<Sense> descriptorSense(std::span<const std::uint8_t> sense) {
  if (sense.size() < 8) return std::nullopt;
  const std::size_t length = std::min<std::size_t>(sense[7], sense.size() - 8);
  return Sense{static_cast<std::uint8_t>(sense[1] & 0x0F), codeOf(sense[2], sense[3]),
               registersInDescriptors(sense.subspan(8, length))};
}

std::optional<Sense> fixedSense(std::span<const std::uint8_t> sense) {
  if (sense.size() < 14) return std::nullopt;
  Sense found{static_cast<std::uint8_t>(sense[2] & 0x0F), codeOf(sense[12], sense[13]), {}};
  if (found.code == kRegistersAvailable && sense[4] != 0) {
    found.registers = AtaRegisters{sense[4], sense[6], sense[10], sense[11]};
  }
  return found;
}

std::optional<Sense> parsedSense(std::span<const std::uint8_t> sense) {
  if (sense.empty()) return std::nullopt;
  switch (sense[0] & 0x7F) {
    case 0x70:
    case 0x71:
      return fixedSense(sense);
    case 0x72:
    case 0x73:
      return descriptorSense(sense);
    default:
      return std::nullopt;
  }
}

// Registers are the disk's word, but not beside an aborted command: some kernels then put them
// where they do not belong. Keys that do not fit good registers come from bridges, and so does the
// absence of a code beside registers from old kernels.
bool tellsSuccess(const Sense& sense) {
  if (!sense.registers || sense.key == kKeyAborted) return false;
  const std::uint8_t status = sense.registers->status;
  if ((status & (kAtaError | kAtaDeviceFault)) != 0) return false;
  if (sense.key <= kKeyRecovered) return sense.code == kRegistersAvailable || sense.code == 0;
  return sense.code == kRegistersAvailable && (status & (kAtaReady | kAtaBusy)) == kAtaReady;
}

AtaOutcome outcomeOf(const sg_io_hdr& header, const std::optional<Sense>& sense) {
  const unsigned driver = header.driver_status & 0x0FU;
  if (header.host_status == kHostTimedOut || driver == kDriverTimedOut) return AtaOutcome::timedOut;
  if (header.host_status != 0 || (driver != 0 && driver != kDriverSense)) return AtaOutcome::failed;
  const bool checkCondition = header.status == kStatusCheckCondition;
  if (header.status != 0 && !checkCondition) return AtaOutcome::failed;
  if (checkCondition && !sense) return AtaOutcome::failed;
  if (sense && sense->key == kKeyIllegalRequest && sense->code == kInvalidCommand) {
    return AtaOutcome::refused;
  }
  const bool nothingSaid = !checkCondition && (!sense || sense->key <= kKeyRecovered);
  if (!nothingSaid && !tellsSuccess(*sense)) return AtaOutcome::failed;
  if (header.dxfer_direction == SG_DXFER_FROM_DEV && header.resid != 0) return AtaOutcome::failed;
  return AtaOutcome::success;
}

}  // namespace

std::array<std::uint8_t, 16> passThrough16(const AtaCommand& command) {
  std::array<std::uint8_t, 16> descriptor{};
  descriptor[0] = kPassThrough16;
  descriptor[1] = command.dataIn ? kProtocolDataIn : kProtocolNoData;
  if (command.dataIn) descriptor[2] = kOneBlockFromDevice;
  if (command.wantsRegisters) descriptor[2] = kCheckCondition;
  descriptor[4] = command.feature;
  descriptor[6] = command.count;
  descriptor[10] = command.lbaMid;
  descriptor[12] = command.lbaHigh;
  descriptor[14] = command.command;
  return descriptor;
}

std::array<std::uint8_t, 12> passThrough12(const AtaCommand& command) {
  const auto wide = passThrough16(command);
  return {kPassThrough12, wide[1],  wide[2], wide[4],  wide[6], 0,
          wide[10],       wide[12], 0,       wide[14], 0,       0};
}

AtaAnswer judgeAnswer(const sg_io_hdr& header, std::span<const std::uint8_t> sense) {
  const auto written = std::min<std::size_t>(header.sb_len_wr, sense.size());
  const auto parsed = parsedSense(sense.first(written));
  AtaAnswer answer{outcomeOf(header, parsed), {}};
  if (answer.outcome == AtaOutcome::success && parsed) answer.registers = parsed->registers;
  return answer;
}

int scsiIoctl(int descriptor, sg_io_hdr& header) {
  return ::ioctl(descriptor, SG_IO, &header) < 0 ? errno : 0;
}

AtaAnswer sendAtaCommand(const ScsiIoctl& ioctl, int descriptor, const AtaCommand& command,
                         DescriptorSize size, std::span<std::uint8_t, 512> data) {
  auto wide = passThrough16(command);
  auto narrow = passThrough12(command);
  std::array<std::uint8_t, kSenseBytes> sense{};
  sg_io_hdr header{};
  header.interface_id = 'S';
  const bool isWide = size == DescriptorSize::sixteen;
  header.cmdp = isWide ? wide.data() : narrow.data();
  header.cmd_len = static_cast<unsigned char>(isWide ? wide.size() : narrow.size());
  header.dxfer_direction = command.dataIn ? SG_DXFER_FROM_DEV : SG_DXFER_NONE;
  if (command.dataIn) {
    std::ranges::fill(data, std::uint8_t{0});
    header.dxferp = data.data();
    header.dxfer_len = data.size();
  }
  header.sbp = sense.data();
  header.mx_sb_len = sense.size();
  header.timeout = kTimeLimitMilliseconds;
  if (ioctl(descriptor, header) != 0) return {AtaOutcome::notSent, {}};
  return judgeAnswer(header, sense);
}

}  // namespace tarvel
