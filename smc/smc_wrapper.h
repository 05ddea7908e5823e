#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/apple_smc.h"
#include "smc/smc_key_data.h"
#include "smc/value_types.h"

// The one way to the System Management Controller: the connection, reading a key in two calls, and
// the value as text, number or fan name. Keys and types are four-character codes; a trailing blank
// belongs to the code. Nothing is cached and nothing throws. Main thread only.

namespace tarvel {

class SystemLog;

// One key as it was read. Whatever a failed read did not reach is zero.
struct SMCValue {
  std::array<char, 5> key{};
  std::uint32_t dataSize = 0;  // meaningful bytes; 0: the key has no value
  std::array<char, 5> dataType{};
  std::array<std::uint8_t, 32> bytes{};
};

class SMCWrapper {
 public:
  // Opens the connection. An instance without one is as good as any: its reads fail. The services
  // outlive the instance.
  SMCWrapper(AppleSMC& appleSMC, SystemLog& systemLog);
  ~SMCWrapper();
  SMCWrapper(const SMCWrapper&) = delete;
  SMCWrapper& operator=(const SMCWrapper&) = delete;

  bool SMCOpen();
  void SMCClose();

  // Kernel return codes; 0 is success.
  std::uint32_t SMCCallForKeyDataOutputKeyDataIn(std::uint32_t selector, const SMCKeyData& input,
                                                 SMCKeyData& output);
  std::uint32_t SMCReadKeyOutputValue(std::string_view key, SMCValue& value);

  // The value's text, "1200.00 ". Empty where the read fails (false), and where the value's type
  // is unknown or of another size (true).
  bool readKeyAsString(std::string_view key, std::string& text);

  // The number in that text; 0 where the read fails, none where the text is no number.
  bool readKeyIntoNumber(std::string_view key, std::optional<double>& number);

  // The name of fan 0 to 9 without blanks, "Fan 3" where it has none.
  std::string getFanName(std::int32_t index);

  // The keys that the controller holds, in the given order, repeats kept.
  std::vector<std::string_view> getSupportedTempValues(std::span<const std::string_view> keys);

  // The value's text, cut to fit; the buffer is not written when the type has none.
  static void getStringRepresentationForSizeOfTypeInBuffer(std::span<const std::uint8_t, 32> bytes,
                                                           std::uint32_t size,
                                                           std::string_view type, ValueText buffer);

 private:
  AppleSMC& appleSMC_;
  SystemLog& systemLog_;
  AppleSMC::Connection connection_ = 0;  // 0 until one is opened
};

// Owns the one wrapper that a process has. The application's delegate holds it, and every catalogue
// reaches the controller through it.
class SMCSession {
 public:
  SMCSession(AppleSMC& appleSMC, SystemLog& systemLog)
      : appleSMC_(appleSMC), systemLog_(systemLog) {}

  // The shared instance, made, and so connected, when it is first asked for.
  SMCWrapper& sharedWrapper();

 private:
  AppleSMC& appleSMC_;
  SystemLog& systemLog_;
  std::optional<SMCWrapper> shared_;
};

}  // namespace tarvel
