#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace kova::base {

/// The leading number of a text, as a person who typed it meant it: blanks are passed over, a sign, digits, a
/// decimal point and an exponent are read as far as they make a number, the rest is ignored; 0 when there is
/// none.
double leadingNumber(std::string_view text);

/// leadingNumber rounded to a whole number, halves to even; empty when it does not fit.
std::optional<long> wholeNumber(std::string_view text);

/// The number of one or more hexadecimal digits, nothing else around them.
std::optional<unsigned> hexNumber(std::string_view text);

/// A decimal number with at least `digits` digits, zeros in front.
std::string padded(long number, int digits);

}  // namespace kova::base
