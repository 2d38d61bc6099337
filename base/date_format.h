#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/date_time.h"

namespace kova::base {

using platform::DateTime;

/// Seconds since 1970-01-01 00:00 of the same wall clock; for arithmetic and comparing only.
long long wallSeconds(const DateTime& t);
DateTime fromWallSeconds(long long seconds);

/// The date with midnight as its time.
DateTime dateOf(const DateTime& t);
DateTime addDays(const DateTime& t, int days);
/// 0 Sunday to 6 Saturday.
int weekday(const DateTime& t);

/// True for a date that the calendar has, with a time of 00:00:00 to 23:59:59.
bool isValid(const DateTime& t);

/// Reads "yyyy/mm/dd", "mm/dd/yyyy" or "yyyy-mm-dd", alone or followed by a time "hh:mm", "hh:mm:ss", either
/// with AM or PM behind it. Blanks around and between are passed over. Empty when it is no valid date and
/// time.
std::optional<DateTime> parseDate(std::string_view text);

/// True for what parseDate reads and for a time of day alone: "7:05", "07:05:30", "7:05 PM", "7 PM".
bool isDateOrTime(std::string_view text);

std::string yyyy_mm_dd(const DateTime& t);   ///< "2005/03/14"
std::string mm_dd_yy(const DateTime& t);     ///< "03/14/05"
std::string mm_dd(const DateTime& t);        ///< "03/14"
std::string mm_dd_hh_nn(const DateTime& t);  ///< "03-14 09:30"
std::string shortTime(const DateTime& t);    ///< "09:30", 24 hours
std::string logStamp(const DateTime& t);     ///< "05-03-14 09:30:00 ", with the blank behind
/// "3/14/2005", followed by " 9:30:00 AM" when the time is not midnight.
std::string generalDate(const DateTime& t);
/// The form of RFC 1123: "Sun, 06 Nov 1994 08:49:37 GMT". The time is taken as it is given.
std::string Rfc1123Date(const DateTime& t);

}  // namespace kova::base
