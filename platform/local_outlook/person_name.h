#pragma once

#include <string>
#include <string_view>

namespace kova::platform::local_outlook {

struct PersonName {
  std::string prefix;  ///< "Dr."
  std::string first;
  std::string middle;
  std::string last;
  std::string suffix;  ///< "Jr."
};

/// Takes a written name apart the way a person would: "Dr. Anna Maria van der Berg", "Smith, John", "John
/// Smith, Jr.". A single word is a first name.
PersonName splitFullName(std::string_view fullName);

/// "Last, First"; when one of them is empty, the other alone.
std::string lastNameAndFirstName(std::string_view last, std::string_view first);

}  // namespace kova::platform::local_outlook
