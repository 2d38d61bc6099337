#pragma once

#include <functional>
#include <string>
#include <utility>

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
  /// A modal window keeps the owner from the other windows until it is closed; the caller goes on at once.
  bool modal() const { return modal_; }
  void show(bool modal = false) {
    visible_ = true;
    modal_ = modal;
    if (onShown) onShown();
  }
  /// By the owner or by the program alike. A window that has to end something with it overrides this.
  virtual void close() {
    visible_ = false;
    if (onShown) onShown();
  }

  std::function<void()> onShown;

 private:
  std::string name_;
  std::string title_;
  bool visible_ = false;
  bool modal_ = false;
};

}  // namespace kova::platform
