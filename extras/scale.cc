#include "extras/scale.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kova::extras {

namespace {

constexpr std::size_t kChannels = 3;

// Weights are fractions of kWhole; those of a blend add up to it exactly, so that an even colour stays as it
// is.
constexpr std::uint32_t kWholeBits = 16;
constexpr std::uint32_t kWhole = 1U << kWholeBits;

/// What a new place on an axis is made of: old places from `first` on, each with its weight.
struct Blend {
  std::size_t first = 0;
  std::vector<std::uint32_t> weights;
};

/// New place `at` covers the old ones from at * from / to up to (at + 1) * from / to.
Blend average(std::uint64_t at, std::uint64_t from, std::uint64_t to) {
  const std::uint64_t begin = at * from;  // in parts of 1 / to of an old place
  const std::uint64_t end = begin + from;
  Blend blend{begin / to, {}};
  std::uint32_t given = 0;
  for (std::uint64_t place = blend.first; place * to < end; ++place) {
    const std::uint64_t reached = std::min((place + 1) * to, end) - begin;
    const auto share = static_cast<std::uint32_t>((reached * kWhole + from / 2) / from);
    blend.weights.push_back(share - given);
    given = share;
  }
  return blend;
}

/// The middle of new place `at` lies between the middles of two old ones, or beyond the first or last of
/// them.
Blend between(std::uint64_t at, std::uint64_t from, std::uint64_t to) {
  const std::uint64_t middle = (2 * at + 1) * from;  // in parts of 1 / (2 * to)
  const std::uint64_t distance = middle < to ? 0 : middle - to;
  const std::uint64_t first = distance / (2 * to);
  if (first + 1 >= from) return {from - 1, {kWhole}};
  const auto second = static_cast<std::uint32_t>(distance % (2 * to) * kWhole / (2 * to));
  return {first, {kWhole - second, second}};
}

std::vector<Blend> blends(int from, int to) {
  std::vector<Blend> all;
  all.reserve(static_cast<std::size_t>(to));
  for (int at = 0; at < to; ++at) {
    const auto place = static_cast<std::uint64_t>(at);
    const auto olds = static_cast<std::uint64_t>(from);
    const auto news = static_cast<std::uint64_t>(to);
    all.push_back(from > to ? average(place, olds, news) : between(place, olds, news));
  }
  return all;
}

/// Blends along one axis: `lines` times `count` old places, of `width` bytes each.
std::vector<std::uint8_t> resample(const std::vector<std::uint8_t>& old, std::size_t lines, std::size_t count,
                                   std::size_t width, const std::vector<Blend>& blends) {
  std::vector<std::uint8_t> result(lines * blends.size() * width);
  std::vector<std::uint32_t> sums(width);
  auto into = result.begin();
  for (std::size_t line = 0; line < lines; ++line) {
    for (const Blend& blend : blends) {
      sums.assign(width, kWhole / 2);
      const std::uint8_t* from = old.data() + (line * count + blend.first) * width;
      for (const std::uint32_t weight : blend.weights) {
        for (std::size_t i = 0; i < width; ++i) sums[i] += weight * from[i];
        from += width;
      }
      for (const std::uint32_t sum : sums) *into++ = static_cast<std::uint8_t>(sum >> kWholeBits);
    }
  }
  return result;
}

platform::Image withWidth(const platform::Image& image, int width) {
  if (width == image.width) return image;
  return {width, image.height,
          resample(image.rgb, static_cast<std::size_t>(image.height), static_cast<std::size_t>(image.width),
                   kChannels, blends(image.width, width))};
}

platform::Image withHeight(const platform::Image& image, int height) {
  if (height == image.height) return image;
  return {image.width, height,
          resample(image.rgb, 1, static_cast<std::size_t>(image.height),
                   static_cast<std::size_t>(image.width) * kChannels, blends(image.height, height))};
}

}  // namespace

platform::Image scale(const platform::Image& image, int width, int height) {
  if (image.empty()) return {};
  // The axis that shrinks comes first: between the two steps the picture is never larger than before or
  // after.
  if (width <= image.width) return withHeight(withWidth(image, width), height);
  return withWidth(withHeight(image, height), width);
}

}  // namespace kova::extras
