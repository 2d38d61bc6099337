#pragma once

#include "platform/outlook.h"

namespace kova::platform::local_outlook {

constexpr bool contactHas(outlook::TextProperty property) {
  return property >= outlook::TextProperty::kLastNameAndFirstName &&
         property <= outlook::TextProperty::kEmail1Address;
}
constexpr bool appointmentHas(outlook::TextProperty property) {
  return property == outlook::TextProperty::kSubject || property == outlook::TextProperty::kBody ||
         property == outlook::TextProperty::kLocation;
}
/// Tasks, notes and mail.
constexpr bool hasSubjectAndBody(outlook::TextProperty property) {
  return property == outlook::TextProperty::kSubject || property == outlook::TextProperty::kBody;
}

/// What a date that is not set reads as.
inline constexpr DateTime kNoDate{4501, 1, 1, 0, 0, 0};

}  // namespace kova::platform::local_outlook
