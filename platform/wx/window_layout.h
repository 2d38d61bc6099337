#pragma once

#include <functional>

#include "platform/layout.h"

class wxSizer;
class wxWindow;

namespace kova::platform::wx {

/// Makes sizers of a Layout, and has the native controls made in the order in which they stand there.
class WindowLayout {
 public:
  /// Makes the native counterpart of a control or frame as a child of `parent`.
  using Make = std::function<wxWindow*(Control& control, wxWindow* parent)>;

  explicit WindowLayout(Make make) : make_(std::move(make)) {}

  /// `layout` in `parent`, with the usual gap around it.
  void fill(wxWindow* parent, const Layout& layout);

 private:
  struct Placed {
    wxWindow* window = nullptr;  // or
    wxSizer* sizer = nullptr;
  };

  Placed place(const Layout& layout, wxWindow* parent);
  wxSizer* rows(const Layout& layout, wxWindow* parent);
  wxSizer* columns(const Layout& layout, wxWindow* parent, bool withFirstLabel);
  wxSizer* table(const Layout& layout, wxWindow* parent);
  /// Rows of label and control.
  wxSizer* labelled(const std::vector<const Layout*>& rows, wxWindow* parent);
  /// The native control, with the room that a text needs where there is room.
  wxWindow* makeWide(const Layout& cell, wxWindow* parent, int width);
  void label(const Control& control, wxWindow* parent, wxSizer& into);

  Make make_;
};

}  // namespace kova::platform::wx
