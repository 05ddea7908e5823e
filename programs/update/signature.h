#pragma once

#include <string>
#include <string_view>

namespace tarvel::update {

// Whether the ed25519 signature of the data is by the holder of the key; both are base64. Anything
// that is no signature or no key is not.
bool isSigned(std::string_view data, const std::string& signature, const std::string& publicKey);

}  // namespace tarvel::update
