#pragma once

#include <wx/string.h>

#include <string>
#include <string_view>

namespace kova::platform::wx {

/// Bytes that are not UTF-8 are shown as ISO-8859-1: a text is never empty for what one byte of it is.
inline wxString toWx(std::string_view text) {
  wxString wide = wxString::FromUTF8(text.data(), text.size());
  if (wide.empty() && !text.empty()) wide = wxString::From8BitData(text.data(), text.size());
  return wide;
}

inline std::string toUtf8(const wxString& text) { return text.utf8_string(); }

}  // namespace kova::platform::wx
