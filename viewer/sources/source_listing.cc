#include "viewer/sources/source_listing.h"

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
  const auto run = [state = state_] {
    auto sources = list();
    const std::lock_guard lock(state->mutex);
    state->sources = std::move(sources);
    state->hasEnded = true;
    state->ended.notify_all();
  };
  try {
    std::thread(run).detach();
  } catch (const std::system_error&) {
    state_->hasEnded = true;  // without a thread there is no listing, and the viewer does without
  }
}

bool SourceListing::wait(std::chrono::milliseconds longest) const {
  if (!state_) return false;
  std::unique_lock lock(state_->mutex);
  return state_->ended.wait_for(lock, longest, [this] { return state_->hasEnded; });
}

SourceListing::Sources SourceListing::list() {
  const auto tools = installedProgram("tarvel-tools");
  if (!tools) return {};
  const auto output = readProgramOutput(*tools, {"doctor", "--sensors", "--json"});
  const auto listing = nlohmann::json::parse(output, nullptr, false);
  if (!listing.is_object() || !listing.contains("sensors")) return {};
  Sources sources;
  std::map<std::pair<std::string, std::string>, std::size_t> seen;
  for (const auto& entry : listing["sensors"]) {
    if (!entry.is_object()) continue;
    const std::string panel = textAt(entry, "panel");
    const std::string name = textAt(entry, "name");
    const auto place = seen[{panel, name}]++;
    sources[{panel, name, place}] = {textAt(entry, "chip") + " " + textAt(entry, "label"),
                                     textAt(entry, "file"), textAt(entry, "model")};
  }
  return sources;
}

std::optional<ListedSource> SourceListing::of(std::string_view panel, const std::string& sensor,
                                              std::size_t place) const {
  if (!state_) return std::nullopt;
  const std::lock_guard lock(state_->mutex);
  const auto found = state_->sources.find({std::string(panel), sensor, place});
  return found != state_->sources.end() ? std::optional(found->second) : std::nullopt;
}

}  // namespace tarvel::viewer
