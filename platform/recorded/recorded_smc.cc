#include "platform/recorded/recorded_smc.h"

#include <algorithm>

#include "platform/host/smc_record.h"

namespace tarvel::recorded {
namespace {

constexpr AppleSMC::Service kService = 1;
constexpr AppleSMC::Connection kConnection = 1;
constexpr std::uint32_t kUnsupported = 0xE00002C7;

std::uint32_t answer(const SMCKey& key, std::uint8_t command, SMCRecordBytes& output) {
  if (command == smc_record::kReadKeyInfo) {
    if (key.infoError != 0) return key.infoError;
    smc_record::putNumber(output, smc_record::kDataSizeAt, key.size);
    smc_record::putNumber(output, smc_record::kDataTypeAt, key.type);
    return 0;
  }
  if (command != smc_record::kReadBytes) return kUnsupported;
  if (key.readError != 0) return key.readError;
  std::copy(key.bytes.begin(), key.bytes.end(), output.begin() + smc_record::kBytesAt);
  return 0;
}

class RecordedSMC : public AppleSMC {
 public:
  explicit RecordedSMC(Playback& playback) : playback_(playback) {}

  Match IOServiceGetMatchingServices(std::string_view className) override {
    const auto& smc = playback_.machine().smc;
    Match match;
    match.code = smc ? smc->matchError : 0;
    match.first = smc && match.code == 0 ? kService : 0;
    playback_.trace("IOServiceGetMatchingServices", {{"class", className}}, match.code);
    return match;
  }

  std::uint32_t IOServiceOpen(Service service, std::uint32_t, Connection& connection) override {
    const auto& smc = playback_.machine().smc;
    const std::uint32_t status = smc && service == kService ? smc->openError : kIOReturnNotOpen;
    if (status == 0) connection = kConnection;
    playback_.trace("IOServiceOpen", Playback::Arguments::object(), status);
    return status;
  }

  std::uint32_t IOConnectCallStructMethod(Connection connection, std::uint32_t selector,
                                          const SMCRecordBytes& input,
                                          SMCRecordBytes& output) override {
    output.fill(0);
    const std::uint32_t status = call(connection, input, output);
    playback_.trace("IOConnectCallStructMethod",
                    {{"selector", selector},
                     {"command", input[smc_record::kCommandAt]},
                     {"key", smc_record::codeText(smc_record::numberAt(input, smc_record::kKeyAt))},
                     {"size", smc_record::numberAt(input, smc_record::kDataSizeAt)}},
                    status);
    return status;
  }

  void IOServiceClose(Connection) override {}

 private:
  std::uint32_t call(Connection connection, const SMCRecordBytes& input,
                     SMCRecordBytes& output) const {
    const auto& smc = playback_.machine().smc;
    if (connection != kConnection || !smc) return kIOReturnNotOpen;
    const auto key = smc->keys.find(smc_record::numberAt(input, smc_record::kKeyAt));
    if (key == smc->keys.end()) return smc->missingKeyError;
    return answer(key->second, input[smc_record::kCommandAt], output);
  }

  Playback& playback_;
};

}  // namespace

std::unique_ptr<AppleSMC> makeRecordedSMC(Playback& playback) {
  return std::make_unique<RecordedSMC>(playback);
}

}  // namespace tarvel::recorded
