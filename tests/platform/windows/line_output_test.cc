#include "platform/windows/line_output.h"

#include "loop_fixture.h"
#include "platform/windows_api/unique_handle.h"

namespace kova::platform::windows {
namespace {

TEST(LineOutputTest, AReaderWhoStopsHoldsNobodyUpAndGetsWholeLines) {
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  ASSERT_NE(0, ::CreatePipe(&readEnd, &writeEnd, nullptr, 4096));
  windows_api::UniqueHandle reader(readEnd);
  windows_api::UniqueHandle writer(writeEnd);
  {
    WindowsLineOutput output(writer.get());
    for (int i = 0; i < 40'000; ++i) {
      output.add("line " + std::to_string(i) + " of those that are too many for the pipe\r\n");
      output.flush();
    }
    std::string text(100'000, '\0');
    DWORD count = 0;
    ASSERT_NE(0, ::ReadFile(reader.get(), text.data(), static_cast<DWORD>(text.size()), &count, nullptr));
    EXPECT_TRUE(text.starts_with("line "));  // which one is up to the writing thread
    reader.reset();
  }
}

TEST(LineOutputTest, WithoutAHandleLinesGoNowhere) {
  WindowsLineOutput output(nullptr);
  output.add("line\r\n");
  EXPECT_TRUE(output.flush());
}

}  // namespace
}  // namespace kova::platform::windows
