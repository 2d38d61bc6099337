#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kova::extras {

/// Makes text that can be shown of what a peer sends, piece by piece: UTF-8, lines ended by "\n". A line that
/// is not UTF-8 is read as ISO-8859-1. Control characters other than the tab are left out, and so is what a
/// telnet server says about options (RFC 854), which is not answered: to who offers, silence is a refusal.
class PrintableText {
 public:
  /// The text that `piece` adds. A character of which a part is missing waits for the next piece.
  std::string add(std::string_view piece);

 private:
  enum class Stage { kText, kCommand, kOption, kParameters, kParametersCommand };

  /// An option's parameters end at last after this many bytes: a peer that never ends them is not silent for
  /// ever.
  static constexpr std::size_t kMostParameters = 512;

  void take(char byte);

  Stage stage_ = Stage::kText;
  std::size_t parameters_ = 0;
  bool afterReturn_ = false;
  std::string bytes_;  // of the text, not shown yet
};

/// The same of a whole text.
std::string printableText(std::string_view text);

}  // namespace kova::extras
