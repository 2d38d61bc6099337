#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/interval_timer.h"
#include "base/task.h"
#include "conversation/line_conversation.h"
#include "paging/daily_mails.h"
#include "paging/host.h"
#include "paging/reminders.h"
#include "paging/smtp_sender.h"
#include "platform/clock.h"
#include "platform/controls.h"
#include "platform/dialogs.h"
#include "platform/event_loop.h"
#include "platform/outlook.h"
#include "platform/screen_saver.h"
#include "platform/window.h"
#include "settings/settings.h"

namespace kova::paging {

/// What the paging server works with. All of it must outlive the window.
struct Machine {
  platform::EventLoop& loop;
  const platform::Clock& clock;
  platform::Dialogs& dialogs;
  platform::outlook::Automation& outlook;
  platform::ScreenSaver& screenSaver;
  const settings::Settings& settings;
  conversation::LineConversation& conversation;
};

/// The paging server's window: its settings, its start and stop, its state. Once a minute while it is started
/// it pages the owner for what falls due, and at the chosen minute of the day it sends the daily mails.
class Form2 : public platform::Window, private Host {
 public:
  explicit Form2(Machine machine);

  /// Fills the controls from the settings file and shows the window. A window that is open stays as it is.
  void open();
  /// Opens the window and starts the paging server, unless it is started.
  void openAndStart();
  /// For an owner without a desktop: reads the settings file anew, unless the paging server is started, and
  /// clicks on "Check Now".
  void openAndCheck();
  /// Closes the window and stops the paging server. A mail on its way is finished.
  void close() override;

  /// As clicks on the buttons of these names, whether these are enabled or not.
  void Command2_Click();
  void cmdchecknow_Click();

  // The controls, in the order in which they are reached with the Tab key.
  platform::Label Label1{"Label1",
                         "Receive your favorite documents by e-mail on your phone, pda or desktop at work!"};
  platform::Frame Frame1{"Frame1", "Paging set-up:"};
  platform::TextBox txtfrom{"txtfrom", "E-mail address of sender(FROM:)"};
  platform::TextBox txtto{"txtto", "E-mail address to page(TO:)"};
  platform::TextBox txtsubject{"txtsubject", "E-mail subject:"};
  platform::TextBox txtsmtpserver{"txtsmtpserver", "SMTP server:"};
  platform::ComboBox list1{"list1", "Timer interval to check meeting alerts (minutes):"};
  platform::CheckBox Check1{"Check1", "Page only if in Screen-Saver mode"};
  platform::Frame Frame3{"Frame3", "Daily paging:"};
  platform::CheckBox Check3{"Check3", "Send my Outlook today's schedule"};
  platform::CheckBox Check2{"Check2", "Send my Outlook task list"};
  platform::ComboBox Combo1{"Combo1", "Send documents at:"};
  platform::CheckBox Check4{"Check4", "Don't send e-mail on week-ends"};
  std::array<platform::OptionButton, 2> mail_format{
      platform::OptionButton{"mail_format0", "Compact (for cell phone,pager,pda)"},
      platform::OptionButton{"mail_format1", "Standard e-mail format"}};
  platform::Frame Frame2{"Frame2", "Status:"};
  platform::Label Labelstat{"Labelstat", std::string(kStopped)};
  platform::Button Command2{"Command2", std::string(kStartCaption)};
  platform::Button cmdchecknow{"cmdchecknow", "Check &Now"};
  platform::Button Command1{"Command1", "&Quit"};

 private:
  static constexpr std::string_view kStopped = "Stopped";
  static constexpr std::string_view kStartCaption = "&Start Timer";
  static constexpr std::string_view kStopCaption = "&Stop Timer";
  static constexpr std::chrono::seconds kInterval{60};

  void wireControls();
  void arrange();
  void load();
  bool started() const { return Command2.caption() == kStopCaption; }
  void setStarted(bool on);
  void chooseFormat(std::size_t index);
  void write(std::string_view key, std::string_view value);
  std::string setting(std::string_view key) const;

  void Timer1_Timer();
  base::Task<> tick();
  base::Task<> checkNow();

  MailFields mailFields() const override;
  void fillCheckInterval() override;
  std::optional<std::int16_t> checkInterval() const override;
  bool standardFormat() const override { return mail_format[1].chosen(); }
  bool onlyInScreenSaver() const override { return screenSaverFlag_ == 1; }
  void showStatus(std::string text) override { Labelstat.setText(std::move(text)); }

  Machine machine_;
  SmtpSender sender_;
  Reminders reminders_;
  DailyMails dailyMails_;
  base::IntervalTimer Timer1_;
  std::int16_t screenSaverFlag_ = 0;
  bool loading_ = false;
  bool checking_ = false;
  base::TaskGroup tasks_;
};

}  // namespace kova::paging
