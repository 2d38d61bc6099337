#pragma once

#include <string>
#include <string_view>

/// The names in the settings file, as they stand there.
namespace kova::settings {

inline constexpr std::string_view kSettingsFile = "tarvel_wap.ini";

inline constexpr std::string_view kMain = "Main";
inline constexpr std::string_view kPager = "Pager";
inline constexpr std::string_view kOutlook = "Outlook";

// Main
inline constexpr std::string_view kLocalAddress = "Local_Address";
inline constexpr std::string_view kLocalPort = "Local_Port";
inline constexpr std::string_view kWapDirectory = "WAP_Directory";
inline constexpr std::string_view kImage = "image";
inline constexpr std::string_view kPinCode = "PIN_Code";
inline constexpr std::string_view kAutoStart = "Auto_Start";               ///< "1": listen at start-up
inline constexpr std::string_view kAutoStartPaging = "Auto_Start_Paging";  ///< "1": page from start-up on

// Main, with a row number behind: see keyOfRow.
inline constexpr std::string_view kCmdTitle = "CMD_Title_";
inline constexpr std::string_view kCmdCommand = "CMD_Command_";
inline constexpr std::string_view kCmdPin = "CMD_PIN_";
inline constexpr std::string_view kPop3Title = "POP3_Title_";
inline constexpr std::string_view kPop3Server = "POP3_Server_";
inline constexpr std::string_view kPop3User = "POP3_User_";
inline constexpr std::string_view kPop3Pass = "POP3_Pass_";
inline constexpr std::string_view kPop3Pin = "POP3_PIN_";

// Pager
inline constexpr std::string_view kScreenSaverOnly = "Screen_Saver_Only";
inline constexpr std::string_view kSendTask = "Send_Task";
inline constexpr std::string_view kSendSchedule = "Send_Schedule";
inline constexpr std::string_view kWeekEnds = "Week_Ends";  ///< "1": no daily mail on Saturdays and Sundays
inline constexpr std::string_view kDailyMailTime = "Daily_Mail_Time";
inline constexpr std::string_view kCheckInterval = "Check_Interval";  ///< minutes
inline constexpr std::string_view kEmailFormat = "Email_Format";      ///< "1" standard, "0" compact
inline constexpr std::string_view kFrom = "From";
inline constexpr std::string_view kTo = "To";
inline constexpr std::string_view kSubject = "Subject";
inline constexpr std::string_view kSmtpServer = "SMTP_Server";

// Outlook: where the personal data is
inline constexpr std::string_view kOutlookSource = "Outlook_Source";  ///< "files" or "outlook"
// ... and the folders of ordinary files
inline constexpr std::string_view kCalendarFolder = "Calendar_Folder";
inline constexpr std::string_view kContactsFolder = "Contacts_Folder";
inline constexpr std::string_view kTasksFolder = "Tasks_Folder";
inline constexpr std::string_view kNotesFolder = "Notes_Folder";
inline constexpr std::string_view kInboxFolder = "Inbox_Folder";

/// Rows of the launch center and of the mailbox table are numbered 0 to 7.
inline constexpr int kRows = 8;

/// keyOfRow("POP3_PIN_", 3) is "POP3_PIN_3".
inline std::string keyOfRow(std::string_view prefix, int row) {
  return std::string(prefix).append(std::to_string(row));
}

}  // namespace kova::settings
