#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tarvel::update {

// One release that a feed offers.
struct Release {
  std::string version;
  std::string minimumSystem;  // of the distribution, "12"; empty: any
  std::string url;            // of the archive
  std::uint64_t length = 0;   // of the archive, bytes
  std::string signature;      // ed25519 over the archive, base64
};

// The newest release of the feed (RSS 2.0 with the sparkle namespace of appcasts) that is newer
// than this version and runs on this system; none when there is none. Throws UpdateError for a text
// that is no feed.
std::optional<Release> newestRelease(std::string_view feed, std::string_view version,
                                     std::string_view system);

}  // namespace tarvel::update
