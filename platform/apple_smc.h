#pragma once

#include <array>
#include <cstdint>
#include <string_view>

// IOKit as far as the System Management Controller needs it. Codes are kernel return codes, 0 for
// success. Main thread only.

namespace tarvel {

// The request and answer record of the AppleSMC user client, as it crosses to the kernel.
using SMCRecordBytes = std::array<std::uint8_t, 80>;

inline constexpr std::uint32_t kIOReturnNotOpen = 0xE00002CD;

class AppleSMC {
 public:
  using Service = std::uint32_t;     // 0: none
  using Connection = std::uint32_t;  // 0: not open

  struct Match {
    std::uint32_t code = 0;
    Service first = 0;  // the first service found, 0 when there is none
  };

  virtual ~AppleSMC() = default;

  virtual Match IOServiceGetMatchingServices(std::string_view className) = 0;
  virtual std::uint32_t IOServiceOpen(Service service, std::uint32_t type,
                                      Connection& connection) = 0;
  virtual std::uint32_t IOConnectCallStructMethod(Connection connection, std::uint32_t selector,
                                                  const SMCRecordBytes& input,
                                                  SMCRecordBytes& output) = 0;
  virtual void IOServiceClose(Connection connection) = 0;
};

}  // namespace tarvel
