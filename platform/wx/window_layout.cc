#include "platform/wx/window_layout.h"

#include <wx/sizer.h>
#include <wx/statbox.h>
#include <wx/stattext.h>

#include "platform/wx/owned.h"
#include "platform/wx/text.h"

namespace kova::platform::wx {

namespace {

// The gaps, in pixels of a display of ordinary density.
constexpr int kGap = 8;
constexpr int kSmallGap = 6;
constexpr int kEdge = 12;
constexpr int kFieldWidth = 240;
constexpr int kCellWidth = 150;

template <typename T>
bool is(const Control& control) {
  return dynamic_cast<const T*>(&control) != nullptr;
}

/// Of the kinds whose label stands before them.
bool hasLabelBefore(const Control& control) {
  return !control.label().empty() && !is<CheckBox>(control) && !is<LogBox>(control);
}

/// A row whose label is as wide as those of its neighbours.
bool beginsWithLabel(const Layout& layout) {
  if (layout.frame()) return false;
  if (layout.kind() == Layout::Kind::kControl) return hasLabelBefore(*layout.control()) && !layout.grows();
  return layout.kind() == Layout::Kind::kColumns && !layout.parts().empty() &&
         layout.parts().front().kind() == Layout::Kind::kControl &&
         hasLabelBefore(*layout.parts().front().control());
}

/// What takes the width of its row.
bool fillsRow(const Layout& layout) {
  if (layout.kind() != Layout::Kind::kControl) return true;
  const Control& control = *layout.control();
  return !is<Button>(control) && !is<CheckBox>(control) && !is<OptionButton>(control);
}

}  // namespace

void WindowLayout::fill(wxWindow* parent, const Layout& layout) {
  auto* edge = owned<wxBoxSizer>(wxVERTICAL);
  const Placed inside = place(layout, parent);
  const wxSizerFlags flags = wxSizerFlags(1).Expand().Border(wxALL, parent->FromDIP(kEdge));
  inside.sizer ? edge->Add(inside.sizer, flags) : edge->Add(inside.window, flags);
  parent->SetSizer(edge);
}

WindowLayout::Placed WindowLayout::place(const Layout& layout, wxWindow* parent) {
  if (layout.kind() == Layout::Kind::kControl) return {make_(*layout.control(), parent), nullptr};

  wxStaticBox* box = nullptr;
  if (layout.frame()) box = dynamic_cast<wxStaticBox*>(make_(*layout.frame(), parent));
  wxWindow* inside = box ? box : parent;
  wxSizer* content = layout.kind() == Layout::Kind::kRows      ? rows(layout, inside)
                     : layout.kind() == Layout::Kind::kColumns ? columns(layout, inside, true)
                                                               : table(layout, inside);
  if (!box) return {nullptr, content};
  auto* framed = owned<wxStaticBoxSizer>(box, wxVERTICAL);
  framed->Add(content, wxSizerFlags(1).Expand().Border(wxALL, parent->FromDIP(kGap)));
  return {nullptr, framed};
}

wxWindow* WindowLayout::makeWide(const Layout& cell, wxWindow* parent, int width) {
  wxWindow* window = make_(*cell.control(), parent);
  if (is<TextBox>(*cell.control())) window->SetMinSize(wxSize(parent->FromDIP(width), -1));
  return window;
}

void WindowLayout::label(const Control& control, wxWindow* parent, wxSizer& into) {
  into.Add(owned<wxStaticText>(parent, wxID_ANY, toWx(control.label())), wxSizerFlags().CentreVertical());
}

wxSizer* WindowLayout::rows(const Layout& layout, wxWindow* parent) {
  auto* sizer = owned<wxBoxSizer>(wxVERTICAL);
  const auto& parts = layout.parts();
  for (std::size_t i = 0; i < parts.size();) {
    if (i > 0) sizer->AddSpacer(parent->FromDIP(kGap));
    if (beginsWithLabel(parts[i])) {
      std::vector<const Layout*> together;
      for (; i < parts.size() && beginsWithLabel(parts[i]); ++i) together.push_back(&parts[i]);
      sizer->Add(labelled(together, parent), wxSizerFlags().Expand());
      continue;
    }
    const Layout& part = parts[i++];
    if (part.kind() == Layout::Kind::kControl && !part.control()->label().empty() &&
        !is<CheckBox>(*part.control())) {
      // Above what grows.
      label(*part.control(), parent, *sizer);
      sizer->AddSpacer(parent->FromDIP(kSmallGap) / 2);
    }
    wxSizerFlags flags(part.grows() ? 1 : 0);
    if (fillsRow(part)) flags.Expand();
    const Placed placed = place(part, parent);
    placed.sizer ? sizer->Add(placed.sizer, flags) : sizer->Add(placed.window, flags);
  }
  return sizer;
}

wxSizer* WindowLayout::labelled(const std::vector<const Layout*>& rows, wxWindow* parent) {
  auto* grid = owned<wxFlexGridSizer>(2, wxSize(parent->FromDIP(kGap), parent->FromDIP(kSmallGap)));
  grid->AddGrowableCol(1, 1);
  for (const Layout* row : rows) {
    const bool alone = row->kind() == Layout::Kind::kControl;
    label(*(alone ? row : &row->parts().front())->control(), parent, *grid);
    if (alone) {
      grid->Add(makeWide(*row, parent, kFieldWidth), wxSizerFlags().Expand());
    } else {
      grid->Add(columns(*row, parent, false), wxSizerFlags().Expand());
    }
  }
  return grid;
}

wxSizer* WindowLayout::columns(const Layout& layout, wxWindow* parent, bool withFirstLabel) {
  auto* sizer = owned<wxBoxSizer>(wxHORIZONTAL);
  bool first = true;
  for (const Layout& part : layout.parts()) {
    if (!first) sizer->AddSpacer(parent->FromDIP(kGap));
    const bool control = part.kind() == Layout::Kind::kControl;
    if (control && hasLabelBefore(*part.control()) && (!first || withFirstLabel)) {
      label(*part.control(), parent, *sizer);
      sizer->AddSpacer(parent->FromDIP(kSmallGap));
    }
    first = false;
    wxSizerFlags flags(part.grows() ? 1 : 0);
    control ? flags.CentreVertical() : flags.Expand();
    const Placed placed =
        control && part.grows() ? Placed{makeWide(part, parent, kFieldWidth), nullptr} : place(part, parent);
    placed.sizer ? sizer->Add(placed.sizer, flags) : sizer->Add(placed.window, flags);
  }
  return sizer;
}

wxSizer* WindowLayout::table(const Layout& layout, wxWindow* parent) {
  const std::size_t width = layout.headings().size();
  const int gap = parent->FromDIP(kSmallGap);
  auto* grid = owned<wxFlexGridSizer>(static_cast<int>(width), wxSize(gap, gap));
  for (const std::string& heading : layout.headings()) {
    grid->Add(owned<wxStaticText>(parent, wxID_ANY, toWx(heading)));
  }
  for (std::size_t i = 0; i < layout.parts().size(); ++i) {
    const Layout& cell = layout.parts()[i];
    if (i < width && cell.grows()) grid->AddGrowableCol(i, cell.share());
    const Placed placed = cell.control() && cell.grows()
                              ? Placed{makeWide(cell, parent, kCellWidth * cell.share()), nullptr}
                              : place(cell, parent);
    const wxSizerFlags flags = wxSizerFlags().Expand();
    placed.sizer ? grid->Add(placed.sizer, flags) : grid->Add(placed.window, flags);
  }
  return grid;
}

}  // namespace kova::platform::wx
