#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/layout.h"

namespace kova::platform {

/// A window as data: its name, its title and whether it is shown. A view, where there is one, follows
/// `onShown`.
class Window {
 public:
  Window(std::string name, std::string title) : name_(std::move(name)), title_(std::move(title)) {}
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;
  virtual ~Window() = default;

  const std::string& name() const { return name_; }
  const std::string& title() const { return title_; }
  void setTitle(std::string title) {
    if (title == title_) return;
    title_ = std::move(title);
    if (onShown) onShown();
  }

  bool visible() const { return visible_; }
  /// How often show() was called: a window that is shown again comes to the front.
  unsigned showings() const { return showings_; }
  /// A modal window keeps the owner from the other windows until it is closed; the caller goes on at once.
  bool modal() const { return modal_; }
  void show(bool modal = false) {
    visible_ = true;
    modal_ = modal;
    ++showings_;
    if (onShown) onShown();
  }
  /// By the owner or by the program alike. A window that has to end something with it overrides this.
  virtual void close() {
    visible_ = false;
    if (onShown) onShown();
  }

  /// Where the controls stand; without a part in it, there is nothing to show.
  const Layout& layout() const { return layout_; }
  /// The entries of the one menu of its menu bar; empty: it has none.
  const std::vector<Button*>& menu() const { return menu_; }
  const std::string& menuTitle() const { return menuTitle_; }
  /// What the Enter and the Escape key click; null: nothing. They may change with the window's state: a view
  /// asks when the key comes.
  Button* acceptButton() const { return acceptButton_; }
  Button* cancelButton() const { return cancelButton_; }
  bool resizable() const { return resizable_; }

  std::function<void()> onShown;

 protected:
  // A window says once, when it is made, how it looks; only its keys may change later.
  void setLayout(Layout layout) { layout_ = std::move(layout); }
  void setMenu(std::string title, std::vector<Button*> entries) {
    menuTitle_ = std::move(title);
    menu_ = std::move(entries);
  }
  void setKeys(Button* accept, Button* cancel) {
    acceptButton_ = accept;
    cancelButton_ = cancel;
  }
  void setFixedSize() { resizable_ = false; }

 private:
  Layout layout_ = Layout::rows({});
  std::vector<Button*> menu_;
  std::string menuTitle_;
  Button* acceptButton_ = nullptr;
  Button* cancelButton_ = nullptr;
  bool resizable_ = true;
  std::string name_;
  std::string title_;
  bool visible_ = false;
  bool modal_ = false;
  unsigned showings_ = 0;
};

}  // namespace kova::platform
