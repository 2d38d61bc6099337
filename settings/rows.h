#pragma once

#include <optional>
#include <string_view>

#include "settings/keys.h"
#include "settings/settings.h"

/// The rows of the launch center and of the mailbox table, as a phone names and opens them.
namespace kova::settings {

/// The row that a phone names. Nothing but the number of a row makes a key: a longer text could name some
/// other key of the file.
inline std::optional<int> rowNumber(std::string_view text) {
  if (text.size() != 1 || text[0] < '0' || text[0] >= '0' + kRows) return std::nullopt;
  return text[0] - '0';
}

/// Whether a typed PIN opens a row, given the row's PIN as its key reads; a row without a PIN opens to any.
/// kept: a PIN that was cleared (its key is set to nothing) is not "no PIN". It reads as NUL characters,
/// which no typed PIN equals.
inline bool acceptsPin(std::string_view stored, std::string_view typed) {
  return stored == kBlank || (typed == stored && !typed.starts_with('\0'));
}

}  // namespace kova::settings
