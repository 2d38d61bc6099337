#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/local_outlook/record.h"

namespace kova::platform::local_outlook {

/// A Maildir. Only names, times and sizes are kept; a message is opened when somebody asks what it says.
class InboxStore {
 public:
  InboxStore(const std::string& path, const Log& log);

  /// Brings everything up to date with the files; null when the folder cannot be read.
  std::unique_ptr<outlook::Items> items();

 private:
  bool refresh(WatchedFolder& folder, std::shared_ptr<std::vector<Entry>>& entries, bool isNew);

  Log log_;
  std::string path_;
  std::string problem_;
  WatchedFolder new_;
  WatchedFolder current_;
  std::shared_ptr<std::vector<Entry>> newMail_ = std::make_shared<std::vector<Entry>>();
  std::shared_ptr<std::vector<Entry>> currentMail_ = std::make_shared<std::vector<Entry>>();
  std::shared_ptr<const std::vector<Entry>> all_ = std::make_shared<std::vector<Entry>>();
};

}  // namespace kova::platform::local_outlook
