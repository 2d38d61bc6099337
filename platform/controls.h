#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/image.h"

namespace kova::platform {

/// Controls are plain data with events. A window's logic sets and reads them; a view, where there is one,
/// shows them and hears of every change through `onShown`. Values and captions are UTF-8.
class Control {
 public:
  explicit Control(std::string name, std::string label = {})
      : name_(std::move(name)), label_(std::move(label)) {}
  Control(const Control&) = delete;
  Control& operator=(const Control&) = delete;
  virtual ~Control() = default;

  const std::string& name() const { return name_; }
  /// The words beside the control; empty when it has none, or shows words of its own.
  const std::string& label() const { return label_; }

  bool enabled() const { return enabled_; }
  void setEnabled(bool on);

  bool focused() const { return focused_; }
  /// The window's logic or its view moves the focus here; raises onFocus.
  void focus();
  /// The focus goes elsewhere; raises onLeave.
  void leave();

  std::function<void()> onFocus;
  std::function<void()> onLeave;
  /// For the view: something that is shown has changed.
  std::function<void()> onShown;

 protected:
  void shown() const {
    if (onShown) onShown();
  }

 private:
  std::string name_;
  std::string label_;
  bool enabled_ = true;
  bool focused_ = false;
};

/// A text box of one or many lines.
class TextBox : public Control {
 public:
  using Control::Control;

  const std::string& text() const { return text_; }
  /// Sets the text, by the owner's typing or by the program alike; raises onChange when it differs. A text
  /// ends at its first NUL, as in a native edit control.
  void setText(std::string text);

  void selectAll();
  bool allSelected() const { return allSelected_; }

  /// Its text is not for the eyes of others; said before the box is shown.
  void setPassword() { password_ = true; }
  bool password() const { return password_; }

  std::function<void()> onChange;

 private:
  std::string text_;
  bool allSelected_ = false;
  bool password_ = false;
};

/// A text box with a list to choose its text from; a text that is not in the list is allowed.
class ComboBox : public TextBox {
 public:
  using TextBox::TextBox;

  const std::vector<std::string>& items() const { return items_; }
  void setItems(std::vector<std::string> items);
  /// Chooses an item, by the owner's click or by the program alike: it becomes the text. Does nothing when
  /// there is no such item.
  void choose(std::size_t index);

 private:
  std::vector<std::string> items_;
};

/// Text that is only shown.
class Label : public Control {
 public:
  Label(std::string name, std::string text) : Control(std::move(name)), text_(std::move(text)) {}

  const std::string& text() const { return text_; }
  void setText(std::string text);

 private:
  std::string text_;
};

/// Text boxes that share a name and are told apart by a number behind it: "btitle0", "btitle1", ... They keep
/// their places in memory.
std::deque<TextBox> textBoxes(const std::string& name, std::size_t count);

/// A box for a running log: text is added at the end, where the caret stays, and only the newest characters
/// are kept.
class LogBox : public Control {
 public:
  LogBox(std::string name, std::size_t maxCharacters, std::string label = {})
      : Control(std::move(name), std::move(label)), max_(maxCharacters) {}

  /// The newest characters (code points), at most as many as the box keeps.
  std::string_view text() const;
  /// How many bytes had ever been appended before those of text(): tells a view what is new.
  std::uint64_t begin() const { return appended_ - text().size(); }
  /// Amortised constant cost per byte.
  void append(std::string_view text);
  void clear();

 private:
  std::size_t max_;
  std::string text_;
  std::uint64_t appended_ = 0;
};

/// 0 or 1, as it stands in the settings file.
class CheckBox : public Control {
 public:
  using Control::Control;

  int value() const { return value_; }
  /// Raises onClick when the value differs, by the owner's click or by the program alike.
  void setValue(int value);

  std::function<void()> onClick;

 private:
  int value_ = 0;
};

/// One of a group of which exactly one is chosen.
class OptionButton : public Control {
 public:
  OptionButton(std::string name, std::string caption)
      : Control(std::move(name)), caption_(std::move(caption)) {}

  const std::string& caption() const { return caption_; }
  bool chosen() const { return chosen_; }
  void setChosen(bool chosen);

  /// As the owner's click: does nothing while the button is disabled. Who listens chooses this one and leaves
  /// the others of its group.
  void click();

  std::function<void()> onClick;

 private:
  std::string caption_;
  bool chosen_ = false;
};

/// A button or a menu entry.
class Button : public Control {
 public:
  Button(std::string name, std::string caption) : Control(std::move(name)), caption_(std::move(caption)) {}

  const std::string& caption() const { return caption_; }
  void setCaption(std::string caption);

  /// As the owner's click: does nothing while the button is disabled.
  void click();

  std::function<void()> onClick;

 private:
  std::string caption_;
};

/// A picture, shown as large as it is or smaller.
class PictureBox : public Control {
 public:
  using Control::Control;

  const Image& image() const { return image_; }
  void setImage(Image image) {
    image_ = std::move(image);
    shown();
  }

 private:
  Image image_;
};

/// A frame around other controls; disabled, it disables what it holds for the owner.
class Frame : public Control {
 public:
  Frame(std::string name, std::string caption) : Control(std::move(name)), caption_(std::move(caption)) {}
  const std::string& caption() const { return caption_; }

 private:
  std::string caption_;
};

}  // namespace kova::platform
