#pragma once

#include <string>

#include "platform/files.h"
#include "platform/outlook.h"

/// Adding items from the phone. Each operation checks the PIN, saves one item and writes a result deck that
/// says how it went. When Outlook fails there is no deck: the phone is told of success only after the item is
/// saved.
namespace kova::wml {

/// What an operation works on.
struct AddingContext {
  platform::Files& files;
  std::string path;     ///< of the result deck
  std::string pinCode;  ///< the one that is right
  platform::outlook::Automation& outlook;
};

// The fields as they were typed, percent-decoded.

struct MeetingFields {
  std::string title;
  std::string date;      ///< YYMMDD
  std::string time;      ///< HHMM
  std::string duration;  ///< minutes
  std::string reminder;  ///< minutes before the start
  std::string pin;
};

struct ContactFields {
  std::string fullName;
  std::string companyName;
  std::string email;
  std::string homePhone;
  std::string businessPhone;
  std::string pagerPhone;
  std::string pin;
};

/// Of a note or a task.
struct TextFields {
  std::string title;
  std::string text;
  std::string pin;
};

void add_cal(const AddingContext& context, const MeetingFields& fields);
void add_con(const AddingContext& context, const ContactFields& fields);
void add_tsk(const AddingContext& context, const TextFields& fields);
void addnot(const AddingContext& context, const TextFields& fields);

}  // namespace kova::wml
