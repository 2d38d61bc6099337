#include "platform/controls.h"

namespace kova::platform {

namespace {

/// Where the last `count` code points of a UTF-8 text begin.
std::size_t startOfLast(std::string_view text, std::size_t count) {
  std::size_t at = text.size();
  while (at > 0 && count > 0) {
    --at;
    if ((static_cast<unsigned char>(text[at]) & 0xC0) != 0x80) --count;
  }
  return at;
}

}  // namespace

void Control::setEnabled(bool on) {
  if (enabled_ == on) return;
  enabled_ = on;
  shown();
}

void Control::focus() {
  if (focused_) return;
  focused_ = true;
  shown();
  if (onFocus) onFocus();
}

void Control::leave() {
  if (!focused_) return;
  focused_ = false;
  if (onLeave) onLeave();
}

void TextBox::setText(std::string text) {
  if (const auto nul = text.find('\0'); nul != std::string::npos) text.resize(nul);
  if (text == text_) return;
  text_ = std::move(text);
  allSelected_ = false;
  shown();
  if (onChange) onChange();
}

void ComboBox::setItems(std::vector<std::string> items) {
  items_ = std::move(items);
  shown();
}

void ComboBox::choose(std::size_t index) {
  if (index < items_.size()) setText(items_[index]);
}

void Label::setText(std::string text) {
  if (text == text_) return;
  text_ = std::move(text);
  shown();
}

void TextBox::selectAll() {
  allSelected_ = true;
  shown();
}

std::string_view LogBox::text() const { return std::string_view(text_).substr(startOfLast(text_, max_)); }

void LogBox::append(std::string_view text) {
  text_ += text;
  appended_ += text.size();
  // Only now and then, so that a line costs no copy of the whole box.
  if (text_.size() > 8 * max_) text_.erase(0, startOfLast(text_, max_));
  shown();
}

void LogBox::clear() {
  text_.clear();
  shown();
}

std::deque<TextBox> textBoxes(const std::string& name, std::size_t count) {
  std::deque<TextBox> boxes;
  for (std::size_t i = 0; i < count; ++i) boxes.emplace_back(name + std::to_string(i));
  return boxes;
}

void CheckBox::setValue(int value) {
  if (value == value_) return;
  value_ = value;
  shown();
  if (onClick) onClick();
}

void OptionButton::setChosen(bool chosen) {
  if (chosen == chosen_) return;
  chosen_ = chosen;
  shown();
}

void OptionButton::click() {
  if (enabled() && onClick) onClick();
}

void Button::setCaption(std::string caption) {
  if (caption == caption_) return;
  caption_ = std::move(caption);
  shown();
}

void Button::click() {
  if (enabled() && onClick) onClick();
}

}  // namespace kova::platform
