#include "paging/paging_window.h"

#include <limits>
#include <utility>
#include <vector>

#include "base/date_format.h"
#include "base/number.h"
#include "settings/keys.h"

namespace kova::paging {

namespace {

constexpr std::string_view kDefaultInterval = "10";

/// The saved time first, then every minute of the day.
std::vector<std::string> dailyTimes(std::string saved) {
  std::vector<std::string> times{std::move(saved)};
  for (int hour = 0; hour < 24; ++hour) {
    for (int minute = 0; minute < 60; ++minute) {
      times.push_back(base::padded(hour, 2) + ":" + base::padded(minute, 2));
    }
  }
  return times;
}

}  // namespace

Form2::Form2(Machine machine)
    : Window("Form2", "Paging server"),
      machine_(machine),
      sender_(machine.conversation, machine.clock, *this),
      reminders_(machine.loop, machine.clock, machine.outlook, machine.screenSaver, *this, sender_),
      dailyMails_(machine.loop, machine.clock, machine.outlook, *this, sender_),
      Timer1_(machine.loop, machine.clock, kInterval) {
  wireControls();
  arrange();
}

void Form2::arrange() {
  using platform::Layout;
  setLayout(Layout::rows(
      {Label1, Layout::rows({txtfrom, txtto, txtsubject, txtsmtpserver, list1, Check1}).in(Frame1),
       Layout::rows({Layout::columns({Check3, Check2}), Layout::columns({Combo1, Check4}),
                     Layout::columns({mail_format[1], mail_format[0]})})
           .in(Frame3),
       Layout::rows({Labelstat}).in(Frame2), Layout::columns({Command2, cmdchecknow, Command1})}));
  setKeys(nullptr, &Command1);
  setFixedSize();
}

void Form2::wireControls() {
  const auto writesText = [this](platform::TextBox& box, std::string_view key) {
    box.onChange = [this, &box, key] { write(key, box.text()); };
  };
  writesText(txtfrom, settings::kFrom);
  writesText(txtto, settings::kTo);
  writesText(txtsubject, settings::kSubject);
  writesText(txtsmtpserver, settings::kSmtpServer);
  writesText(list1, settings::kCheckInterval);

  const auto writesCheck = [this](platform::CheckBox& box, std::string_view key) {
    box.onClick = [this, &box, key] { write(key, std::to_string(box.value())); };
  };
  writesCheck(Check2, settings::kSendTask);
  writesCheck(Check3, settings::kSendSchedule);
  writesCheck(Check4, settings::kWeekEnds);
  Check1.onClick = [this] {
    screenSaverFlag_ = static_cast<std::int16_t>(Check1.value());
    write(settings::kScreenSaverOnly, std::to_string(Check1.value()));
  };
  for (std::size_t i = 0; i < mail_format.size(); ++i) {
    mail_format[i].onClick = [this, i] {
      chooseFormat(i);
      write(settings::kEmailFormat, std::to_string(i));
    };
  }

  // While the owner types, the time is not yet what he means: the box comes when he leaves the field.
  Combo1.onChange = [this] {
    if (base::isDateOrTime(Combo1.text())) write(settings::kDailyMailTime, Combo1.text());
  };
  Combo1.onLeave = [this] {
    // What start-up found is not the owner's mistake: the Tab key may pass "blank".
    if (base::isDateOrTime(Combo1.text()) || Combo1.text() == Combo1.items().front()) return;
    machine_.dialogs.message("Invalid time format.", platform::MessageIcon::kExclamation, title());
    Combo1.focus();
  };

  Command2.onClick = [this] { Command2_Click(); };
  cmdchecknow.onClick = [this] { cmdchecknow_Click(); };
  Command1.onClick = [this] { close(); };
  Timer1_.onTick = [this] { Timer1_Timer(); };
}

void Form2::write(std::string_view key, std::string_view value) {
  // What the file says is shown, not written back.
  if (!loading_) machine_.settings.WriteSetting(settings::kPager, key, value);
}

std::string Form2::setting(std::string_view key) const {
  return machine_.settings.ReadSetting(settings::kPager, key);
}

void Form2::open() {
  if (!visible()) load();
  show();
}

void Form2::openAndStart() {
  open();
  if (!started()) Command2_Click();
}

void Form2::openAndCheck() {
  if (checking_) {
    machine_.dialogs.message("A check is under way.", platform::MessageIcon::kInformation, title());
    return;
  }
  if (!started()) load();
  show();
  cmdchecknow_Click();
}

void Form2::close() {
  setStarted(false);
  Window::close();
}

void Form2::load() {
  loading_ = true;
  list1.setItems({"1", "2", "5", "10", "15", "30", "60"});
  list1.choose(1);
  Combo1.setItems(
      dailyTimes(machine_.settings.readOr(settings::kPager, settings::kDailyMailTime, settings::kBlank)));
  Combo1.choose(0);
  txtfrom.setText(setting(settings::kFrom));
  txtto.setText(setting(settings::kTo));
  txtsubject.setText(setting(settings::kSubject));
  txtsmtpserver.setText(setting(settings::kSmtpServer));
  list1.setText(setting(settings::kCheckInterval));

  const bool onlyInScreenSaver = base::wholeNumber(setting(settings::kScreenSaverOnly)) == 1;
  screenSaverFlag_ = onlyInScreenSaver ? 1 : 0;
  Check1.setValue(screenSaverFlag_);
  const auto checked = [this](std::string_view key) { return setting(key) == "1" ? 1 : 0; };
  Check2.setValue(checked(settings::kSendTask));
  Check3.setValue(checked(settings::kSendSchedule));
  Check4.setValue(checked(settings::kWeekEnds));
  chooseFormat(setting(settings::kEmailFormat) == "0" ? 0 : 1);
  loading_ = false;
}

void Form2::chooseFormat(std::size_t index) {
  for (std::size_t i = 0; i < mail_format.size(); ++i) mail_format[i].setChosen(i == index);
}

void Form2::Command2_Click() { setStarted(!started()); }

void Form2::setStarted(bool on) {
  platform::Control* const setUp[] = {&Frame1, &Frame3, &list1, &cmdchecknow, &Command1};
  for (platform::Control* control : setUp) control->setEnabled(!on);
  Command2.setCaption(std::string(on ? kStopCaption : kStartCaption));
  Timer1_.setEnabled(on);
  if (!on) {
    showStatus(std::string(kStopped));
    return;
  }
  const auto shown = list1.text() == settings::kBlank ? kDefaultInterval : std::string_view(list1.text());
  showStatus("Waiting for next interval (in " + std::to_string(base::wholeNumber(shown).value_or(0)) +
             " minutes)");
}

void Form2::cmdchecknow_Click() {
  if (started()) {
    machine_.dialogs.message("Stop the timer first.", platform::MessageIcon::kExclamation, title());
    return;
  }
  // The last tick may still be sending after the timer was stopped.
  if (!checking_) tasks_.spawn(checkNow());
}

base::Task<> Form2::checkNow() {
  checking_ = true;
  cmdchecknow.setEnabled(false);
  co_await reminders_.CheckReminders();
  cmdchecknow.setEnabled(!started());
  checking_ = false;
}

void Form2::Timer1_Timer() {
  // A tick that comes while the last one still sends is left out.
  if (!checking_) tasks_.spawn(tick());
}

base::Task<> Form2::tick() {
  checking_ = true;
  showStatus("Checking calendar...");
  // A folder that fails costs its own mail only.
  if (dailyMailsDue(machine_.clock.localNow(), Combo1.text(), Check4.value() == 1)) {
    if (Check2.value() == 1) co_await dailyMails_.MailTaskList();
    if (Check3.value() == 1) co_await dailyMails_.MailTodaySchedule();
  }
  const bool checked = co_await reminders_.CheckReminders();
  // A failure of Outlook leaves the status at what was under way; the owner's stop stays in sight.
  if (checked) showStatus(started() ? "Waiting for next interval (60sec)" : std::string(kStopped));
  checking_ = false;
}

Form2::MailFields Form2::mailFields() const {
  return {txtsmtpserver.text(), txtfrom.text(), txtto.text(), txtsubject.text()};
}

void Form2::fillCheckInterval() {
  if (list1.text() == settings::kBlank) list1.setText(std::string(kDefaultInterval));
}

std::optional<std::int16_t> Form2::checkInterval() const {
  const auto minutes = base::wholeNumber(list1.text());
  using Limits = std::numeric_limits<std::int16_t>;
  if (!minutes || *minutes < Limits::min() || *minutes > Limits::max()) return std::nullopt;
  return static_cast<std::int16_t>(*minutes);
}

}  // namespace kova::paging
