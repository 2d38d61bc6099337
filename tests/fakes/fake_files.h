#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "platform/files.h"

namespace kova::fakes {

/// Files in memory. A file that is open when it is removed or replaced lives on for who holds it, as on a
/// disk.
class FakeFiles final : public platform::Files {
 public:
  // What goes wrong.
  std::map<std::string, int> lengthErrors;  ///< file_error by path
  std::map<std::string, int> openErrors;    ///< file_error by path
  bool failCreate = false;
  bool failAppend = false;
  bool failRemove = false;
  bool failClose = false;                                           ///< of files under construction
  std::size_t freeBytes = std::numeric_limits<std::size_t>::max();  ///< a write takes what fits, then fails
  std::int64_t failReadAt = -1;                                     ///< reads that touch this offset fail

  // What happened.
  int openFiles = 0;  ///< input and output files that are open now
  int writes = 0;     ///< calls of OutputFile::write
  std::vector<std::string> created;
  std::vector<std::string> removed;

  char separatorChar = '/';

  void put(const std::string& path, std::string contents) {
    contents_[path] = std::make_shared<std::string>(std::move(contents));
  }
  bool exists(const std::string& path) const { return contents_.contains(path); }
  /// Empty when there is no such file.
  std::string contents(const std::string& path) const {
    const auto file = contents_.find(path);
    return file == contents_.end() ? std::string() : *file->second;
  }
  std::size_t count() const { return contents_.size(); }

  platform::FileResult<std::int64_t> length(const std::string& path) override {
    if (const int error = errorFor(lengthErrors, path)) return {{}, error};
    return {static_cast<std::int64_t>(contents_.at(path)->size())};
  }

  platform::FileResult<std::unique_ptr<platform::InputFile>> open(const std::string& path) override {
    if (const int error = errorFor(openErrors, path)) return {{}, error};
    return {std::make_unique<Input>(*this, contents_.at(path))};
  }

  std::unique_ptr<platform::OutputFile> create(const std::string& path) override {
    if (failCreate) return nullptr;
    created.push_back(path);
    put(path, "");
    return std::make_unique<Output>(*this, contents_.at(path));
  }

  bool append(const std::string& path, std::string_view bytes) override {
    if (failAppend) return false;
    if (!exists(path)) put(path, "");
    contents_.at(path)->append(bytes);
    return true;
  }

  bool replace(const std::string& path, std::string_view bytes) override {
    if (failCreate || failClose || bytes.size() > freeBytes) return false;
    put(path, std::string(bytes));
    return true;
  }

  bool remove(const std::string& path) override {
    removed.push_back(path);
    return !failRemove && contents_.erase(path) > 0;
  }

  /// The same as nameBelow(), behind a separator: there are no links here.
  std::string canonical(const std::string& path) const override {
    return separatorChar + nameBelow(path).value_or("..");
  }

  /// With "\\" as the separator as a system reads it that knows "/" as well and does not tell capital letters
  /// from small ones.
  std::optional<std::string> nameBelow(std::string_view path) const override {
    if (path.find('\0') != std::string_view::npos) return std::nullopt;
    const bool asWindows = separatorChar == '\\';
    std::string name;
    while (!path.empty()) {
      const std::string_view part = path.substr(0, path.find_first_of(asWindows ? "/\\" : "/"));
      path.remove_prefix(std::min(part.size() + 1, path.size()));
      if (part == ".." || (asWindows && part.ends_with(' '))) return std::nullopt;
      if (part.empty() || part == ".") continue;
      if (!name.empty()) name += separatorChar;
      name += asWindows ? base::asciiLower(part) : std::string(part);
    }
    return name;
  }

  char separator() const override { return separatorChar; }

 private:
  using Contents = std::shared_ptr<std::string>;

  class Input final : public platform::InputFile {
   public:
    Input(FakeFiles& files, Contents contents)
        : files_(files),
          contents_(std::move(contents)),
          length_(static_cast<std::int64_t>(contents_->size())) {
      ++files_.openFiles;
    }
    ~Input() override { --files_.openFiles; }

    std::int64_t length() const override { return length_; }
    long readAt(std::int64_t offset, std::span<char> into) override {
      const auto wanted = static_cast<std::int64_t>(into.size());
      const std::int64_t fail = files_.failReadAt;
      if (offset < 0 || (fail >= offset && fail < offset + wanted)) return -1;
      if (offset >= static_cast<std::int64_t>(contents_->size())) return 0;
      return static_cast<long>(contents_->copy(into.data(), into.size(), static_cast<std::size_t>(offset)));
    }

   private:
    FakeFiles& files_;
    Contents contents_;
    std::int64_t length_;
  };

  class Output final : public platform::OutputFile {
   public:
    Output(FakeFiles& files, Contents contents) : files_(files), contents_(std::move(contents)) {
      ++files_.openFiles;
    }
    ~Output() override { close(); }

    bool write(std::string_view bytes) override {
      if (!open_) return false;
      ++files_.writes;
      const std::size_t taken = std::min(bytes.size(), files_.freeBytes);
      files_.freeBytes -= taken;
      contents_->append(bytes.substr(0, taken));
      return taken == bytes.size();
    }
    bool close() override {
      if (!std::exchange(open_, false)) return true;
      --files_.openFiles;
      return !files_.failClose;
    }

   private:
    FakeFiles& files_;
    Contents contents_;
    bool open_ = true;
  };

  int errorFor(const std::map<std::string, int>& errors, const std::string& path) const {
    if (const auto error = errors.find(path); error != errors.end()) return error->second;
    return exists(path) ? platform::file_error::kNone : platform::file_error::kNotFound;
  }

  std::map<std::string, Contents> contents_;
};

}  // namespace kova::fakes
