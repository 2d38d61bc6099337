#include "wml/outlook_session.h"

#include <cmath>

namespace kova::wml {

namespace outlook = platform::outlook;

std::string QuoteText(std::string_view text) {
  std::string quoted = "\"";
  quoted.append(text);
  return quoted += '"';
}

std::optional<FolderSession> FolderSession::open(outlook::Automation& automation,
                                                 outlook::FolderNumber number, std::string_view key) {
  FolderSession session;
  session.application_ = automation.createObject("Outlook.Application");
  if (!session.application_) return std::nullopt;
  session.nameSpace_ = session.application_->getNamespace("MAPI");
  if (!session.nameSpace_) return std::nullopt;
  session.folder_ = session.nameSpace_->getDefaultFolder(number);
  if (!session.folder_) return std::nullopt;
  session.items_ = session.folder_->items();
  if (!session.items_) return std::nullopt;
  session.items_->sort(key);
  session.items_->setIncludeRecurrences(true);
  return session;
}

std::unique_ptr<outlook::Item> FolderSession::itemAt(double position) {
  // No count is ever equal to any other number; the folder need not be gone through to find that out.
  if (position < 1 || position != std::floor(position)) return nullptr;
  double count = 1;
  auto item = items_->getFirst();
  for (; item && count != position; ++count) item = items_->getNext();
  return item;
}

}  // namespace kova::wml
