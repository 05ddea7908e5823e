#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/apple_smc.h"

// A controller in memory that writes down what it is asked. It works on the bytes of the record by
// their offsets, so that the product's own layout is held against another one.

namespace tarvel {

struct FakeKey {
  std::string type;
  std::uint32_t size = 0;
  std::vector<std::uint8_t> bytes;
  std::uint32_t infoError = 0;
  std::uint32_t readError = 0;
  int goodReads = 1'000'000;  // whole reads that it answers before it fails altogether
};

class FakeSMC : public AppleSMC {
 public:
  Match IOServiceGetMatchingServices(std::string_view className) override {
    calls.push_back("match " + std::string(className));
    return match;
  }
  std::uint32_t IOServiceOpen(Service service, std::uint32_t type,
                              Connection& connection) override {
    calls.push_back("open " + std::to_string(service) + " " + std::to_string(type));
    if (openError == 0) connection = 7;
    return openError;
  }
  std::uint32_t IOConnectCallStructMethod(Connection connection, std::uint32_t selector,
                                          const SMCRecordBytes& input,
                                          SMCRecordBytes& output) override {
    requests.push_back(input);
    selectors.push_back(selector);
    if (connection != 7) return kIOReturnNotOpen;
    const std::string name{static_cast<char>(input[3]), static_cast<char>(input[2]),
                           static_cast<char>(input[1]), static_cast<char>(input[0])};
    output = {};
    const auto found = keys.find(name);
    if (found == keys.end()) return missingKeyError;
    return input[42] == 9 ? answerInfo(found->second, output) : answerBytes(found->second, output);
  }
  void IOServiceClose(Connection connection) override {
    calls.push_back("close " + std::to_string(connection));
  }

  Match match{0, 5};
  std::uint32_t openError = 0;
  std::uint32_t missingKeyError = 0;
  std::map<std::string, FakeKey> keys;
  std::vector<std::string> calls;
  std::vector<std::uint32_t> selectors;
  std::vector<SMCRecordBytes> requests;

 private:
  static std::uint32_t answerInfo(FakeKey& key, SMCRecordBytes& output) {
    if (key.infoError != 0) return key.infoError;
    if (key.goodReads-- <= 0) return 0xE00002C0;
    std::memcpy(&output[28], &key.size, sizeof key.size);
    for (std::size_t i = 0; i < 4 && i < key.type.size(); ++i) {
      output[35 - i] = static_cast<std::uint8_t>(key.type[i]);
    }
    return 0;
  }
  static std::uint32_t answerBytes(const FakeKey& key, SMCRecordBytes& output) {
    if (key.readError != 0) return key.readError;
    std::copy_n(key.bytes.begin(), std::min<std::size_t>(key.bytes.size(), 32), &output[48]);
    return 0;
  }
};

}  // namespace tarvel
