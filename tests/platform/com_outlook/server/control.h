#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kova::test_outlook {

/// Tells the server to misbehave, by a text file that it reads at every call. One order a line:
///   quit                  the process ends at once, also while it hangs
///   busy                  every call is refused, as while a dialog stands open
///   hang MEMBER MS        answers after so many milliseconds
///   fail MEMBER CODE TEXT fails with an HRESULT in hexadecimal digits and a description
///   end MEMBER            the process ends in the middle of the call
///   lacks MEMBER          the objects have no such member
///   as MEMBER TYPE        the answer's type: EMPTY, NULL, ERROR, I2, R8, DECIMAL, BSTR
/// MEMBER may be CreateInstance for hang and fail.
class Control {
 public:
  /// A file that is not there holds no order. The number of the process is written to FILE.pid.
  explicit Control(std::filesystem::path file);

  /// What follows the member's name in the order; empty when there is none.
  std::optional<std::string> order(std::string_view verb, std::string_view member = {}) const;

 private:
  std::filesystem::path file_;
};

}  // namespace kova::test_outlook
