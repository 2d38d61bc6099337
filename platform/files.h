#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kova::platform {

/// Error numbers of file operations, as the log shows them.
namespace file_error {
inline constexpr int kNone = 0;
inline constexpr int kNotFound = 53;
inline constexpr int kDeviceError = 57;
inline constexpr int kDiskFull = 61;
inline constexpr int kTooManyFiles = 67;
inline constexpr int kPermissionDenied = 70;
inline constexpr int kAccessError = 75;
inline constexpr int kPathNotFound = 76;
}  // namespace file_error

/// A regular file open for reading; closed by its destructor.
class InputFile {
 public:
  virtual ~InputFile() = default;
  /// Length in bytes at the time of opening.
  virtual std::int64_t length() const = 0;
  /// Fills `into` from byte `offset` (0-based) on and returns the count, less than asked for only at the end
  /// of the file; negative on failure.
  virtual long readAt(std::int64_t offset, std::span<char> into) = 0;
};

/// A text file under construction; closed by close() or its destructor.
class OutputFile {
 public:
  virtual ~OutputFile() = default;
  /// False when the bytes could not be taken (a full disk may show only in close()).
  virtual bool write(std::string_view bytes) = 0;
  virtual bool close() = 0;
};

/// A result that is a value, or the number of a file_error.
template <typename T>
struct FileResult {
  std::optional<T> value;
  int error = file_error::kNone;
  explicit operator bool() const { return value.has_value(); }
};

class Files {
 public:
  virtual ~Files() = default;

  /// The length of a regular file (links are followed); anything that is not one counts as not found.
  virtual FileResult<std::int64_t> length(const std::string& path) = 0;

  /// Opens a regular file (links are followed). Never blocks on what is not one.
  virtual FileResult<std::unique_ptr<InputFile>> open(const std::string& path) = 0;

  /// A new empty file that only its owner may read (mode 0600), in place of whatever had that name; an
  /// earlier file is not written into, and a link is replaced, not followed. Null on failure.
  virtual std::unique_ptr<OutputFile> create(const std::string& path) = 0;

  /// Adds to the end of a file, which is made (mode 0600) when it is missing. False on failure.
  virtual bool append(const std::string& path, std::string_view bytes) = 0;

  /// A file with exactly these bytes, whatever it held before. False on failure; a file that was there is
  /// then as it was. Readable as the owner's documents are, and in place of a link.
  virtual bool replace(const std::string& path, std::string_view bytes) = 0;

  virtual bool remove(const std::string& path) = 0;

  /// The one name of a file or folder: absolute, with links, "." and ".." resolved as far as the path exists,
  /// without a separator at its end, and without what the system makes no difference of (case, short names).
  /// Equal bytes for two paths of the same thing; not for opening or showing it.
  virtual std::string canonical(const std::string& path) const = 0;

  /// A path that a stranger asks for below a folder, in the form of canonical(), links not resolved: its
  /// parts without the empty ones and "." between single separators, none in front. Empty when the system may
  /// take it for something else than the file of just this name below the folder: "..", a NUL, and where
  /// there is such a thing a drive, a device, a stream of a file, a short name, a name whose end is dropped.
  virtual std::optional<std::string> nameBelow(std::string_view path) const = 0;

  /// What stands between the names of a path: "/" or "\".
  virtual char separator() const = 0;
};

}  // namespace kova::platform
