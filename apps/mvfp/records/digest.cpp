#include "records/digest.h"

#include <sha2.h>

#include <cstdint>
#include <new>

namespace corvex::mvfp {

std::string Sha256(const std::string& bytes) {
  char digits[SHA256_DIGEST_STRING_LENGTH];
  const auto* const data = reinterpret_cast<const uint8_t*>(bytes.data());
  if (SHA256Data(data, bytes.size(), digits) == nullptr) throw std::bad_alloc();
  return digits;
}

}  // namespace corvex::mvfp
