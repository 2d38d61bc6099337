#include "base/task.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/wait.h"
#include "fakes/fake_loop.h"

namespace kova::base {
namespace {

using std::chrono::milliseconds;

class Loop final : public fakes::FakeLoop {
 public:
  /// Until nobody waits any more.
  void run() { advance(std::chrono::hours{1}); }
};

struct Log {
  std::vector<std::string> lines;
  void add(std::string line) { lines.push_back(std::move(line)); }
};

using Lines = std::vector<std::string>;

/// Logs its own end, so that a dropped frame shows.
struct Guard {
  Guard(Log& l, std::string n) : log(l), name(std::move(n)) {}
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;
  ~Guard() { log.add("~" + name); }
  Log& log;
  std::string name;
};

Task<> waits(Loop& loop, Log& log, std::string name, milliseconds delay) {
  const Guard guard(log, name);
  log.add(name + " waits");
  co_await pause(loop, delay);
  log.add(name + " goes on");
}

Task<int> doubled(Loop& loop, int value) {
  if (value > 0) co_await yield(loop);
  co_return value * 2;
}

Task<std::unique_ptr<std::string>> moveOnly(Loop& loop) {
  co_await yield(loop);
  co_return std::make_unique<std::string>("moved");
}

Task<> nested(Loop& loop, Log& log) {
  const Guard guard(log, "outer");
  const int sum = co_await doubled(loop, 3);
  const int atOnce = co_await doubled(loop, -1);
  const std::unique_ptr<std::string> text = co_await moveOnly(loop);
  log.add(std::to_string(sum) + " " + std::to_string(atOnce) + " " + *text);
  co_await waits(loop, log, "inner", milliseconds{5});
}

TEST(TaskGroup, RunsToTheFirstWaitAndResumesInOrderOfTime) {
  Loop loop;
  Log log;
  TaskGroup group;
  group.spawn(waits(loop, log, "late", milliseconds{20}));
  group.spawn(waits(loop, log, "early", milliseconds{10}));
  group.spawn(waits(loop, log, "same", milliseconds{10}));
  EXPECT_EQ(log.lines, (Lines{"late waits", "early waits", "same waits"}));
  EXPECT_FALSE(group.empty());
  log.lines.clear();
  loop.run();
  EXPECT_EQ(log.lines, (Lines{"early goes on", "~early", "same goes on", "~same", "late goes on", "~late"}));
  EXPECT_TRUE(group.empty());
}

TEST(TaskGroup, TaskThatEndsAtOnceIsForgotten) {
  Log log;
  TaskGroup group;
  group.spawn([](Log& l) -> Task<> {
    l.add("ran");
    co_return;
  }(log));
  EXPECT_EQ(log.lines, Lines{"ran"});
  EXPECT_TRUE(group.empty());
}

TEST(TaskGroup, NestedTasksHandValuesUp) {
  Loop loop;
  Log log;
  TaskGroup group;
  group.spawn(nested(loop, log));
  loop.run();
  EXPECT_EQ(log.lines, (Lines{"6 -2 moved", "inner waits", "inner goes on", "~inner", "~outer"}));
  EXPECT_TRUE(group.empty());
}

TEST(TaskGroup, DroppedTasksEndWhereTheyWait) {
  Loop loop;
  Log log;
  {
    TaskGroup group;
    group.spawn(nested(loop, log));
    loop.run();
    log.lines.clear();
    group.spawn(waits(loop, log, "first", milliseconds{10}));
    group.spawn([](Loop& l, Log& g) -> Task<> {
      const Guard guard(g, "outer");
      co_await waits(l, g, "inner", milliseconds{10});
      g.add("never");
    }(loop, log));
    log.lines.clear();
  }
  EXPECT_EQ(log.lines, (Lines{"~first", "~inner", "~outer"}));
  loop.run();
  EXPECT_EQ(log.lines.size(), 3u);
}

TEST(TaskGroup, TaskMayStartAnother) {
  Loop loop;
  Log log;
  TaskGroup group;
  group.spawn([](Loop& l, Log& g, TaskGroup& tasks) -> Task<> {
    tasks.spawn(waits(l, g, "child", milliseconds{1}));
    g.add("parent ends");
    co_return;
  }(loop, log, group));
  loop.run();
  EXPECT_EQ(log.lines, (Lines{"child waits", "parent ends", "child goes on", "~child"}));
  EXPECT_TRUE(group.empty());
}

TEST(Task, NeverAwaitedNeverRuns) {
  Loop loop;
  Log log;
  {
    const Task<> task = waits(loop, log, "idle", milliseconds{1});
  }
  EXPECT_TRUE(log.lines.empty());
}

TEST(Task, ManyThatEndAtOnceDoNotPileUp) {
  Loop loop;
  long sum = 0;
  TaskGroup group;
  group.spawn([](Loop& l, long& total) -> Task<> {
    for (int i = 0; i < 100000; ++i) total += co_await doubled(l, -1);
  }(loop, sum));
  EXPECT_EQ(sum, -200000);
}

Task<> asks(Log& log, Answer<int>::Ask ask) {
  const int value = co_await Answer<int>(std::move(ask));
  log.add("got " + std::to_string(value));
}

TEST(Answer, AtOnceLaterOnceAndNever) {
  Log log;
  TaskGroup group;
  group.spawn(asks(log, [](const std::function<void(int)>& answer) {
    answer(1);
    answer(2);
  }));
  EXPECT_EQ(log.lines, Lines{"got 1"});

  std::function<void(int)> kept;
  group.spawn(asks(log, [&kept](std::function<void(int)> answer) { kept = std::move(answer); }));
  EXPECT_EQ(log.lines.size(), 1u);
  kept(3);
  kept(4);
  EXPECT_EQ(log.lines, (Lines{"got 1", "got 3"}));

  group.spawn(asks(log, [&kept](std::function<void(int)> answer) { kept = std::move(answer); }));
  group.clear();
  kept(5);
  EXPECT_EQ(log.lines.size(), 2u);
  EXPECT_TRUE(group.empty());
}

}  // namespace
}  // namespace kova::base
