#include "conversation/reply_search.h"

#include <algorithm>

namespace kova::conversation {

void ReplySearch::see(std::string_view piece) {
  if (stage_ == Stage::kDone) return;
  window_.append(piece);
  while (stage_ != Stage::kDone) {
    const std::string_view text = wanted();
    const std::size_t at = window_.find(text);
    const bool found = at != std::string::npos;
    // What is left of a window without the text is the longest piece of it that may be the text's beginning.
    const std::size_t passed =
        found ? at + text.size() : window_.size() - std::min(window_.size(), text.size() - 1);
    window_.erase(0, passed);
    passed_ += passed;
    if (!found) return;
    stage_ = stage_ == Stage::kExpected ? Stage::kEnd : Stage::kDone;
  }
  window_.clear();
}

}  // namespace kova::conversation
