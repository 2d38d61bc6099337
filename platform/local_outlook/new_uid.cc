#include "platform/local_outlook/new_uid.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <random>

namespace kova::platform::local_outlook {

std::string newUid() {
  constexpr std::size_t kDigits = 32;
  std::string uid;
  try {
    std::random_device random;
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < kDigits; ++i, bits >>= 4) {
      if (i % 8 == 0) bits = random();
      unsigned digit = bits & 15;
      if (i == 12) digit = 4;                // the version: random
      if (i == 16) digit = 8 | (digit & 3);  // the variant
      if (i == 8 || i == 12 || i == 16 || i == 20) uid += '-';
      uid += "0123456789abcdef"[digit];
    }
  } catch (const std::exception&) {
    return {};
  }
  return uid;
}

}  // namespace kova::platform::local_outlook
