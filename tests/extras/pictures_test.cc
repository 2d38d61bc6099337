#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "extras/dither.h"
#include "extras/scale.h"
#include "extras/wbmp.h"

namespace kova::extras {
namespace {

using platform::Image;
using Bytes = std::vector<std::uint8_t>;

/// A picture in greys.
Image grey(int width, int height, const Bytes& greys) {
  Image image{width, height, {}};
  for (const std::uint8_t value : greys) image.rgb.insert(image.rgb.end(), 3, value);
  return image;
}

Image evenly(int width, int height, std::uint8_t value) {
  return grey(width, height,
              Bytes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), value));
}

OneBitImage oneBit(int width, std::string_view pixels) {
  OneBitImage image{width, static_cast<int>(pixels.size()) / width, {}};
  for (const char pixel : pixels) image.white.push_back(pixel == '1' ? 1 : 0);
  return image;
}

TEST(Wbmp, BytesAreThoseOfThePhones) {
  struct Case {
    const char* name;
    OneBitImage image;
    Bytes bytes;
  };
  const Case cases[] = {
      {"one pixel, the rest of the byte padded", oneBit(1, "1"), {0, 0, 1, 1, 0x80}},
      {"a full byte, 1 is white", oneBit(8, "10110001"), {0, 0, 8, 1, 0xB1}},
      {"every row begins a byte", oneBit(10, "11111111010000000110"), {0, 0, 10, 2, 0xFF, 0x40, 0x01, 0x80}},
      {"one column", oneBit(1, "101"), {0, 0, 1, 3, 0x80, 0x00, 0x80}},
      {"the greatest width in one byte",
       oneBit(127, std::string(127, '1')),
       {0,    0,    0x7F, 1,    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
        0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}},
      {"two bytes of width", oneBit(128, std::string(128, '0')), {0, 0, 0x81, 0x00, 1, 0, 0, 0, 0, 0, 0,
                                                                  0, 0, 0,    0,    0, 0, 0, 0, 0, 0}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(encodeWbmp(c.image), std::string(c.bytes.begin(), c.bytes.end())) << c.name;
  }
  const std::string high = encodeWbmp(oneBit(1, std::string(1000, '0')));
  EXPECT_EQ(high.substr(0, 5), std::string("\0\0\x01\x87\x68", 5)) << "two bytes of height";
  EXPECT_EQ(high.size(), 5U + 1000U);
}

TEST(Scale, StretchesAndShrinks) {
  struct Case {
    const char* name;
    Image from;
    int width;
    int height;
    Bytes greys;
  };
  const Case cases[] = {
      {"as it is", grey(2, 2, {1, 2, 3, 250}), 2, 2, {1, 2, 3, 250}},
      {"the average of all", grey(2, 2, {10, 20, 30, 100}), 1, 1, {40}},
      {"a pixel counts by how much of it is covered", grey(3, 1, {0, 90, 255}), 2, 1, {30, 200}},
      {"rows likewise", grey(1, 3, {0, 90, 255}), 1, 2, {30, 200}},
      {"between its neighbours", grey(2, 1, {0, 200}), 4, 1, {0, 50, 150, 200}},
      {"rows likewise", grey(1, 2, {0, 200}), 1, 4, {0, 50, 150, 200}},
      {"one pixel fills all", grey(1, 1, {77}), 3, 2, {77, 77, 77, 77, 77, 77}},
      {"wider and lower", grey(1, 4, {0, 100, 200, 255}), 2, 2, {50, 50, 228, 228}},
      {"narrower and higher", grey(2, 1, {0, 100}), 1, 3, {50, 50, 50}},
  };
  for (const Case& c : cases) {
    const Image to = scale(c.from, c.width, c.height);
    EXPECT_EQ(to.width, c.width) << c.name;
    EXPECT_EQ(to.height, c.height) << c.name;
    EXPECT_EQ(to.rgb, grey(c.width, c.height, c.greys).rgb) << c.name;
  }
  EXPECT_TRUE(scale({}, 96, 65).empty());
}

TEST(Scale, ColoursStayApart) {
  const Image to = scale({2, 1, {200, 100, 0, 100, 0, 50}}, 1, 1);
  EXPECT_EQ(to.rgb, (Bytes{150, 50, 25}));
}

TEST(Scale, EvenColourStaysAsItIsAtAnySize) {
  for (const int size : {1, 7, 96, 97, 1000}) {
    for (const std::uint8_t value : {std::uint8_t{0}, std::uint8_t{129}, std::uint8_t{255}}) {
      const Image to = scale(evenly(97, 61, value), size, size);
      EXPECT_TRUE(std::all_of(to.rgb.begin(), to.rgb.end(), [&](int each) { return each == value; })) << size;
    }
  }
}

TEST(Scale, VeryLongPicturesAreNoTrouble) {
  // Stretched first, one of them would need gigabytes between the two steps.
  const Image high = scale(evenly(1, 4'000'000, 90), 1000, 2);
  EXPECT_EQ(high.rgb, evenly(1000, 2, 90).rgb);
  const Image wide = scale(evenly(4'000'000, 1, 90), 2, 1000);
  EXPECT_EQ(wide.rgb, evenly(2, 1000, 90).rgb);
}

TEST(Dither, AsManyWhitePixelsAsThePictureIsBright) {
  struct Case {
    int value;
    double share;
    double tolerance;
  };
  for (const Case& c :
       {Case{255, 1, 0}, Case{0, 0, 0}, Case{128, 0.5, 0.01}, Case{64, 0.25, 0.02}, Case{230, 0.9, 0.02}}) {
    const OneBitImage image = dither(evenly(96, 65, static_cast<std::uint8_t>(c.value)));
    ASSERT_EQ(image.white.size(), 96U * 65U);
    const auto white = static_cast<double>(std::count(image.white.begin(), image.white.end(), 1));
    EXPECT_NEAR(white / (96 * 65), c.share, c.tolerance) << c.value;
  }
}

TEST(Dither, MiddleGreyAlternates) {
  // Eyes see the average of what is near: no four pixels of it may be alike.
  const OneBitImage image = dither(evenly(96, 65, 128));
  for (std::size_t y = 0; y + 1 < 65; ++y) {
    for (std::size_t x = 0; x + 1 < 96; ++x) {
      const std::size_t at = y * 96 + x;
      const int white = image.white[at] + image.white[at + 1] + image.white[at + 96] + image.white[at + 97];
      EXPECT_TRUE(white > 0 && white < 4) << x << ' ' << y;
    }
  }
}

TEST(Dither, GreenIsBrighterThanRedAndRedThanBlue) {
  const auto whites = [](const Bytes& colour) {
    Image image{30, 30, {}};
    for (int i = 0; i < 900; ++i) image.rgb.insert(image.rgb.end(), colour.begin(), colour.end());
    const OneBitImage result = dither(image);
    return static_cast<double>(std::count(result.white.begin(), result.white.end(), 1)) / 900;
  };
  EXPECT_NEAR(whites({0, 255, 0}), 0.587, 0.02);
  EXPECT_NEAR(whites({255, 0, 0}), 0.299, 0.02);
  EXPECT_NEAR(whites({0, 0, 255}), 0.114, 0.02);
}

TEST(Dither, IsShownInBlackAndWhite) { EXPECT_EQ(toImage(oneBit(2, "10")).rgb, grey(2, 1, {255, 0}).rgb); }

}  // namespace
}  // namespace kova::extras
