#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "app/app_delegate.h"
#include "platform/host/container/group_container.h"
#include "platform/host/property_lists/keyed_archive.h"
#include "platform/host/standard_error_log.h"
#include "platform/host/store/defaults_store.h"
#include "platform/recorded/machine.h"
#include "platform/recorded/recorded_platform.h"
#include "product/identifiers.h"
#include "tests/temporary_home.h"

namespace tarvel {

// The whole helper over recorded machines, with a group container of its own for each test.
class ReplayTest : public testing::Test {
 protected:
  using Json = nlohmann::json;

  ReplayTest() { reset(); }

  void reset() {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
  }

  // Runs the helper over the machine and returns the trace.
  std::vector<Json> replay(const Json& machine, std::size_t cycles = 1, bool abandon = false) {
    const auto file = folder / "machine.json";
    std::ofstream(file) << machine.dump();
    auto recording = recorded::readRecording(file);
    if (const auto* misfit = std::get_if<std::string>(&recording)) {
      ADD_FAILURE() << *misfit;
      return {};
    }
    const auto trace = folder / "trace";
    {
      recorded::RecordedPlatform platform(std::get<recorded::Recording>(recording));
      platform.openTrace(trace);
      AppDelegate delegate(platform.platform());
      platform.run(delegate, cycles, abandon);
    }
    std::vector<Json> lines;
    std::ifstream stream(trace);
    for (std::string line; std::getline(stream, line);) lines.push_back(Json::parse(line));
    return lines;
  }

  // The calls of the trace with these names, each as "name argument": its key, operation or the
  // like, which tells one call from another.
  static std::vector<std::string> calls(const std::vector<Json>& trace,
                                        const std::vector<std::string>& names) {
    std::vector<std::string> found;
    for (const auto& line : trace) {
      const std::string call = line["call"];
      if (std::find(names.begin(), names.end(), call) == names.end()) continue;
      std::string text = call;
      for (const char* argument : {"key", "operation", "identifier", "command"}) {
        if (!line.contains(argument)) continue;
        const Json& value = line[argument];
        text += " " + (value.is_string() ? value.get<std::string>() : value.dump());
      }
      found.push_back(text);
    }
    return found;
  }

  std::optional<PropertyList> stored(std::string_view key) {
    return DefaultsStore(kSuiteName, *log).get(key);
  }

  std::optional<PropertyList> storedArray(std::string_view key) {
    const auto value = stored(key);
    return value && value->as<Data>() ? unarchivedObject(*value->as<Data>()) : std::nullopt;
  }

  void store(std::string_view key, const PropertyList& value) {
    ASSERT_TRUE(DefaultsStore(kSuiteName, *log).set(key, value));
  }

  void storeArray(std::string_view key, const Array& records) {
    store(key, makeKeyedArchiver()->archivedDataWithRootObject(records));
  }

  std::string icons() { return *groupContainer(kSuiteName) + std::string(kIconDirectory); }

  const TemporaryHome home;
  const std::filesystem::path folder = home.path() / "replay";
  std::unique_ptr<SystemLog> log = makeSystemLog();
};

}  // namespace tarvel
