#include "base/outgoing.h"

#include <algorithm>

namespace kova::base {

void Outgoing::add(std::string_view bytes) {
  if (bytes.empty()) return;
  if (segments_.empty() || segments_.back().count > 0) segments_.emplace_back();
  segments_.back().bytes.append(bytes);
  size_ += bytes.size();
  inMemory_ += bytes.size();
}

bool Outgoing::extend(const platform::InputFile& file, std::int64_t offset, std::size_t count) {
  if (segments_.empty() || segments_.back().count == 0) return false;
  Segment& last = segments_.back();
  if (last.file.get() != &file || last.offset + static_cast<std::int64_t>(last.count) != offset) return false;
  last.count += count;
  size_ += count;
  return true;
}

void Outgoing::add(const std::shared_ptr<platform::InputFile>& file, std::int64_t offset, std::size_t count) {
  if (count == 0) return;
  size_ += count;
  if (segments_.empty() || segments_.back().count > 0) segments_.emplace_back();
  Segment& segment = segments_.back();
  segment.file = file;
  segment.offset = offset;
  segment.count = count;
}

void Outgoing::clear() {
  segments_.clear();
  sent_ = 0;
  size_ = 0;
  inMemory_ = 0;
}

void Outgoing::takeOff(std::size_t count) {
  Segment& first = segments_.front();
  size_ -= count;
  const std::size_t ofBytes = std::min(count, first.bytes.size() - sent_);
  sent_ += ofBytes;
  inMemory_ -= ofBytes;
  if (sent_ == first.bytes.size() && sent_ > 0) {
    first.bytes = std::string();  // frees them, which clear() would not
    sent_ = 0;
  }
  first.offset += static_cast<std::int64_t>(count - ofBytes);
  first.count -= count - ofBytes;
  if (first.bytes.empty() && first.count == 0) segments_.erase(segments_.begin());
}

}  // namespace kova::base
