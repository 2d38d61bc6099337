#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kova::conversation {

/// Looks for a text, and for a second one behind it, in a stream that comes in pieces. Only as much of the
/// stream is kept as the next piece may complete.
class ReplySearch {
 public:
  /// An empty `end` is found together with `expected`.
  ReplySearch(std::string_view expected, std::string_view end) : expected_(expected), end_(end) {}

  void see(std::string_view piece);

  bool foundExpected() const { return stage_ != Stage::kExpected; }
  bool foundEnd() const { return stage_ == Stage::kDone; }

  /// Where the text found last ends, in bytes from the start of the stream.
  std::size_t foundAt() const { return passed_; }

 private:
  enum class Stage { kExpected, kEnd, kDone };

  std::string_view wanted() const { return stage_ == Stage::kExpected ? expected_ : end_; }

  std::string expected_;
  std::string end_;
  Stage stage_ = Stage::kExpected;
  std::string window_;
  std::size_t passed_ = 0;  // bytes of the stream in front of the window; all of it, once done
};

}  // namespace kova::conversation
