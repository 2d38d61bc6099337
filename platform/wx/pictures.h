#pragma once

#include <optional>
#include <string>

#include "platform/files.h"
#include "platform/pictures.h"

namespace kova::platform::wx {

class WxPictures final : public Pictures {
 public:
  /// The files must outlive it.
  explicit WxPictures(Files& files) : files_(files) {}

  std::optional<Image> load(const std::string& path) override;
  bool save(const std::string& path, const Image& image, PictureFormat format) override;

 private:
  Files& files_;
};

}  // namespace kova::platform::wx
