#include "programs/dashboard/source_listing.h"

#include <system_error>
#include <thread>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/host/processes/child_process.h"
#include "viewer/installed_programs.h"

namespace tarvel::viewer {
namespace {

std::string textAt(const nlohmann::json& object, const char* name) {
  const auto member = object.find(name);
  return member != object.end() && member->is_string() ? member->get<std::string>() : "";
}

}  // namespace

void SourceListing::request() {
  if (state_) return;
  state_ = std::make_shared<State>();
  try {
    std::thread([state = state_] { fill(*state); }).detach();
  } catch (const std::system_error&) {
    // Without a thread there is no listing, and the dashboard is as good as before.
  }
}

void SourceListing::fill(State& state) {
  const auto tools = installedProgram("tarvel-tools");
  if (!tools) return;
  const auto output = readProgramOutput(*tools, {"doctor", "--sensors", "--json"});
  const auto listing = nlohmann::json::parse(output, nullptr, false);
  if (!listing.is_object() || !listing.contains("sensors")) return;
  std::map<Key, ListedSource> sources;
  std::map<std::pair<std::string, std::string>, std::size_t> seen;
  for (const auto& entry : listing["sensors"]) {
    if (!entry.is_object()) continue;
    const std::string panel = textAt(entry, "panel");
    const std::string name = textAt(entry, "name");
    const auto place = seen[{panel, name}]++;
    sources[{panel, name, place}] = {textAt(entry, "chip") + " " + textAt(entry, "label"),
                                     textAt(entry, "file"), textAt(entry, "model")};
  }
  const std::lock_guard lock(state.mutex);
  state.sources = std::move(sources);
}

std::optional<ListedSource> SourceListing::of(std::string_view panel, const std::string& sensor,
                                              std::size_t place) const {
  if (!state_) return std::nullopt;
  const std::lock_guard lock(state_->mutex);
  const auto found = state_->sources.find({std::string(panel), sensor, place});
  return found != state_->sources.end() ? std::optional(found->second) : std::nullopt;
}

}  // namespace tarvel::viewer
