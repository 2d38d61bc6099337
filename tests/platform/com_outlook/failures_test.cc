// An Outlook that fails, is busy, hangs, ends or is not there.

#include <windows.h>

#include <ole2.h>

#include <thread>

#include "platform/com_outlook/outlook_fixture.h"

namespace kova::platform::com_outlook {

namespace {

using namespace std::chrono_literals;
using outlook::FlagProperty;
using outlook::FolderNumber;
using outlook::ItemNumber;
using outlook::TextProperty;
using Lines = std::vector<std::string>;

class FailuresTest : public OutlookTest {
 protected:
  static constexpr Bounds kShort{1000ms, 2000ms, 3000ms, 4000ms, 1500ms};

  std::unique_ptr<outlook::Automation> make(const Bounds& bounds = kShort) {
    return OutlookTest::make(bounds);
  }

  bool works(outlook::Automation& automation) {
    const Session notes = open(automation, FolderNumber::kNotes);
    return notes.items && notes.items->getFirst() != nullptr;
  }
};

TEST_F(FailuresTest, OneLinePerSessionSaysWhatFailed) {
  const auto com = make();
  {
    orders(
        "fail Restrict 80040108 Cannot parse\r\n the \x01"
        "condition.  \nfail GetFirst 8004010F");
    const Session calendar = opened(*com, FolderNumber::kCalendar);
    EXPECT_FALSE(calendar.items->restrict("[Start]"));
    EXPECT_FALSE(calendar.items->getFirst());
  }
  EXPECT_EQ(log, Lines{"Outlook: Restrict failed (0x80040108): Cannot parse"});
  log.clear();
  {
    orders("fail Save 80070005 no \x01 \x7f right");
    const auto application = created(*com);
    const auto note = application->createItem(ItemNumber::kNote);
    EXPECT_TRUE(note->setText(TextProperty::kBody, "a"));
    EXPECT_FALSE(note->save());
    EXPECT_FALSE(note->save());
  }
  EXPECT_EQ(log, Lines{"Outlook: Save failed (0x80070005): no     right"});
}

TEST_F(FailuresTest, AFailureOfAnyStep) {
  const auto com = make();
  for (const std::string member : {"CreateInstance", "GetNamespace", "GetDefaultFolder", "Items"}) {
    log.clear();
    orders("fail " + member + " 80040111");
    EXPECT_FALSE(works(*com));
    ASSERT_EQ(log.size(), 1u) << member;
    const std::string named = member == "CreateInstance" ? "Outlook.Application" : member;
    EXPECT_EQ(log[0], "Outlook: " + named + " failed (0x80040111)");
  }
  orders("");
  EXPECT_TRUE(works(*com));
}

TEST_F(FailuresTest, AnItemWithoutTheProperty) {
  const auto com = make();
  const Session inbox = opened(*com, FolderNumber::kInbox);
  const auto report = inbox.items->getFirst();
  orders("lacks ReceivedTime");
  EXPECT_EQ(report->date(outlook::DateProperty::kReceivedTime), std::nullopt);
  EXPECT_EQ(report->text(TextProperty::kLocation), std::nullopt);
  EXPECT_EQ(report->flag(FlagProperty::kUnRead), true);
  EXPECT_EQ(log, Lines{"Outlook: ReceivedTime failed (0x80020006)"});
}

TEST_F(FailuresTest, BusyForAWhile) {
  const auto com = make();
  const auto application = created(*com);
  orders("busy");
  std::thread dialogIsClosed([this] {
    std::this_thread::sleep_for(400ms);
    orders("");
  });
  EXPECT_TRUE(application->getNamespace("MAPI"));
  dialogIsClosed.join();
  EXPECT_EQ(log, Lines());
}

TEST_F(FailuresTest, BusyForTooLong) {
  const auto com = make();
  for (const char* order : {"busy", "fail GetNamespace 8001010A"}) {
    const auto application = created(*com);
    orders(order);
    const auto time = timeOf([&] { EXPECT_FALSE(application->getNamespace("MAPI")); });
    EXPECT_GT(time, 700ms);
    EXPECT_LT(time, 1900ms);
    orders("");
  }
  EXPECT_EQ(
      log, (Lines{"Outlook: GetNamespace failed (0x80010001)", "Outlook: GetNamespace failed (0x8001010A)"}));
  EXPECT_TRUE(works(*com));  // at once: it did answer
}

TEST_F(FailuresTest, NoAnswer) {
  const Bounds bounds{200ms, 400ms, 3000ms, 4000ms, 800ms};
  const auto com = make(bounds);
  EXPECT_TRUE(works(*com));
  const Session other = opened(*com, FolderNumber::kNotes);
  orders("hang GetFirst 2000");
  {
    const Session notes = opened(*com, FolderNumber::kNotes);
    const auto time = timeOf([&] {
      EXPECT_FALSE(notes.items->getFirst());
      EXPECT_FALSE(notes.items->getFirst());
    });
    EXPECT_GE(time, 400ms);
    EXPECT_LT(time, 700ms);
  }
  orders("");
  // The rest is over, but the answer is still to come.
  std::this_thread::sleep_for(900ms);
  EXPECT_LT(timeOf([&] {
              EXPECT_FALSE(works(*com));
              EXPECT_FALSE(other.items->getFirst());
            }),
            100ms);
  EXPECT_EQ(log, (Lines{"Outlook: GetFirst: no answer in 0.4 s; left alone for 0.8 s",
                        "Outlook: not asked, as it gave no answer before",
                        "Outlook: not asked, as it gave no answer before"}));
  std::this_thread::sleep_for(900ms);
  EXPECT_TRUE(works(*com));
  EXPECT_TRUE(other.items->getFirst());
}

TEST_F(FailuresTest, AHungOutlookThatIsEnded) {
  const Bounds bounds{200ms, 400ms, 3000ms, 4000ms, 100ms};
  const auto com = make(bounds);
  EXPECT_TRUE(works(*com));
  orders("hang Items 60000");
  EXPECT_FALSE(works(*com));
  orders("");
  endServer();
  std::this_thread::sleep_for(500ms);
  EXPECT_TRUE(works(*com));
}

TEST_F(FailuresTest, ASessionThatTakesTooLongInAll) {
  const Bounds bounds{200ms, 1000ms, 3000ms, 1500ms, 100ms};
  const auto com = make(bounds);
  EXPECT_TRUE(works(*com));
  const Session notes = opened(*com, FolderNumber::kNotes);
  orders("hang GetFirst 300");
  int answers = 0;
  const auto time = timeOf([&] {
    while (answers < 100 && notes.items->getFirst()) ++answers;
  });
  EXPECT_GE(answers, 2);
  EXPECT_LE(answers, 4);
  EXPECT_LT(time, 1800ms);
  EXPECT_EQ(log, Lines{"Outlook: GetFirst: the session took longer than 1.5 s; left alone for 0.1 s"});
}

TEST_F(FailuresTest, AnOutlookThatTakesLongToStart) {
  const Bounds bounds{200ms, 1000ms, 500ms, 4000ms, 100ms};
  const auto com = make(bounds);
  orders("hang CreateInstance 1500");
  const auto time = timeOf([&] { EXPECT_FALSE(works(*com)); });
  EXPECT_LT(time, 800ms);
  EXPECT_EQ(log, Lines{"Outlook: Outlook.Application: no answer in 0.5 s; left alone for 0.1 s"});
  std::this_thread::sleep_for(3000ms);
  // The next session has the application that came late, and the one after it a new one.
  EXPECT_TRUE(works(*com));
  EXPECT_FALSE(works(*com));
}

TEST_F(FailuresTest, EndsBetweenTwoSessions) {
  const auto com = make();
  EXPECT_TRUE(works(*com));
  endServer();
  EXPECT_TRUE(works(*com));
  const Session notes = opened(*com, FolderNumber::kNotes);
  endServer();
  EXPECT_FALSE(notes.items->getFirst());
  EXPECT_EQ(log.size(), 1u);
  EXPECT_TRUE(works(*com));
}

TEST_F(FailuresTest, EndsInTheMiddleOfACall) {
  const auto com = make();
  const Session notes = opened(*com, FolderNumber::kNotes);
  orders("end GetNext");
  const auto first = notes.items->getFirst();
  EXPECT_TRUE(first);
  EXPECT_LT(timeOf([&] { EXPECT_FALSE(notes.items->getNext()); }), 1500ms);
  EXPECT_EQ(first->text(TextProperty::kSubject), std::nullopt);
  ASSERT_EQ(log.size(), 1u);
  EXPECT_EQ(log[0].substr(0, 26), "Outlook: GetNext failed (0");
  orders("");
  EXPECT_TRUE(works(*com));
}

TEST_F(FailuresTest, NotInstalled) {
  const auto com = make();
  runServer(L"/unregister");
  EXPECT_EQ(make(), nullptr);
  EXPECT_EQ(com->createObject("Outlook.Application"), nullptr);
  EXPECT_EQ(log, Lines{"Outlook: Outlook.Application failed (0x800401F3)"});
}

TEST_F(FailuresTest, DroppedInAnyOrder) {
  auto com = make();
  Session notes = opened(*com, FolderNumber::kNotes);
  auto note = notes.items->getFirst();
  com.reset();
  notes.application.reset();
  notes.items.reset();
  EXPECT_EQ(note->text(TextProperty::kSubject), "Shopping");
  note.reset();
  EXPECT_LT(timeOf([&] { notes = Session(); }), 900ms);
}

TEST_F(FailuresTest, DroppedWhileOutlookHangs) {
  const Bounds bounds{100ms, 200ms, 3000ms, 4000ms, 100ms};
  auto com = make(bounds);
  EXPECT_TRUE(works(*com));
  orders("hang Items 5000");
  EXPECT_FALSE(works(*com));
  EXPECT_LT(timeOf([&] { com.reset(); }), 1500ms);
}

/// Window messages wait while a call is under way, also where the thread has COM and windows of its own.
TEST_F(FailuresTest, NothingIsDispatchedInsideACall) {
  ASSERT_GE(OleInitialize(nullptr), 0);
  const HWND window =
      CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
  ASSERT_TRUE(window);
  static int dispatched = 0;
  dispatched = 0;
  SetWindowLongPtrW(
      window, GWLP_WNDPROC,
      reinterpret_cast<LONG_PTR>(+[](HWND w, UINT message, WPARAM wide, LPARAM narrow) -> LRESULT {
        if (message == WM_APP) ++dispatched;
        return DefWindowProcW(w, message, wide, narrow);
      }));
  {
    const auto com = make();
    PostMessageW(window, WM_APP, 0, 0);
    orders("hang GetFirst 300");
    EXPECT_TRUE(works(*com));
    EXPECT_EQ(dispatched, 0);
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    EXPECT_EQ(dispatched, 1);
  }
  DestroyWindow(window);
  OleUninitialize();
}

}  // namespace

}  // namespace kova::platform::com_outlook
