// Base64 and hexadecimal, with the place where a text stops making sense.
#ifndef APPS_MVFP_TEXT_CODEC_H_
#define APPS_MVFP_TEXT_CODEC_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace corvex::mvfp {

struct Decoded {
  std::vector<uint8_t> bytes;
  size_t stopped_at;  // the first character that is wrong; else the length
};

// Reads whole groups of four and stops as the driver does: behind a padded
// group, or in the group with the first wrong character, whose earlier bytes
// count.
Decoded DecodeBase64(const std::string& text);
std::string EncodeBase64(const std::vector<uint8_t>& bytes);

Decoded DecodeHex(const std::string& text);

}  // namespace corvex::mvfp

#endif  // APPS_MVFP_TEXT_CODEC_H_
