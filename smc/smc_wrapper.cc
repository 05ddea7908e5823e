#include "smc/smc_wrapper.h"

#include <algorithm>
#include <cstdio>

#include "platform/system_log.h"
#include "smc/key_codes.h"
#include "text/conversions.h"

namespace tarvel {
namespace {

constexpr std::uint32_t kUserClientSelector = 2;
constexpr std::uint32_t kConnectionType = 0;

// A diagnostic is of use only to a reader who sees it at once.
bool failOpening(const char* call, std::uint32_t code) {
  std::printf("Error: %s() = %08x\n", call, static_cast<unsigned>(code));
  std::fflush(stdout);
  return false;
}

std::uint32_t codeOfKey(std::string_view key) {
  std::array<std::uint8_t, 4> characters{};
  for (std::size_t i = 0; i < characters.size() && i < key.size(); ++i) {
    characters[i] = static_cast<std::uint8_t>(key[i]);
  }
  return _strtoulForSizeInBase(characters, 4, 16);
}

}  // namespace

SMCWrapper& SMCSession::sharedWrapper() {
  if (!shared_) shared_.emplace(appleSMC_, systemLog_);
  return *shared_;
}

SMCWrapper::SMCWrapper(AppleSMC& appleSMC, SystemLog& systemLog)
    : appleSMC_(appleSMC), systemLog_(systemLog) {
  if (!SMCOpen()) systemLog_.NSLog("Unable to open SMC.");
}

SMCWrapper::~SMCWrapper() { SMCClose(); }

bool SMCWrapper::SMCOpen() {
  const auto match = appleSMC_.IOServiceGetMatchingServices("AppleSMC");
  if (match.code != 0) return failOpening("IOServiceGetMatchingServices", match.code);
  if (match.first == 0) {
    std::puts("Error: no SMC found");
    std::fflush(stdout);
    return false;
  }
  const auto code = appleSMC_.IOServiceOpen(match.first, kConnectionType, connection_);
  return code == 0 || failOpening("IOServiceOpen", code);
}

void SMCWrapper::SMCClose() { appleSMC_.IOServiceClose(connection_); }

std::uint32_t SMCWrapper::SMCCallForKeyDataOutputKeyDataIn(std::uint32_t selector,
                                                           const SMCKeyData& input,
                                                           SMCKeyData& output) {
  SMCRecordBytes answer = encode(output);
  const auto code =
      appleSMC_.IOConnectCallStructMethod(connection_, selector, encode(input), answer);
  output = decode(answer);
  return code;
}

std::uint32_t SMCWrapper::SMCReadKeyOutputValue(std::string_view key, SMCValue& value) {
  SMCKeyData input;
  SMCKeyData output;
  value = {};
  input.key = codeOfKey(key);
  input.command = SMCCommand::readKeyInfo;
  if (const auto code = SMCCallForKeyDataOutputKeyDataIn(kUserClientSelector, input, output)) {
    return code;
  }
  value.dataSize = output.keyInfo.dataSize;
  _ultostrForValue(value.dataType, output.keyInfo.dataType);
  input.keyInfo.dataSize = value.dataSize;
  input.command = SMCCommand::readBytes;
  if (const auto code = SMCCallForKeyDataOutputKeyDataIn(kUserClientSelector, input, output)) {
    return code;
  }
  value.bytes = output.bytes;
  return 0;
}

bool SMCWrapper::readKeyAsString(std::string_view key, std::string& text) {
  text.clear();
  SMCValue value;
  if (SMCReadKeyOutputValue(key, value) != 0) return false;
  std::array<char, kValueTextSize> buffer{};
  getStringRepresentationForSizeOfTypeInBuffer(value.bytes, value.dataSize, value.dataType.data(),
                                               buffer);
  text = buffer.data();
  return true;
}

bool SMCWrapper::readKeyIntoNumber(std::string_view key, std::optional<double>& number) {
  std::string text;
  if (!readKeyAsString(key, text)) {
    number = 0;
    return false;
  }
  number = numberFromText(text);
  return true;
}

std::string SMCWrapper::getFanName(std::int32_t index) {
  SMCValue value;
  SMCReadKeyOutputValue(std::string("F").append(std::to_string(index)).append("ID"), value);
  const auto size = std::min<std::size_t>(value.dataSize, value.bytes.size());
  std::string name;
  for (const std::uint8_t byte : std::span(value.bytes).first(size)) {
    if (static_cast<std::int8_t>(byte) >= 33) name.push_back(static_cast<char>(byte));
  }
  return name.empty() ? "Fan " + std::to_string(index) : name;
}

std::vector<std::string_view> SMCWrapper::getSupportedTempValues(
    std::span<const std::string_view> keys) {
  std::vector<std::string_view> supported;
  for (const std::string_view key : keys) {
    SMCValue value;
    if (SMCReadKeyOutputValue(key, value) == 0 && value.dataSize != 0) supported.push_back(key);
  }
  return supported;
}

void SMCWrapper::getStringRepresentationForSizeOfTypeInBuffer(
    std::span<const std::uint8_t, 32> bytes, std::uint32_t size, std::string_view type,
    ValueText buffer) {
  decodeValue(bytes, size, type, buffer);
}

}  // namespace tarvel
