#include "platform/wx/pictures.h"

#include <wx/image.h>
#include <wx/log.h>
#include <wx/mstream.h>

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/wx/images.h"
#include "platform/wx/text.h"

namespace kova::platform::wx {

namespace {

constexpr std::int64_t kMostPixels = 64'000'000;
/// A picture of that size, uncompressed.
constexpr std::int64_t kMostBytes = kMostPixels * 4 + 4096;

std::uint32_t byteAt(std::string_view data, std::size_t at) {
  return at < data.size() ? static_cast<unsigned char>(data[at]) : 0;
}
std::uint32_t bigEndian(std::string_view data, std::size_t at, std::size_t count) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < count; ++i) value = value << 8 | byteAt(data, at + i);
  return value;
}
std::uint32_t littleEndian(std::string_view data, std::size_t at) {
  return byteAt(data, at + 3) << 24 | byteAt(data, at + 2) << 16 | byteAt(data, at + 1) << 8 |
         byteAt(data, at);
}

struct Header {
  wxBitmapType type = wxBITMAP_TYPE_INVALID;
  std::int64_t width = 0;
  std::int64_t height = 0;
};

/// The frame header (ITU T.81, B.2.2) behind whatever segments come before it.
Header jpegHeader(std::string_view data) {
  for (std::size_t at = 2; at + 9 <= data.size();) {
    if (byteAt(data, at) != 0xFF) return {};
    const std::uint32_t marker = byteAt(data, at + 1);
    if (marker == 0xFF) {
      ++at;
      continue;
    }
    const bool frame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (frame) return {wxBITMAP_TYPE_JPEG, bigEndian(data, at + 7, 2), bigEndian(data, at + 5, 2)};
    at += 2 + bigEndian(data, at + 2, 2);
  }
  return {};
}

/// How large the picture says it is: looked at before the memory for it is asked for.
Header headerOf(std::string_view data) {
  using namespace std::string_view_literals;
  if (data.starts_with("\x89PNG\r\n\x1a\n"sv)) {
    return {wxBITMAP_TYPE_PNG, bigEndian(data, 16, 4), bigEndian(data, 20, 4)};
  }
  if (data.starts_with("BM"sv)) {
    // A negative height stands for rows from top to bottom.
    const auto height = static_cast<std::int64_t>(static_cast<std::int32_t>(littleEndian(data, 22)));
    return {wxBITMAP_TYPE_BMP, littleEndian(data, 18), height < 0 ? -height : height};
  }
  if (data.starts_with("\xFF\xD8"sv)) return jpegHeader(data);
  return {};
}

std::optional<std::string> readFile(Files& files, const std::string& path) {
  const auto file = files.open(path);
  if (!file) return std::nullopt;
  const std::int64_t length = (*file.value)->length();
  if (length > kMostBytes) return std::nullopt;
  std::string data(static_cast<std::size_t>(length), '\0');
  std::size_t at = 0;
  while (at < data.size()) {
    const long count = (*file.value)->readAt(static_cast<std::int64_t>(at), std::span(data).subspan(at));
    if (count <= 0) return std::nullopt;
    at += static_cast<std::size_t>(count);
  }
  return data;
}

void putOnWhite(wxImage& image) {
  const std::size_t pixels =
      static_cast<std::size_t>(image.GetWidth()) * static_cast<std::size_t>(image.GetHeight());
  if (image.HasMask()) image.InitAlpha();
  if (!image.HasAlpha()) return;
  unsigned char* colours = image.GetData();
  const unsigned char* alpha = image.GetAlpha();
  for (std::size_t i = 0; i < pixels; ++i) {
    for (std::size_t c = 3 * i; c < 3 * i + 3; ++c) {
      colours[c] = static_cast<unsigned char>((colours[c] * alpha[i] + 255 * (255 - alpha[i]) + 127) / 255);
    }
  }
}

wxBitmapType typeOf(PictureFormat format) {
  switch (format) {
    case PictureFormat::kJpeg:
      return wxBITMAP_TYPE_JPEG;
    case PictureFormat::kBmp:
      return wxBITMAP_TYPE_BMP;
    case PictureFormat::kPng:
      break;
  }
  return wxBITMAP_TYPE_PNG;
}

}  // namespace

wxImage toWx(const Image& image) {
  if (image.empty()) return {};
  wxImage copy(image.width, image.height, false);
  std::copy(image.rgb.begin(), image.rgb.end(), copy.GetData());
  return copy;
}

std::optional<Image> WxPictures::load(const std::string& path) {
  const auto data = readFile(files_, path);
  if (!data) return std::nullopt;
  const Header header = headerOf(*data);
  if (header.width < 1 || header.height < 1 || header.width > kMostPixels / header.height) {
    return std::nullopt;
  }
  const wxLogNull quiet;
  wxMemoryInputStream stream(data->data(), data->size());
  wxImage image;
  if (!image.LoadFile(stream, header.type) || !image.IsOk()) return std::nullopt;
  putOnWhite(image);
  const std::size_t bytes =
      3 * static_cast<std::size_t>(image.GetWidth()) * static_cast<std::size_t>(image.GetHeight());
  return Image{image.GetWidth(), image.GetHeight(),
               std::vector<std::uint8_t>(image.GetData(), image.GetData() + bytes)};
}

bool WxPictures::save(const std::string& path, const Image& image, PictureFormat format) {
  const wxLogNull quiet;
  wxImage copy = toWx(image);
  if (!copy.IsOk()) return false;
  copy.SetOption(wxIMAGE_OPTION_QUALITY, 90);
  wxMemoryOutputStream stream;
  if (!copy.SaveFile(stream, typeOf(format))) return false;
  std::string bytes(static_cast<std::size_t>(stream.GetLength()), '\0');
  stream.CopyTo(bytes.data(), bytes.size());
  return files_.replace(path, bytes);
}

}  // namespace kova::platform::wx
