#pragma once

#include <string>

namespace kova::wml {

/// What the pages need of the server that they belong to: texts of its main window as they are now.
class Host {
 public:
  virtual ~Host() = default;

  /// `editPageDirectory`: the folder that decks are written to.
  virtual std::string pageDirectory() const = 0;

  /// `Text1`: the PIN code that guards adding.
  virtual std::string pinCode() const = 0;
};

}  // namespace kova::wml
