#pragma once

#include <windows.h>

#include <oleauto.h>

#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/date_time.h"

namespace kova::platform::com_outlook {

/// Days since 1899-12-30; the fraction is the time of day, counted forwards on days before that one too.
/// Empty for what is no date with a time, and for years outside 100 to 9999.
std::optional<DATE> toDate(const DateTime& time);
/// To the nearest second.
std::optional<DateTime> fromDate(DATE date);

/// A COM object, or none.
template <typename Interface>
class Ref {
 public:
  Ref() = default;
  /// Takes over one reference.
  explicit Ref(Interface* object) : object_(object) {}
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Ref& operator=(Ref&& other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  Ref(const Ref&) = delete;
  Ref& operator=(const Ref&) = delete;
  ~Ref() {
    if (object_) object_->Release();
  }

  explicit operator bool() const { return object_ != nullptr; }
  Interface* operator->() const { return object_; }

 private:
  Interface* object_ = nullptr;
};

/// An automation value and what it owns.
class Variant {
 public:
  Variant() { VariantInit(&value_); }
  explicit Variant(long number) : Variant() {
    value_.vt = VT_I4;
    value_.lVal = number;
  }
  template <std::same_as<bool> Flag>  // else a literal would be one
  explicit Variant(Flag flag) : Variant() {
    value_.vt = VT_BOOL;
    value_.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
  }
  explicit Variant(std::string_view text);
  /// A time that toDate refuses gives VT_ERROR, which no property takes.
  explicit Variant(const DateTime& time);
  Variant(Variant&& other) noexcept : value_(other.value_) { VariantInit(&other.value_); }
  Variant& operator=(Variant&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { VariantClear(&value_); }

  VARIANT& raw() { return value_; }

  /// Nothing is there: Empty, Null, a missing parameter.
  bool missing() const;

  // Read with the conventions of en-US, whatever the owner's are. A text that is missing is "", every other
  // value that is missing cannot be read.
  std::optional<std::string> text() const;
  std::optional<long> number() const;
  std::optional<bool> flag() const;
  std::optional<DateTime> date() const;
  /// None for Nothing and for what is missing; empty for what is no object.
  std::optional<Ref<IDispatch>> object() const;

 private:
  Variant changed(VARTYPE type) const;

  VARIANT value_;
};

}  // namespace kova::platform::com_outlook
