#include "platform/recorded/machine.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <utility>

#include "platform/recorded/json_reader.h"

namespace tarvel::recorded {
namespace {

constexpr std::array<std::string_view, 10> kOperations = {
    "plugin",       "interface", "identify", "enableOperations", "enableAutosave",
    "returnStatus", "readData",  "validate", "disableAutosave",  "disableOperations"};
constexpr std::array<std::string_view, 3> kCommands = {"cpu", "mem", "power"};
constexpr std::size_t kValueBytes = 32;

Data bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

// Reads one object member by member: fields(name, value, place) answers whether it knows the name.
template <typename Fields>
void readMembers(const Json& value, const std::string& place, Fields fields) {
  for (const auto& [name, member] : readObject(value, place).items()) {
    if (!fields(name, member, at(place, name))) throw Misfit(at(place, name), "unknown member");
  }
}

SMCKey readSMCKey(const Json& value, const std::string& place) {
  SMCKey key;
  std::optional<std::uint32_t> size;
  readMembers(value, place, [&](const std::string& name, const Json& member, const auto& where) {
    if (name == "type") {
      key.type = readFourCharacters(readText(member, where), true, where);
    } else if (name == "size") {
      size = readCode(member, where);
    } else if (name == "bytes") {
      key.bytes = bytesOf(readHex(member, where));
    } else if (name == "infoError") {
      key.infoError = readCode(member, where);
    } else if (name == "readError") {
      key.readError = readCode(member, where);
    } else {
      return false;
    }
    return true;
  });
  key.size = size.value_or(static_cast<std::uint32_t>(key.bytes.size()));
  if (key.bytes.size() > kValueBytes) key.bytes.resize(kValueBytes);
  return key;
}

SMC readSMC(const Json& value, const std::string& place) {
  SMC smc;
  readMembers(value, place, [&](const std::string& name, const Json& member, const auto& where) {
    if (name == "matchError") {
      smc.matchError = readCode(member, where);
    } else if (name == "openError") {
      smc.openError = readCode(member, where);
    } else if (name == "missingKeyError") {
      smc.missingKeyError = readCode(member, where);
    } else if (name == "keys") {
      for (const auto& [key, entry] : readObject(member, where).items()) {
        const auto code = readFourCharacters(key, false, at(where, key));
        smc.keys[code] = readSMCKey(entry, at(where, key));
      }
    } else {
      return false;
    }
    return true;
  });
  return smc;
}

std::vector<std::string> readTexts(const Json& value, const std::string& place) {
  std::vector<std::string> texts;
  for (const auto& element : readArray(value, place)) {
    texts.push_back(readText(element, at(place, texts.size())));
  }
  return texts;
}

std::vector<std::string> readOperations(const Json& value, const std::string& place) {
  auto operations = readTexts(value, place);
  for (std::size_t i = 0; i < operations.size(); ++i) {
    if (std::find(kOperations.begin(), kOperations.end(), operations[i]) == kOperations.end()) {
      throw Misfit(at(place, i), "unknown operation");
    }
  }
  return operations;
}

Disk readDisk(const Json& value, const std::string& place) {
  Disk disk;
  readMembers(value, place, [&](const std::string& name, const Json& member, const auto& where) {
    if (name == "smartCapable") {
      disk.smartCapable = readFlag(member, where);
    } else if (name == "ataBlockStorage") {
      disk.ataBlockStorage = readFlag(member, where);
    } else if (name == "identify") {
      disk.identify = bytesOf(readHex(member, where));
    } else if (name == "smart") {
      disk.smart = bytesOf(readHex(member, where));
    } else if (name == "fail") {
      disk.fail = readOperations(member, where);
    } else {
      return false;
    }
    return true;
  });
  return disk;
}

std::map<std::string, std::string> readCommands(const Json& value, const std::string& place) {
  std::map<std::string, std::string> commands;
  readMembers(value, place, [&](const std::string& name, const Json& member, const auto& where) {
    if (std::find(kCommands.begin(), kCommands.end(), name) == kCommands.end()) return false;
    if (!member.is_object()) {
      commands[name] = readText(member, where);
      return true;
    }
    if (member.size() != 1 || !member.contains("base64")) throw Misfit(where, "not one base64");
    commands[name] = readBase64(member["base64"], at(where, "base64"));
    return true;
  });
  return commands;
}

// The path of a PNG file beside the machine file.
std::string readPicture(const Json& value, const std::filesystem::path& folder,
                        const std::string& place) {
  const auto path = folder / readText(value, place);
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) throw Misfit(place, "no such file");
  return path.string();
}

IconFile readIconFile(const Json& value, const std::filesystem::path& folder,
                      const std::string& place) {
  IconFile icon;
  readMembers(value, place, [&](const std::string& name, const Json& member, const auto& where) {
    if (name == "width") {
      icon.width = readPoints(member, where);
    } else if (name == "height") {
      icon.height = readPoints(member, where);
    } else if (name == "file") {
      icon.file = readPicture(member, folder, where);
    } else {
      return false;
    }
    return true;
  });
  if (icon.file.empty()) throw Misfit(at(place, "file"), "missing");
  return icon;
}

Application readApplication(const Json& value, const std::filesystem::path& folder,
                            const std::string& place) {
  Application application;
  readMembers(value, place, [&](const std::string& name, const Json& member, const auto& where) {
    if (name == "pid") {
      application.pid = static_cast<std::int32_t>(readWhole(member, INT32_MIN, INT32_MAX, where));
    } else if (name == "bundlePath") {
      application.bundlePath = readText(member, where);
    } else if (name == "bundleIdentifier") {
      application.bundleIdentifier = readText(member, where);
    } else if (name == "icon") {
      for (const auto& icon : readArray(member, where)) {
        const auto index = application.icon.size();
        application.icon.push_back(readIconFile(icon, folder, at(where, index)));
      }
    } else if (name == "wholeIcon") {
      application.wholeIcon = readPicture(member, folder, where);
    } else {
      return false;
    }
    return true;
  });
  return application;
}

template <typename Element, typename Read>
std::vector<Element> readList(const Json& value, const std::string& place, Read read) {
  std::vector<Element> list;
  for (const auto& element : readArray(value, place)) {
    list.push_back(read(element, at(place, list.size())));
  }
  return list;
}

// Lays one member over the machine; null takes it away. False where the name is not known.
bool layMember(Machine& machine, const std::string& name, const Json& value,
               const std::filesystem::path& folder, const std::string& place) {
  const Machine absent;
  const bool given = !value.is_null();
  if (name == "running") {
    machine.running = given ? readTexts(value, place) : absent.running;
  } else if (name == "smc") {
    machine.smc = given ? std::optional(readSMC(value, place)) : absent.smc;
  } else if (name == "disks") {
    machine.disks = given ? readList<Disk>(value, place, readDisk) : absent.disks;
  } else if (name == "commands") {
    machine.commands = given ? readCommands(value, place) : absent.commands;
  } else if (name == "applications") {
    const auto read = [&](const Json& element, const std::string& where) {
      return readApplication(element, folder, where);
    };
    machine.applications = given ? readList<Application>(value, place, read) : absent.applications;
  } else if (name == "authorization") {
    machine.authorization =
        given ? static_cast<std::int32_t>(readWhole(value, INT32_MIN, UINT32_MAX, place))
              : absent.authorization;
  } else {
    return false;
  }
  return true;
}

Recording readFrames(const Json& root, const std::filesystem::path& folder) {
  Recording machines(1);
  const Json noFrames = Json::array();
  const Json* frames = &noFrames;
  readMembers(root, "", [&](const std::string& name, const Json& value, const auto& where) {
    if (name == "format") {
      if (readWhole(value, 0, INT32_MAX, where) != 1) throw Misfit(where, "not 1");
      return true;
    }
    if (name == "frames") {
      frames = &readArray(value, where);
      return true;
    }
    if (value.is_null()) throw Misfit(where, "null stands in frames only");
    return layMember(machines.front(), name, value, folder, where);
  });
  for (const auto& frame : *frames) {
    const std::string place = at("frames", machines.size() - 1);
    machines.push_back(machines.back());
    readMembers(frame, place, [&](const std::string& name, const Json& value, const auto& where) {
      return layMember(machines.back(), name, value, folder, where);
    });
  }
  return machines;
}

}  // namespace

bool Disk::fails(std::string_view operation) const {
  return std::find(fail.begin(), fail.end(), operation) != fail.end();
}

std::variant<Recording, std::string> readRecording(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return "cannot be read";
  try {
    return readFrames(Json::parse(file), std::filesystem::path(path).parent_path());
  } catch (const Misfit& misfit) {
    return misfit.what();
  } catch (const Json::parse_error& error) {
    return "not JSON at byte " + std::to_string(error.byte);
  } catch (const Json::exception& error) {  // a number that no type holds
    return std::string("not JSON: ") + error.what();
  } catch (const std::ios_base::failure&) {  // a folder
    return "cannot be read";
  }
}

}  // namespace tarvel::recorded
