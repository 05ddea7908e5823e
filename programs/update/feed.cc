#include "programs/update/feed.h"

#include <pugixml.hpp>

#include "programs/update/update_error.h"
#include "programs/update/version.h"

namespace tarvel::update {
namespace {

// A value that stands as an element of the item or as an attribute of its enclosure.
std::string valueOf(const pugi::xml_node& item, const char* name) {
  const std::string element = item.child(name).text().as_string();
  return element.empty() ? item.child("enclosure").attribute(name).as_string() : element;
}

Release releaseOf(const pugi::xml_node& item) {
  const auto enclosure = item.child("enclosure");
  return {valueOf(item, "sparkle:version"), valueOf(item, "sparkle:minimumSystemVersion"),
          enclosure.attribute("url").as_string(), enclosure.attribute("length").as_ullong(),
          enclosure.attribute("sparkle:edSignature").as_string()};
}

}  // namespace

std::optional<Release> newestRelease(std::string_view feed, std::string_view version,
                                     std::string_view system) {
  pugi::xml_document document;
  const auto parsed = document.load_buffer(feed.data(), feed.size());
  const auto channel = document.child("rss").child("channel");
  if (!parsed || !channel) throw UpdateError("the feed is no appcast");
  std::optional<Release> newest;
  for (const auto& item : channel.children("item")) {
    Release release = releaseOf(item);
    const bool runs = compareVersions(release.minimumSystem, system) <= 0;
    const bool newer = compareVersions(release.version, newest ? newest->version : version) > 0;
    if (runs && newer) newest = std::move(release);
  }
  return newest;
}

}  // namespace tarvel::update
