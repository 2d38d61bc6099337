#include "platform/local_outlook/read_file.h"

#include <utility>

namespace kova::platform::local_outlook {

FileBytes readFile(const std::string& path, std::size_t limit) {
  FileBytes result = readStart(path, limit + 1);
  if (result.bytes.size() > limit) {
    result.problem = "is longer than " + std::to_string(limit >> 20) + " MiB";
    std::string().swap(result.bytes);
  }
  return result;
}

}  // namespace kova::platform::local_outlook
