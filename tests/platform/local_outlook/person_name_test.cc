#include "platform/local_outlook/person_name.h"

#include <gtest/gtest.h>

namespace kova::platform::local_outlook {
namespace {

TEST(SplitFullName, TakesNamesApartAsAPersonWould) {
  const struct {
    const char* written;
    const char* parts;  // prefix | first | middle | last | suffix
  } cases[] = {
      {"John Smith", "|John||Smith|"},
      {"Dr. Anna Maria van der Berg", "Dr.|Anna|Maria|van der Berg|"},
      {"Smith, John", "|John||Smith|"},
      {"Smith, John Paul", "|John|Paul|Smith|"},
      {"von Neumann, Dr. John", "Dr.|John||von Neumann|"},
      {"John Smith, Jr.", "|John||Smith|Jr."},
      {"John F. Kennedy III", "|John|F.|Kennedy|III"},
      {"Prof. Dr. Max Planck", "Prof. Dr.|Max||Planck|"},
      {"Cher", "|Cher|||"},
      {"Mr. Bean", "Mr.|||Bean|"},
      {"Van Morrison", "|Van||Morrison|"},
      {"Leonardo da Vinci", "|Leonardo||da Vinci|"},
      {"van der Berg", "|||van der Berg|"},
      {"  John \t Smith  ", "|John||Smith|"},
      {"Smith,", "|||Smith|"},
      {", John", "|John|||"},
      {",", "||||"},
      {"", "||||"},
      {"Dr.", "|Dr.|||"},
      {"Jürgen Müller", "|Jürgen||Müller|"},
  };
  for (const auto& [written, parts] : cases) {
    const PersonName name = splitFullName(written);
    EXPECT_EQ(name.prefix + "|" + name.first + "|" + name.middle + "|" + name.last + "|" + name.suffix, parts)
        << written;
  }
}

}  // namespace
}  // namespace kova::platform::local_outlook
