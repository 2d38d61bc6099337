#pragma once

#include <optional>
#include <string>

#include "platform/image.h"

namespace kova::platform {

enum class PictureFormat { kJpeg, kBmp, kPng };

/// Picture files in the formats of the desktop.
class Pictures {
 public:
  virtual ~Pictures() = default;

  /// A JPEG, BMP or PNG file, whatever its name; empty when there is none, it is none, or it has more than
  /// 64 million pixels. What is transparent is white.
  virtual std::optional<Image> load(const std::string& path) = 0;
  /// False when the file cannot be written; a file that was there is then as it was.
  virtual bool save(const std::string& path, const Image& image, PictureFormat format) = 0;
};

}  // namespace kova::platform
