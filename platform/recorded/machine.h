#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/property_list.h"

// A recorded machine: what every service of one machine answers, cycle by cycle, read from a JSON
// file. Codes are status codes as the services return them, 0 for success.

namespace tarvel::recorded {

struct SMCKey {
  std::uint32_t type = 0;  // the four characters as a number, the first the most significant byte
  std::uint32_t size = 0;
  Data bytes;  // at most 32
  std::uint32_t infoError = 0;
  std::uint32_t readError = 0;
};

struct SMC {
  std::uint32_t matchError = 0;
  std::uint32_t openError = 0;
  std::uint32_t missingKeyError = 0;
  std::map<std::uint32_t, SMCKey> keys;  // by the key's four characters as a number
};

struct Disk {
  bool smartCapable = true;
  bool ataBlockStorage = true;
  Data identify;  // absent where not 512 bytes long
  Data smart;
  std::vector<std::string> fail;  // the operations that fail

  bool fails(std::string_view operation) const;
};

struct IconFile {
  double width = 0;  // points
  double height = 0;
  std::string file;  // path of a PNG file
};

struct Application {
  std::optional<std::int32_t> pid;
  std::optional<std::string> bundlePath;
  std::optional<std::string> bundleIdentifier;
  std::vector<IconFile> icon;
  std::string wholeIcon;  // path of a PNG file; empty: none
};

struct Machine {
  std::vector<std::string> running;
  std::optional<SMC> smc;
  std::vector<Disk> disks;
  std::map<std::string, std::string> commands;  // output by the sampler's sort key
  std::vector<Application> applications;
  std::int32_t authorization = 0;
};

// One machine for each cycle, the first for start-up and cycle 1; the last one stays.
using Recording = std::vector<Machine>;

// Reads the file; else the place and the reason why it does not fit the format, in one line.
std::variant<Recording, std::string> readRecording(const std::string& path);

}  // namespace tarvel::recorded
