#include "platform/local_outlook/watched_folder.h"

#include <algorithm>
#include <chrono>

#include "base/text.h"

namespace kova::platform::local_outlook {
namespace {

std::string withoutSeparators(std::string path) {
  while (path.size() > 1 && (path.back() == '/' || path.back() == kSeparator)) path.pop_back();
  return path;
}

std::int64_t nanosecondsNow() {
  return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace

bool isTemporaryName(std::string_view name) {
  return name.empty() || name.front() == '.' || name.front() == '~' || name.back() == '~';
}

WatchedFolder::Accepts namesEndingIn(std::vector<std::string> endings) {
  return [endings = std::move(endings)](std::string_view name) {
    if (isTemporaryName(name)) return false;
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos) return false;
    const std::string ending = base::asciiLower(name.substr(dot));
    for (const std::string& known : endings)
      if (ending == known) return true;
    return false;
  };
}

std::string logText(std::string_view text) {
  std::string line = base::toUtf8(text);
  for (char& c : line)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
  return line;
}

WatchedFolder::WatchedFolder(std::string path, Accepts accepts, const Log& log)
    : path_(withoutSeparators(std::move(path))), accepts_(std::move(accepts)), log_(log), watch_(path_) {}

WatchedFolder::Changes WatchedFolder::refresh() {
  Changes changes;
  std::unordered_set<std::string> reported;
  const FolderWatch::News news = watch_.ask(reported);
  const bool complete = news == FolderWatch::News::kSome
                            ? lookAt(reported, changes)
                            : news == FolderWatch::News::kUnknown && scan(changes);
  if (!complete) {
    forgetAll(changes);
    changes.toRead.clear();
    changes.readable = watch_.problem().empty();
    reportFolder(watch_.problem());
    return changes;
  }
  reportFolder("");
  // As they lie on the disk, which is much faster when none of them is in memory yet.
  std::ranges::sort(changes.toRead, {}, [this](FileNumber file) { return files_[file].stamp.inode; });
  return changes;
}

std::optional<std::string> WatchedFolder::readBytes(FileNumber file, std::size_t limit) {
  if (!files_[file].regular) {
    report(file, "is not a readable file");
    return std::nullopt;
  }
  FileBytes read = readFile(pathOf(file), limit);
  if (!accept(file, read)) return std::nullopt;
  if (read.bytes.starts_with("\xEF\xBB\xBF")) read.bytes.erase(0, 3);
  return std::move(read.bytes);
}

bool WatchedFolder::check(FileNumber file) { return accept(file, fileAccess(pathOf(file))); }

bool WatchedFolder::accept(FileNumber file, const Access& access) {
  if (access.busy) files_[file].recent = true;  // it will not change by becoming free
  // Gone meanwhile: nothing is wrong with that.
  if (!access.missing && !access.ok()) report(file, access.problem);
  return access.ok();
}

void WatchedFolder::report(FileNumber file, const std::string& problem) {
  KnownFile& known = files_[file];
  if (known.problem == problem && known.problemStamp == known.stamp) return;
  known.problem = problem;
  known.problemStamp = known.stamp;
  log_(logText(pathOf(file) + ": " + problem));
}

void WatchedFolder::reportFolder(const std::string& problem) {
  if (problem != folderProblem_ && !problem.empty()) log_(logText(path_ + ": " + problem));
  folderProblem_ = problem;
}

void WatchedFolder::forgetAll(Changes& changes) {
  for (FileNumber file = 0; file < files_.size(); ++file)
    if (files_[file].present) forget(file, changes);
}

void WatchedFolder::forget(FileNumber file, Changes& changes) {
  changes.touched.push_back(file);
  numbers_.erase(files_[file].name);
  unwatched_.erase(file);
  files_[file] = KnownFile{};
  freeNumbers_.push_back(file);
}

/// Compares all files with what is known of them. False when the folder cannot be read.
bool WatchedFolder::scan(Changes& changes) {
  ++scanNumber_;
  const bool complete =
      watch_.readAll(accepts_, [&](const std::string& name, const std::optional<FileState>& state) {
        examine(name, state, false, changes);
        if (const auto known = numbers_.find(name); known != numbers_.end())
          files_[known->second].seenInScan = scanNumber_;
      });
  if (!complete) return false;
  for (FileNumber file = 0; file < files_.size(); ++file)
    if (files_[file].present && files_[file].seenInScan != scanNumber_) forget(file, changes);
  return true;
}

/// Compares the files that were reported and those that are not watched. False when the folder cannot be
/// read.
bool WatchedFolder::lookAt(const std::unordered_set<std::string>& reported, Changes& changes) {
  std::vector<std::string> names;
  for (const std::string& name : reported)
    if (accepts_(name)) names.push_back(name);
  for (const FileNumber file : unwatched_)
    if (!reported.contains(files_[file].name)) names.push_back(files_[file].name);
  return names.empty() ||
         watch_.read(names, [&](const std::string& name, const std::optional<FileState>& state) {
           examine(name, state, reported.contains(name), changes);
         });
}

void WatchedFolder::examine(const std::string& name, const std::optional<FileState>& state,
                            bool isKnownChanged, Changes& changes) {
  const auto known = numbers_.find(name);
  if (!state) {
    if (known != numbers_.end()) forget(known->second, changes);
    return;
  }
  const bool isNew = known == numbers_.end();
  const FileNumber file = isNew ? add(name) : known->second;
  KnownFile& entry = files_[file];
  if (!isNew && !isKnownChanged && !entry.recent && entry.stamp == state->stamp) return;

  const std::int64_t age = nanosecondsNow() - state->stamp.changed;
  entry.stamp = state->stamp;
  entry.recent = age > -watch_.tick() && age < watch_.tick();
  entry.regular = state->regular;
  if (state->unwatched)
    unwatched_.insert(file);
  else
    unwatched_.erase(file);
  changes.touched.push_back(file);
  changes.toRead.push_back(file);
}

FileNumber WatchedFolder::add(const std::string& name) {
  FileNumber file = 0;
  if (freeNumbers_.empty()) {
    file = static_cast<FileNumber>(files_.size());
    files_.emplace_back();
  } else {
    file = freeNumbers_.back();
    freeNumbers_.pop_back();
  }
  files_[file].name = name;
  files_[file].present = true;
  numbers_.emplace(name, file);
  return file;
}

}  // namespace kova::platform::local_outlook
