#include <gmock/gmock.h>

#include "platform/local_outlook/local_outlook_fixture.h"

namespace kova::platform::local_outlook {
namespace {

using testing::ElementsAre;

/// The owner's clock in other zones than Berlin's.
class ClockTest : public LocalOutlookTest {
 protected:
  void useTimeZone(const char* zone) {
    ASSERT_TRUE(useClockOf(zone));
    start();
  }
};

TEST_F(ClockTest, AppointmentsShowAsTheOwnersClockHasThem) {
  write(folders.calendar, "zones.ics",
        calendar(event("UID:1\nSUMMARY:utc\nDTSTART:20260115T080000Z\nDURATION:PT1H\n") +
                 event("UID:2\nSUMMARY:floating\nDTSTART:20260115T100000\nDURATION:PT1H\n") +
                 event("UID:3\nSUMMARY:system zone\nDTSTART;TZID=Asia/Tokyo:20260115T200000\n"
                       "DTEND:20260115T120000Z\n")));
  EXPECT_THAT(startingOn("2026/01/15"),
              ElementsAre("09:00-10:00 utc", "10:00-11:00 floating", "12:00-13:00 system zone"));
  useTimeZone("America/New_York");
  EXPECT_THAT(startingOn("2026/01/15"),
              ElementsAre("03:00-04:00 utc", "06:00-07:00 system zone", "10:00-11:00 floating"));
}

TEST_F(ClockTest, HoursThatAnotherClockLeavesOutOrHasTwice) {
  useTimeZone("UTC");
  writeEvent("gap.ics", "UID:1\nSUMMARY:gap\nDTSTART;TZID=Europe/Berlin:20260329T023000\nDURATION:PT30M\n");
  writeEvent("twice.ics",
             "UID:2\nSUMMARY:twice\nDTSTART;TZID=Europe/Berlin:20261025T023000\nDURATION:PT30M\n");
  EXPECT_THAT(startingOn("2026/03/29"), ElementsAre("01:30-02:00 gap"));
  EXPECT_THAT(startingOn("2026/10/25"), ElementsAre("00:30-01:00 twice"));
}

}  // namespace
}  // namespace kova::platform::local_outlook
