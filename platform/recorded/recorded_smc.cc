#include "platform/recorded/recorded_smc.h"

#include <algorithm>
#include <string>

namespace tarvel::recorded {
namespace {

constexpr AppleSMC::Service kService = 1;
constexpr AppleSMC::Connection kConnection = 1;
constexpr std::uint8_t kReadKeyInfo = 9;
constexpr std::uint8_t kReadBytes = 5;
constexpr std::uint32_t kUnsupported = 0xE00002C7;

// Offsets in the 80-byte record, multi-byte fields little-endian.
constexpr std::size_t kKeyOffset = 0;
constexpr std::size_t kDataSizeOffset = 28;
constexpr std::size_t kDataTypeOffset = 32;
constexpr std::size_t kCommandOffset = 42;
constexpr std::size_t kBytesOffset = 48;

std::uint32_t numberAt(const SMCRecordBytes& record, std::size_t offset) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | record[offset + i];
  return number;
}

void putNumber(SMCRecordBytes& record, std::size_t offset, std::uint32_t number) {
  for (std::size_t i = 0; i < 4; ++i) {
    record[offset + i] = static_cast<std::uint8_t>(number >> (8 * i));
  }
}

std::string keyText(std::uint32_t key) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) text.push_back(static_cast<char>(key >> shift));
  return text;
}

std::uint32_t answer(const SMCKey& key, std::uint8_t command, SMCRecordBytes& output) {
  if (command == kReadKeyInfo) {
    if (key.infoError != 0) return key.infoError;
    putNumber(output, kDataSizeOffset, key.size);
    putNumber(output, kDataTypeOffset, key.type);
    return 0;
  }
  if (command != kReadBytes) return kUnsupported;
  if (key.readError != 0) return key.readError;
  std::copy(key.bytes.begin(), key.bytes.end(), output.begin() + kBytesOffset);
  return 0;
}

class RecordedSMC : public AppleSMC {
 public:
  explicit RecordedSMC(Playback& where) : playback(where) {}

  Match IOServiceGetMatchingServices(std::string_view className) override {
    const auto& smc = playback.machine().smc;
    Match match;
    match.code = smc ? smc->matchError : 0;
    match.first = smc && match.code == 0 ? kService : 0;
    playback.trace("IOServiceGetMatchingServices", {{"class", className}}, match.code);
    return match;
  }

  std::uint32_t IOServiceOpen(Service service, std::uint32_t, Connection& connection) override {
    const auto& smc = playback.machine().smc;
    const std::uint32_t status = smc && service == kService ? smc->openError : kIOReturnNotOpen;
    if (status == 0) connection = kConnection;
    playback.trace("IOServiceOpen", Playback::Arguments::object(), status);
    return status;
  }

  std::uint32_t IOConnectCallStructMethod(Connection connection, std::uint32_t selector,
                                          const SMCRecordBytes& input,
                                          SMCRecordBytes& output) override {
    output.fill(0);
    const std::uint32_t status = call(connection, input, output);
    playback.trace("IOConnectCallStructMethod",
                   {{"selector", selector},
                    {"command", input[kCommandOffset]},
                    {"key", keyText(numberAt(input, kKeyOffset))},
                    {"size", numberAt(input, kDataSizeOffset)}},
                   status);
    return status;
  }

  void IOServiceClose(Connection) override {}

 private:
  std::uint32_t call(Connection connection, const SMCRecordBytes& input,
                     SMCRecordBytes& output) const {
    const auto& smc = playback.machine().smc;
    if (connection != kConnection || !smc) return kIOReturnNotOpen;
    const auto key = smc->keys.find(numberAt(input, kKeyOffset));
    if (key == smc->keys.end()) return smc->missingKeyError;
    return answer(key->second, input[kCommandOffset], output);
  }

  Playback& playback;
};

}  // namespace

std::unique_ptr<AppleSMC> makeRecordedSMC(Playback& playback) {
  return std::make_unique<RecordedSMC>(playback);
}

}  // namespace tarvel::recorded
