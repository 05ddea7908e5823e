#include "programs/update/signature.h"

#include <array>

#include <sodium.h>

namespace tarvel::update {
namespace {

template <std::size_t Size>
bool decode(const std::string& text, std::array<unsigned char, Size>& bytes) {
  std::size_t length = 0;
  return sodium_base642bin(bytes.data(), bytes.size(), text.data(), text.size(), " \t\r\n", &length,
                           nullptr, sodium_base64_VARIANT_ORIGINAL) == 0 &&
         length == bytes.size();
}

}  // namespace

bool isSigned(std::string_view data, const std::string& signature, const std::string& publicKey) {
  std::array<unsigned char, crypto_sign_BYTES> signatureBytes{};
  std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> keyBytes{};
  if (sodium_init() < 0 || !decode(signature, signatureBytes) || !decode(publicKey, keyBytes)) {
    return false;
  }
  return crypto_sign_verify_detached(signatureBytes.data(),
                                     reinterpret_cast<const unsigned char*>(data.data()),
                                     data.size(), keyBytes.data()) == 0;
}

}  // namespace tarvel::update
