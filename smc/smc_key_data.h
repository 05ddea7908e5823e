#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "platform/apple_smc.h"

// The request and answer record of the AppleSMC user client, byte for byte as the kernel service
// reads and writes it: 80 bytes, little-endian, gaps spelled out so that a new record is all zero.

namespace tarvel {

enum class SMCCommand : std::uint8_t {
  readBytes = 5,
  readKeyInfo = 9,
};

struct SMCKeyData {
  struct Version {
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint8_t build = 0;
    std::uint8_t reserved = 0;
    std::uint16_t release = 0;
  };
  struct Limits {
    std::uint16_t version = 0;
    std::uint16_t length = 0;
    std::uint32_t cpuLimit = 0;
    std::uint32_t gpuLimit = 0;
    std::uint32_t memoryLimit = 0;
  };
  struct KeyInfo {
    std::uint32_t dataSize = 0;  // bytes of the value: answered to readKeyInfo, asked by readBytes
    std::uint32_t dataType = 0;  // four-character code
    std::uint8_t dataAttributes = 0;
    std::array<std::uint8_t, 3> alignment{};
  };

  std::uint32_t key = 0;  // four-character code
  Version version;
  std::uint16_t versionAlignment = 0;
  Limits limits;
  KeyInfo keyInfo;
  std::uint8_t result = 0;  // the controller's own code
  std::uint8_t status = 0;
  SMCCommand command{};
  std::uint8_t commandAlignment = 0;
  std::uint32_t data32 = 0;
  std::array<std::uint8_t, 32> bytes{};  // the value as the controller stores it
};

static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(SMCKeyData) == sizeof(SMCRecordBytes));
static_assert(std::has_unique_object_representations_v<SMCKeyData>);
static_assert(offsetof(SMCKeyData, key) == 0);
static_assert(offsetof(SMCKeyData, version) == 4);
static_assert(offsetof(SMCKeyData, version.release) == 8);
static_assert(offsetof(SMCKeyData, limits) == 12);
static_assert(offsetof(SMCKeyData, limits.cpuLimit) == 16);
static_assert(offsetof(SMCKeyData, keyInfo.dataSize) == 28);
static_assert(offsetof(SMCKeyData, keyInfo.dataType) == 32);
static_assert(offsetof(SMCKeyData, keyInfo.dataAttributes) == 36);
static_assert(offsetof(SMCKeyData, result) == 40);
static_assert(offsetof(SMCKeyData, status) == 41);
static_assert(offsetof(SMCKeyData, command) == 42);
static_assert(offsetof(SMCKeyData, data32) == 44);
static_assert(offsetof(SMCKeyData, bytes) == 48);

constexpr SMCRecordBytes encode(const SMCKeyData& record) {
  return std::bit_cast<SMCRecordBytes>(record);
}

constexpr SMCKeyData decode(const SMCRecordBytes& bytes) {
  return std::bit_cast<SMCKeyData>(bytes);
}

}  // namespace tarvel
