#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/outlook.h"

namespace kova::wml {

/// The text between two double quotes, as a filter wants its dates.
std::string QuoteText(std::string_view text);

/// One builder's way into one default folder, for as long as the builder runs.
class FolderSession {
 public:
  /// The folder's items, sorted by `key` and with every occurrence of recurring ones. A refused sort leaves
  /// the folder's own order. Empty when Outlook or the folder cannot be reached.
  static std::optional<FolderSession> open(platform::outlook::Automation& automation,
                                           platform::outlook::FolderNumber number, std::string_view key);

  platform::outlook::Items& items() { return *items_; }

  /// The item at a position that counts from 1; null when there is none.
  std::unique_ptr<platform::outlook::Item> itemAt(double position);

 private:
  FolderSession() = default;

  std::unique_ptr<platform::outlook::Application> application_;
  std::unique_ptr<platform::outlook::NameSpace> nameSpace_;
  std::unique_ptr<platform::outlook::Folder> folder_;
  std::unique_ptr<platform::outlook::Items> items_;
};

}  // namespace kova::wml
