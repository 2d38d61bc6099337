#include "platform/com_outlook/com_outlook.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>

#include "base/text.h"
#include "platform/com_outlook/link.h"
#include "platform/windows_api/utf16.h"

namespace kova::platform::com_outlook {

namespace {

using outlook::DateProperty;
using outlook::FlagProperty;
using outlook::NumberProperty;
using outlook::TextProperty;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr const wchar_t* kProgramId = L"Outlook.Application";
constexpr std::size_t kMostOfDescription = 200;

constexpr const wchar_t* nameOf(TextProperty property) {
  constexpr const wchar_t* kNames[] = {
      L"Subject",
      L"Body",
      L"Location",
      L"LastNameAndFirstName",
      L"LastName",
      L"FirstName",
      L"FullName",
      L"JobTitle",
      L"Title",
      L"CompanyName",
      L"BusinessTelephoneNumber",
      L"BusinessFaxNumber",
      L"HomeTelephoneNumber",
      L"Home2TelephoneNumber",
      L"MobileTelephoneNumber",
      L"PagerNumber",
      L"WebPage",
      L"Email1Address",
  };
  return kNames[static_cast<std::size_t>(property)];
}
constexpr const wchar_t* nameOf(NumberProperty property) {
  constexpr const wchar_t* kNames[] = {L"Size", L"Duration", L"ReminderMinutesBeforeStart",
                                       L"PercentComplete"};
  return kNames[static_cast<std::size_t>(property)];
}
constexpr const wchar_t* nameOf(FlagProperty property) {
  constexpr const wchar_t* kNames[] = {L"UnRead", L"AllDayEvent", L"ReminderSet"};
  return kNames[static_cast<std::size_t>(property)];
}
constexpr const wchar_t* nameOf(DateProperty property) {
  constexpr const wchar_t* kNames[] = {L"ReceivedTime", L"Start", L"End", L"StartDate", L"DueDate"};
  return kNames[static_cast<std::size_t>(property)];
}

std::string seconds(milliseconds time) {
  char text[32];
  std::snprintf(text, sizeof text, "%g s", static_cast<double>(time.count()) / 1000);
  return text;
}

/// One line of plain text, whatever Outlook says.
std::string printable(std::string text) {
  const auto control = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; };
  std::replace_if(text.begin(), text.end(), control, ' ');
  return std::string(base::trim(base::firstCharacters(text, kMostOfDescription)));
}

/// Notes may hold line ends of any kind.
std::string withCrLf(const std::string& text) {
  return base::replaceAll(base::replaceAll(base::replaceAll(text, base::kCrLf, "\n"), "\r", "\n"), "\n",
                          base::kCrLf);
}

/// The way to Outlook, and whether it is open.
struct Connection {
  Connection(Log l, const Bounds& b) : log(std::move(l)), bounds(b), link(b.busy) {}

  bool resting() const { return steady_clock::now() < restsUntil || link.waiting(); }

  Log log;
  Bounds bounds;
  Link link;
  steady_clock::time_point restsUntil = steady_clock::time_point::min();
};

/// What the objects of one session share.
class Session {
 public:
  explicit Session(std::shared_ptr<Connection> connection) : connection_(std::move(connection)) {}

  enum class Refusal { kIsFailure, kIsAllowed };

  /// Empty when the call failed.
  std::optional<Reply> call(Request request, Refusal refusal = Refusal::kIsFailure) {
    Connection& connection = *connection_;
    const Bounds& bounds = connection.bounds;
    if (connection.resting()) return failed("not asked, as it gave no answer before");

    const bool create = request.kind == Request::Kind::kCreate;
    const std::string member = windows_api::toUtf8(request.member);
    const auto left = std::chrono::ceil<milliseconds>(bounds.session - spent_);
    const auto limit = std::min(create ? bounds.start : bounds.call, left);
    const auto before = steady_clock::now();
    auto reply = connection.link.ask(std::move(request), limit);
    spent_ += steady_clock::now() - before;
    if (!reply) {
      connection.restsUntil = steady_clock::now() + bounds.rest;
      const std::string missed = limit == left
                                     ? "the session took longer than " + seconds(bounds.session)
                                     : "no answer in " + seconds(create ? bounds.start : bounds.call);
      return failed(member + ": " + missed + "; left alone for " + seconds(bounds.rest));
    }
    if (SUCCEEDED(reply->result)) return reply;
    if (refusal == Refusal::kIsAllowed) return std::nullopt;
    char code[16];
    std::snprintf(code, sizeof code, "0x%08lX", static_cast<unsigned long>(reply->result));
    std::string what = member + " failed (" + code + ")";
    if (!reply->description.empty()) what += ": " + printable(reply->description);
    return failed(what);
  }

  /// Logs the session's first failure; those that follow come of it.
  std::nullopt_t failed(const std::string& what) {
    if (!logged_) connection_->log("Outlook: " + what);
    logged_ = true;
    return std::nullopt;
  }

  void release(ObjectId object) { connection_->link.release(object); }

 private:
  std::shared_ptr<Connection> connection_;
  steady_clock::duration spent_{0};
  bool logged_ = false;
};

/// An object of Outlook's, as long as this lives.
class Remote {
 public:
  using Kind = Request::Kind;

  Remote(std::shared_ptr<Session> session, ObjectId id) : session_(std::move(session)), id_(id) {}
  Remote(Remote&& other) noexcept : session_(std::move(other.session_)), id_(std::exchange(other.id_, 0)) {}
  Remote(const Remote&) = delete;
  Remote& operator=(const Remote&) = delete;
  Remote& operator=(Remote&&) = delete;
  ~Remote() {
    if (id_) session_->release(id_);
  }

