#include "extras/wbmp.h"

#include <cstddef>
#include <cstdint>

namespace kova::extras {

namespace {

/// Seven bits in a byte, the highest first; the top bit says that another byte follows.
void appendMultiByte(std::string& bytes, std::uint32_t number) {
  int shift = 0;
  while (number >> shift >> 7 != 0) shift += 7;
  for (; shift > 0; shift -= 7) bytes += static_cast<char>(0x80 | ((number >> shift) & 0x7F));
  bytes += static_cast<char>(number & 0x7F);
}

}  // namespace

std::string encodeWbmp(const OneBitImage& image) {
  std::string bytes;
  appendMultiByte(bytes, 0);  // the type
  bytes += '\0';              // the fixed header: no extension follows
  appendMultiByte(bytes, static_cast<std::uint32_t>(image.width));
  appendMultiByte(bytes, static_cast<std::uint32_t>(image.height));

  std::size_t at = 0;
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; x += 8) {
      unsigned eight = 0;  // the leftmost pixel in the highest bit; 0 beyond the edge
      for (int bit = 7; bit >= 0 && x + 7 - bit < image.width; --bit) eight |= image.white[at++] << bit;
      bytes += static_cast<char>(eight);
    }
  }
  return bytes;
}

}  // namespace kova::extras
