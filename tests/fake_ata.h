#pragma once

#include <cstdint>
#include <memory>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/ata_smart.h"

// Disks in memory: their blocks, which operation fails, and a record of every operation.

namespace tarvel {

inline AtaBlock signedBlock(AtaBlock block) {
  block[511] = 0;
  block[511] = static_cast<std::uint8_t>(-std::accumulate(block.begin(), block.end(), 0));
  return block;
}

inline AtaBlock identifyBlock(std::string_view model) {
  AtaBlock block{};
  for (std::size_t i = 0; i < 40; ++i) {
    block[54 + (i ^ 1)] = static_cast<std::uint8_t>(i < model.size() ? model[i] : ' ');
  }
  block[164] = 1;
  block[510] = 0xA5;
  return signedBlock(block);
}

inline AtaBlock temperatureBlock(std::uint8_t celsius) {
  AtaBlock block{};
  block[2] = 9;
  block[14] = 194;
  block[19] = celsius;
  return signedBlock(block);
}

struct FakeDisk {
  FakeDisk(std::string_view model, std::uint8_t celsius)
      : identify(identifyBlock(model)), smart(temperatureBlock(celsius)) {}

  bool smartCapable = true;
  AtaBlock identify;
  AtaBlock smart;
  std::string failing;  // the operation that does not succeed
};

class FakeAta : public AtaSmart {
 public:
  std::vector<Service> servicesMatchingProperty(std::string_view property) override {
    calls.emplace_back(property);
    return services(true);
  }
  std::vector<Service> servicesMatchingClass(std::string_view className) override {
    calls.emplace_back(className);
    return services(false);
  }
  std::unique_ptr<AtaSmartPlugIn> IOCreatePlugInInterfaceForService(Service service) override {
    if (failed(service, "plugin")) return nullptr;
    return std::make_unique<PlugIn>(*this, service);
  }

  std::vector<FakeDisk> disks;
  std::vector<std::string> calls;

 private:
  std::vector<Service> services(bool capableOnly) const {
    std::vector<Service> list;
    for (Service i = 0; i < disks.size(); ++i) {
      if (disks[i].smartCapable || !capableOnly) list.push_back(i);
    }
    return list;
  }
  std::uint32_t failed(Service service, const std::string& operation) {
    calls.push_back(operation);
    return disks[service].failing == operation ? 0xE00002BC : 0;
  }

  struct Interface : AtaSmartInterface {
    Interface(FakeAta& fake, Service service) : ata(fake), disk(service) {}
    ~Interface() override { ata.calls.emplace_back("release"); }
    std::uint32_t GetATAIdentifyData(AtaBlock& block) override {
      block = ata.disks[disk].identify;
      return ata.failed(disk, "identify");
    }
    std::uint32_t SMARTEnableDisableOperations(bool enable) override {
      return ata.failed(disk, enable ? "enable" : "disable");
    }
    std::uint32_t SMARTEnableDisableAutosave(bool enable) override {
      return ata.failed(disk, enable ? "autosave" : "no autosave");
    }
    std::uint32_t SMARTReturnStatus(bool& exceeded) override {
      exceeded = true;
      return ata.failed(disk, "status");
    }
    std::uint32_t SMARTReadData(AtaBlock& block) override {
      block = ata.disks[disk].smart;
      return ata.failed(disk, "read");
    }
    std::uint32_t SMARTValidateReadData(const AtaBlock&) override {
      return ata.failed(disk, "validate");
    }
    FakeAta& ata;
    Service disk;
  };

  struct PlugIn : AtaSmartPlugIn {
    PlugIn(FakeAta& fake, Service service) : ata(fake), disk(service) {}
    ~PlugIn() override { ata.calls.emplace_back("destroy"); }
    std::unique_ptr<AtaSmartInterface> QueryInterface() override {
      if (ata.failed(disk, "interface")) return nullptr;
      return std::make_unique<Interface>(ata, disk);
    }
    FakeAta& ata;
    Service disk;
  };
};

}  // namespace tarvel
