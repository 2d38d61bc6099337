// Outlook and the disk fail at every step of every page that reads Outlook.

#include <functional>

#include "pages_fixture.h"

namespace kova::wml {
namespace {

class Failures : public PagesTest {
 protected:
  void SetUp() override {
    folder(FolderNumber::kContacts) = {contactRecord("Smith", "Anne"), contactRecord("Jones", "Bob")};
    folder(FolderNumber::kInbox) = {mailRecord("First", {2005, 3, 13, 9, 0, 0}, true, "body", 12),
                                    mailRecord("Second", {2005, 3, 14, 9, 0, 0}, true, "body", 12)};
    folder(FolderNumber::kTasks) = {taskRecord("First", "body"), taskRecord("Second", "body")};
    folder(FolderNumber::kNotes) = {noteRecord("First"), noteRecord("Second")};
    folder(FolderNumber::kCalendar) = {
        appointmentRecord("Night", {2005, 3, 13, 22, 0, 0}, {2005, 3, 14, 6, 0, 0}),
        appointmentRecord("Day", {2005, 3, 14, 9, 0, 0}, {2005, 3, 14, 10, 0, 0}),
        appointmentRecord("Next", {2005, 3, 15, 9, 0, 0}, {2005, 3, 15, 10, 0, 0})};
  }

  const std::vector<std::function<void()>> runs = {
      [this] { pages.Get_ocon_mainB(2, kF, "caltp=*"); },
      [this] { pages.Get_oeml_main(2, kF); },
      [this] { pages.Get_otsk_main(2, kF); },
      [this] { pages.Get_onot_main(2, kF); },
      [this] { pages.Query_ocon(2, kF, "contp=02"); },
      [this] { pages.Query_oeml(2, kF, "caltp=02"); },
      [this] { pages.Query_otsk(2, kF, "caltp=02"); },
      [this] { pages.Query_onot(2, kF, "caltp=02"); },
      [this] { pages.Query_ocal(2, kF, "caltp=W&dat=03/14"); },
  };
};

TEST_F(Failures, OutlookFailingAtAnyStepEndsThePageThere) {
  for (std::size_t run = 0; run < runs.size(); ++run) {
    outlook.calls.clear();
    outlook.failingCall.reset();
    runs[run]();
    const std::string healthy = deck();
    const std::vector<std::string> calls = outlook.calls;
    ASSERT_TRUE(healthy.ends_with("</wml>\n"));

    for (std::size_t step = 0; step < calls.size(); ++step) {
      outlook.calls.clear();
      outlook.failingCall = step;
      runs[run]();
      if (calls[step].starts_with("sort") || calls[step].starts_with("setIncludeRecurrences")) {
        // A refused sort is no failure: these folders already lie in order.
        EXPECT_EQ(deck(), healthy) << run << " " << calls[step];
        continue;
      }
      const std::string partial = deck();
      EXPECT_LT(partial.size(), healthy.size()) << run << " " << calls[step];
      EXPECT_TRUE(healthy.starts_with(partial)) << run << " " << calls[step] << "\n" << partial;
      EXPECT_TRUE(partial.ends_with("\n")) << run << " " << calls[step];
      EXPECT_EQ(outlook.calls.size(), step + 1) << run << " " << calls[step];
      EXPECT_EQ(outlook.liveObjects, 0);
    }
  }
}

TEST_F(Failures, RowsGatheredBeforeAFailureAreNotWritten) {
  // The second mail's subject.
  outlook.onCall = [this, subjects = 0](const std::string& call) mutable {
    if (call == "text Subject" && ++subjects == 2) outlook.failing = call;
  };
  const std::string deck = deckOf(&Pages::Get_oeml_main);
  EXPECT_TRUE(deck.ends_with("Headers:<br/>\n")) << deck;
}

TEST_F(Failures, RunningAppointmentsStayWhenTheDayFails) {
  outlook.failing = "restrict [Start] >=";
  const std::string deck = deckOf(&Pages::Query_ocal, "caltp=D&dat=03/14");
  EXPECT_TRUE(deck.ends_with("<p><i>1 day schedule:</i><br/>\n22:00 - 06:00<br/>Night<br/>\n")) << deck;
}

TEST_F(Failures, DeckThatCannotBeMadeLeavesOutlookAlone) {
  files.failCreate = true;
  for (const auto& run : runs) run();
  EXPECT_TRUE(outlook.calls.empty());
  EXPECT_EQ(files.count(), 0u);
}

TEST_F(Failures, FullDiskLeavesTheBeginningOfTheDeck) {
  for (const auto& run : runs) {
    files.freeBytes = 1000000;
    run();
    const std::string healthy = files.contents(kPath);
    files.freeBytes = healthy.size() / 2;
    run();
    EXPECT_EQ(files.contents(kPath), healthy.substr(0, healthy.size() / 2));
  }
}

}  // namespace
}  // namespace kova::wml
