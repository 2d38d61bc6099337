#include <gmock/gmock.h>

#include "platform/local_outlook/local_outlook_fixture.h"

namespace kova::platform::local_outlook {
namespace {

using testing::ElementsAre;

using NotesTest = LocalOutlookTest;
using TasksTest = LocalOutlookTest;

TEST_F(NotesTest, JournalEntriesAndTextFiles) {
  write(folders.notes, "1.ics",
        calendar("BEGIN:VJOURNAL\nUID:1\nCREATED:20250101T000000Z\nSUMMARY:Shopping\nDESCRIPTION:"
                 "Milk\\nBread\nEND:VJOURNAL\n"
                 "BEGIN:VJOURNAL\nUID:2\nCREATED:20250102T000000Z\nSUMMARY:Only a heading\nEND:VJOURNAL\n"
                 "BEGIN:VJOURNAL\nUID:3\nCREATED:20250103T000000Z\nDESCRIPTION:No\\nheading\nDESCRIPTION:"
                 "more\nEND:VJOURNAL\n"
                 "BEGIN:VTODO\nUID:4\nSUMMARY:no note\nEND:VTODO\n"));
  write(folders.notes, "a.txt", "First line\nsecond\r\nthird\n");
  write(folders.notes, "b.MD", "\n# later heading");
  write(folders.notes, "c.doc", "no note");
  EXPECT_THAT(texts(FolderNumber::kNotes, TextProperty::kBody),
              ElementsAre("Shopping\r\nMilk\r\nBread", "Only a heading", "No\r\nheading\r\nmore",
                          "First line\r\nsecond\r\nthird", "\r\n# later heading"));
  EXPECT_THAT(texts(FolderNumber::kNotes, TextProperty::kSubject),
              ElementsAre("Shopping", "Only a heading", "No", "First line", ""));
}

TEST_F(TasksTest, DatesAndProgress) {
  const auto task = [](const char* lines) { return std::string("BEGIN:VTODO\n") + lines + "END:VTODO\n"; };
  write(folders.tasks, "tasks.ics",
        calendar(task("UID:1\nSUMMARY:plain\n") +
                 task("UID:2\nSUMMARY:dates\nDESCRIPTION:a\\nb\nDTSTART;VALUE=DATE:20260301\nDUE;VALUE=DATE:"
                      "20260315\nPERCENT-COMPLETE:40\n") +
                 task("UID:3\nSUMMARY:done\nDUE:20260315T233000Z\nPERCENT-COMPLETE:40\nSTATUS:COMPLETED\n") +
                 task("UID:4\nSUMMARY:lasting\nDTSTART:20260301T090000\nDURATION:P2D\n") +
                 "BEGIN:VTODO\nSUMMARY:cut off\n"));
  Lines shown;
  const auto list = items(FolderNumber::kTasks);
  for (auto item = list->getFirst(); item; item = list->getNext()) {
    shown.push_back(*item->text(TextProperty::kSubject) + " " +
                    base::generalDate(*item->date(DateProperty::kStartDate)) + " " +
                    base::generalDate(*item->date(DateProperty::kDueDate)) + " " +
                    std::to_string(*item->number(NumberProperty::kPercentComplete)));
  }
  EXPECT_THAT(shown, ElementsAre("plain 1/1/4501 1/1/4501 0", "dates 3/1/2026 3/15/2026 40",
                                 "done 1/1/4501 3/16/2026 100", "lasting 3/1/2026 3/3/2026 0"));
  EXPECT_THAT(texts(FolderNumber::kTasks, TextProperty::kBody), ElementsAre("", "a\r\nb", "", ""));
  EXPECT_EQ(log.size(), 1u);
}

}  // namespace
}  // namespace kova::platform::local_outlook
