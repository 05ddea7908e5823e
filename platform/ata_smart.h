#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

// IOKit as far as the S.M.A.R.T. data of disks needs it: service matching and the ATA S.M.A.R.T.
// plug-in. Codes are IOKit's, 0 for success. Main thread only.

namespace tarvel {

using AtaBlock = std::array<std::uint8_t, 512>;

// The ATA S.M.A.R.T. interface of one disk. Destroying it is its Release.
class AtaSmartInterface {
 public:
  virtual ~AtaSmartInterface() = default;

  virtual std::uint32_t GetATAIdentifyData(AtaBlock& block) = 0;
  virtual std::uint32_t SMARTEnableDisableOperations(bool enable) = 0;
  virtual std::uint32_t SMARTEnableDisableAutosave(bool enable) = 0;
  virtual std::uint32_t SMARTReturnStatus(bool& thresholdExceeded) = 0;
  virtual std::uint32_t SMARTReadData(AtaBlock& block) = 0;
  virtual std::uint32_t SMARTValidateReadData(const AtaBlock& block) = 0;
};

// The plug-in of one disk service. Destroying it is IODestroyPlugInInterface; an interface that it
// gave is destroyed before it.
class AtaSmartPlugIn {
 public:
  virtual ~AtaSmartPlugIn() = default;

  virtual std::unique_ptr<AtaSmartInterface> QueryInterface() = 0;  // null on failure
};

class AtaSmart {
 public:
  using Service = std::uint32_t;

  virtual ~AtaSmart() = default;

  // The services whose property of this name is true, and those of this class. A matching call
  // that fails finds none.
  virtual std::vector<Service> servicesMatchingProperty(std::string_view property) = 0;
  virtual std::vector<Service> servicesMatchingClass(std::string_view className) = 0;

  // Opens the service's plug-in; null on failure.
  virtual std::unique_ptr<AtaSmartPlugIn> IOCreatePlugInInterfaceForService(Service service) = 0;
};

}  // namespace tarvel