  /// Null when the call failed or gave Nothing.
  template <typename Wrapper>
  std::unique_ptr<Wrapper> object(Kind kind, std::wstring member,
                                  std::optional<Variant> argument = std::nullopt) {
    const auto reply = session_->call({kind, id_, std::move(member), std::move(argument)});
    if (!reply || !reply->object) return nullptr;
    return std::make_unique<Wrapper>(Remote(session_, reply->object));
  }

  template <typename Property>
  bool put(Property property, Variant value) {
    return session_->call({Kind::kPut, id_, nameOf(property), std::move(value)}).has_value();
  }

  template <typename Value, typename Property>
  std::optional<Value> get(Property property, std::optional<Value> (Variant::*read)() const) {
    const auto reply = session_->call({Kind::kGet, id_, nameOf(property), std::nullopt});
    if (!reply) return std::nullopt;
    auto value = (reply->value.*read)();
    if (!value) return session_->failed(windows_api::toUtf8(nameOf(property)) + " cannot be read");
    return value;
  }

  bool does(const wchar_t* member) {
    return session_->call({Kind::kMethod, id_, member, std::nullopt}).has_value();
  }
  bool maybeDoes(Kind kind, const wchar_t* member, Variant argument) {
    return session_->call({kind, id_, member, std::move(argument)}, Session::Refusal::kIsAllowed).has_value();
  }

 private:
  std::shared_ptr<Session> session_;
  ObjectId id_;
};

class ComItem final : public outlook::Item {
 public:
  explicit ComItem(Remote remote) : remote_(std::move(remote)) {}

  std::optional<std::string> text(TextProperty property) override {
    auto value = remote_.get(property, &Variant::text);
    if (value && property == TextProperty::kBody) *value = withCrLf(*value);
    return value;
  }
  std::optional<long> number(NumberProperty property) override {
    return remote_.get(property, &Variant::number);
  }
  std::optional<bool> flag(FlagProperty property) override { return remote_.get(property, &Variant::flag); }
  std::optional<DateTime> date(DateProperty property) override {
    return remote_.get(property, &Variant::date);
  }

  bool setText(TextProperty property, std::string_view value) override {
    return remote_.put(property, Variant(value));
  }
  bool setNumber(NumberProperty property, long value) override {
    return remote_.put(property, Variant(value));
  }
  bool setFlag(FlagProperty property, bool value) override { return remote_.put(property, Variant(value)); }
  bool setDate(DateProperty property, const DateTime& value) override {
    return toDate(value) && remote_.put(property, Variant(value));
  }

  bool save() override { return remote_.does(L"Save"); }

 private:
  Remote remote_;
};

class ComItems final : public outlook::Items {
 public:
  explicit ComItems(Remote remote) : remote_(std::move(remote)) {}

  bool sort(std::string_view key) override {
    return remote_.maybeDoes(Request::Kind::kMethod, L"Sort", Variant(key));
  }
  void setIncludeRecurrences(bool on) override {
    remote_.maybeDoes(Request::Kind::kPut, L"IncludeRecurrences", Variant(on));
  }
  std::unique_ptr<outlook::Items> restrict(std::string_view filter) override {
    return remote_.object<ComItems>(Request::Kind::kMethod, L"Restrict", Variant(filter));
  }
  std::unique_ptr<outlook::Item> getFirst() override {
    return remote_.object<ComItem>(Request::Kind::kMethod, L"GetFirst");
  }
  std::unique_ptr<outlook::Item> getNext() override {
    return remote_.object<ComItem>(Request::Kind::kMethod, L"GetNext");
  }

 private:
  Remote remote_;
};

class ComFolder final : public outlook::Folder {
 public:
  explicit ComFolder(Remote remote) : remote_(std::move(remote)) {}

  std::unique_ptr<outlook::Items> items() override {
    return remote_.object<ComItems>(Request::Kind::kGet, L"Items");
  }

 private:
  Remote remote_;
};

class ComNameSpace final : public outlook::NameSpace {
 public:
  explicit ComNameSpace(Remote remote) : remote_(std::move(remote)) {}

  std::unique_ptr<outlook::Folder> getDefaultFolder(outlook::FolderNumber number) override {
    return remote_.object<ComFolder>(Request::Kind::kMethod, L"GetDefaultFolder",
                                     Variant(static_cast<long>(number)));
  }

 private:
  Remote remote_;
};

class ComApplication final : public outlook::Application {
 public:
  explicit ComApplication(Remote remote) : remote_(std::move(remote)) {}

  std::unique_ptr<outlook::NameSpace> getNamespace(std::string_view type) override {
    return remote_.object<ComNameSpace>(Request::Kind::kMethod, L"GetNamespace", Variant(type));
  }
  std::unique_ptr<outlook::Item> createItem(outlook::ItemNumber number) override {
    return remote_.object<ComItem>(Request::Kind::kMethod, L"CreateItem", Variant(static_cast<long>(number)));
  }

 private:
  Remote remote_;
};

class ComAutomation final : public outlook::Automation {
 public:
  ComAutomation(Log log, const Bounds& bounds)
      : connection_(std::make_shared<Connection>(std::move(log), bounds)) {}

  std::unique_ptr<outlook::Application> createObject(std::string_view programId) override {
    const auto session = std::make_shared<Session>(connection_);
    const std::wstring name = windows_api::toUtf16(programId);
    return Remote(session, 0).object<ComApplication>(Request::Kind::kCreate, name);
  }

 private:
  std::shared_ptr<Connection> connection_;
};

}  // namespace

std::unique_ptr<outlook::Automation> makeOutlook(Log log, const Bounds& bounds) {
  CLSID id;
  if (FAILED(CLSIDFromProgID(kProgramId, &id))) return nullptr;
  return std::make_unique<ComAutomation>(std::move(log), bounds);
}

}  // namespace kova::platform::com_outlook
