#include "platform/windows/processes.h"

#include "loop_fixture.h"

namespace kova::platform::windows {
namespace {

class ProcessesTest : public LoopTest {
 protected:
  bool start(const std::string& line) {
    why_.clear();
    return processes_.start(line, why_);
  }
  bool appears(const std::string& name) {
    return comes([&] { return content(path(name)).ends_with("\n"); });
  }
  WindowsProcesses processes_;
  std::string why_;
};

TEST_F(ProcessesTest, ProgramsGetTheirLineAsItIs) {
  EXPECT_TRUE(start("cmd /c echo hello> \"" + path("out.txt") + "\"")) << why_;
  EXPECT_TRUE(appears("out.txt"));
  EXPECT_TRUE(start("  \"" + std::string(::getenv("SystemRoot")) + "\\system32\\cmd.exe\" /c echo again> \"" +
                    path("again.txt") + "\""))
      << why_;
  EXPECT_TRUE(appears("again.txt"));
}

TEST_F(ProcessesTest, WhatCannotBeStartedSaysWhy) {
  put(path("text.txt"), "no program");
  for (const std::string& line :
       {std::string(), std::string("  "), std::string("no-such-program x"), "\"" + path("none.exe") + "\" x",
        "\"" + path("text.txt") + "\"", std::string("\"cmd"), std::string("cmd\0 /c", 7)}) {
    EXPECT_FALSE(start(line)) << line;
    EXPECT_NE("", why_) << line;
  }
}

TEST_F(ProcessesTest, ABatchFileRunsNoSecondCommand) {
  const std::string batch = path("note it.bat");
  put(batch, "@echo %1> \"%~dp0noted.txt\"\r\n");
  EXPECT_TRUE(start("\"" + batch + "\" hello")) << why_;
  EXPECT_TRUE(appears("noted.txt"));
  EXPECT_NE(std::string::npos, content(path("noted.txt")).find("hello"));
  for (const char* parameter :
       {"a&echo x>", "\"&echo x>", "a|more>", "%COMSPEC%", "a\r\necho x", "^&", "!x!"}) {
    for (const std::string& name : {"\"" + batch + "\"", "\"" + batch + ".\"", "\"" + batch + " \""}) {
      EXPECT_FALSE(start(name + " " + parameter)) << name << parameter;
    }
  }
}

TEST_F(ProcessesTest, Existence) {
  put(path("there.txt"), "x");
  EXPECT_TRUE(processes_.exists(path("there.txt")));
  EXPECT_TRUE(processes_.exists(folder_.string()));
  for (const std::string& name : {path("missing"), std::string(), path(std::string("there.txt\0", 10))})
    EXPECT_FALSE(processes_.exists(name));
}

}  // namespace
}  // namespace kova::platform::windows
