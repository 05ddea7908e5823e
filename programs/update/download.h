#pragma once

#include <cstdint>
#include <string>

namespace tarvel::update {

// Whether the address may be used: HTTPS to anywhere, HTTP to this machine itself.
bool isAllowedAddress(const std::string& url);

// What stands at the address. Throws UpdateError when it may not be used, cannot be had, leads
// elsewhere, is larger than the limit (bytes) or takes too long.
std::string download(const std::string& url, std::uint64_t limit);

}  // namespace tarvel::update
