#include "platform/com_outlook/values.h"

#include <cmath>

#include "base/date_format.h"
#include "platform/windows_api/utf16.h"

namespace kova::platform::com_outlook {

namespace {

constexpr LCID kEnglish = MAKELCID(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), SORT_DEFAULT);
constexpr long long kSecondsOfDay = 86400;
constexpr int kFirstYear = 100;
constexpr int kLastYear = 9999;
// 0100-01-01 and the end of 9999-12-31.
constexpr DATE kFirstDate = -657434.0;
constexpr DATE kBehindLastDate = 2958466.0;

}  // namespace

std::optional<DATE> toDate(const DateTime& time) {
  if (time.year < kFirstYear || time.year > kLastYear || !base::isValid(time)) return std::nullopt;
  const long long days =
      (base::wallSeconds(base::dateOf(time)) - base::wallSeconds(DateTime{})) / kSecondsOfDay;
  const double timeOfDay = ((time.hour * 60 + time.minute) * 60 + time.second) / double{kSecondsOfDay};
  return static_cast<double>(days) + (days < 0 ? -timeOfDay : timeOfDay);
}

std::optional<DateTime> fromDate(DATE date) {
  if (!(date > kFirstDate - 1 && date < kBehindLastDate)) return std::nullopt;
  const double days = std::trunc(date);
  const long long seconds = std::llround(std::abs(date - days) * double{kSecondsOfDay}) +
                            static_cast<long long>(days) * kSecondsOfDay;
  const DateTime time = base::fromWallSeconds(base::wallSeconds(DateTime{}) + seconds);
  if (time.year > kLastYear) return std::nullopt;  // rounded up
  return time;
}

Variant::Variant(std::string_view text) : Variant() {
  const std::wstring wide = windows_api::toUtf16(text);
  value_.bstrVal = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  if (value_.bstrVal) value_.vt = VT_BSTR;
}

Variant::Variant(const DateTime& time) : Variant() {
  const auto date = toDate(time);
  value_.vt = date ? VT_DATE : VT_ERROR;
  if (date) {
    value_.date = *date;
  } else {
    value_.scode = DISP_E_OVERFLOW;
  }
}

bool Variant::missing() const {
  return value_.vt == VT_EMPTY || value_.vt == VT_NULL ||
         (value_.vt == VT_ERROR && value_.scode == DISP_E_PARAMNOTFOUND);
}

Variant Variant::changed(VARTYPE type) const {
  Variant result;
  if (!missing()) VariantChangeTypeEx(&result.value_, const_cast<VARIANT*>(&value_), kEnglish, 0, type);
  return result;
}

std::optional<std::string> Variant::text() const {
  if (missing()) return "";
  const Variant text = changed(VT_BSTR);
  if (text.value_.vt != VT_BSTR) return std::nullopt;
  // A text without characters may be a null pointer.
  return windows_api::toUtf8({text.value_.bstrVal, SysStringLen(text.value_.bstrVal)});
}

std::optional<long> Variant::number() const {
  const Variant number = changed(VT_I4);
  if (number.value_.vt != VT_I4) return std::nullopt;
  return number.value_.lVal;
}

std::optional<bool> Variant::flag() const {
  const Variant flag = changed(VT_BOOL);
  if (flag.value_.vt != VT_BOOL) return std::nullopt;
  return flag.value_.boolVal != VARIANT_FALSE;
}

std::optional<DateTime> Variant::date() const {
  const Variant date = changed(VT_DATE);
  if (date.value_.vt != VT_DATE) return std::nullopt;
  return fromDate(date.value_.date);
}

std::optional<Ref<IDispatch>> Variant::object() const {
  if (missing()) return Ref<IDispatch>();
  if (value_.vt != VT_DISPATCH && value_.vt != VT_UNKNOWN) return std::nullopt;
  if (!value_.punkVal) return Ref<IDispatch>();
  IDispatch* object = nullptr;
  if (FAILED(value_.punkVal->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&object)))) {
    return std::nullopt;
  }
  return Ref<IDispatch>(object);
}

}  // namespace kova::platform::com_outlook
