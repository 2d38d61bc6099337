#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/controls.h"

namespace kova::platform {

/// Where the controls of a window stand, without a pixel in it: a view makes rows, columns and tables of it,
/// and gives every control the room that it needs there. The controls and frames must outlive the layout. The
/// Tab key goes through the controls in the order in which they stand here.
class Layout {
 public:
  enum class Kind { kControl, kRows, kColumns, kTable };

  /// One control, its label before it.
  Layout(Control& control)
      : kind_(Kind::kControl), control_(&control) {}  // NOLINT(google-explicit-constructor)

  /// Below each other. The labels of controls in neighbouring rows are as wide as each other.
  static Layout rows(std::vector<Layout> parts) { return {Kind::kRows, std::move(parts)}; }
  /// Side by side.
  static Layout columns(std::vector<Layout> parts) { return {Kind::kColumns, std::move(parts)}; }
  /// As many controls in a row as there are headings, row by row.
  static Layout table(std::vector<std::string> headings, std::vector<Layout> cells) {
    Layout table(Kind::kTable, std::move(cells));
    table.headings_ = std::move(headings);
    return table;
  }

  /// With a frame around it.
  Layout in(Frame& frame) && {
    frame_ = &frame;
    return std::move(*this);
  }
  /// Gets the room that the window has to spare. In a table, a column of a larger share is that much wider.
  Layout growing(int share = 1) && {
    share_ = share;
    return std::move(*this);
  }

  Kind kind() const { return kind_; }
  /// Of kControl; otherwise null.
  Control* control() const { return control_; }
  /// Of the others.
  const std::vector<Layout>& parts() const { return parts_; }
  const std::vector<std::string>& headings() const { return headings_; }
  /// Null when there is none.
  Frame* frame() const { return frame_; }
  bool grows() const { return share_ > 0; }
  int share() const { return share_; }

 private:
  Layout(Kind kind, std::vector<Layout> parts) : kind_(kind), parts_(std::move(parts)) {}

  Kind kind_;
  Control* control_ = nullptr;
  std::vector<Layout> parts_;
  std::vector<std::string> headings_;
  Frame* frame_ = nullptr;
  int share_ = 0;
};

}  // namespace kova::platform
