#include "conversation/line_conversation.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "base/wait.h"
#include "fakes/fake_connector.h"
#include "fakes/fake_dialogs.h"
#include "fakes/fake_loop.h"

namespace kova::conversation {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Strings = std::vector<std::string>;
using ReplyEnd = LineConversation::ReplyEnd;

class LineConversationTest : public ::testing::Test {
 protected:
  /// Runs a procedure in a task group of its own, up to its first wait.
  template <typename Procedure>
  void run(base::TaskGroup& group, Procedure& procedure) {
    group.spawn(procedure());
  }

  base::Task<> connectAnd(base::Task<> rest) {
    const auto turn = co_await conversation.turn();
    co_await conversation.connect("mail.test", "110");
    co_await rest;
  }

  /// Waits on a fresh connection, at once after connecting.
  base::Task<> waitFor(std::string expected, int skipLine) {
    result = co_await conversation.WaitFor(expected, skipLine);
    ended = loop.now();
    buffer = conversation.ReplyBuffer;
  }
  base::Task<> waitForReply(std::string expected, ReplyEnd end) {
    result = co_await conversation.WaitForReply(expected, end);
    ended = loop.now();
    buffer = conversation.ReplyBuffer;
  }

  /// Has the server say something and nothing more, and waits.
  void hear(std::string said, base::Task<> wait) {
    result.reset();
    peer.greeting = std::move(said);
    start = loop.now();
    tasks.spawn(connectAnd(std::move(wait)));
    loop.advance(seconds(200));
  }
  milliseconds took() const { return ended - start; }

  fakes::FakeLoop loop;
  fakes::FakeConnector peer{loop};
  fakes::FakeDialogs dialogs;
  LineConversation conversation{loop, peer, dialogs};
  std::optional<bool> result;
  std::string buffer;
  milliseconds start{0};
  milliseconds ended{0};
  base::TaskGroup tasks;
};

TEST_F(LineConversationTest, ExpectedTextMayComeInPiecesAndInsideALine) {
  for (const std::size_t piece : {std::size_t{1}, std::size_t{2}, std::size_t{3}, std::size_t{1000}}) {
    peer.pieceBytes = piece;
    hear("* not yet +O K\r\nwell then: +OK or so\r\n", waitFor("+OK", 0));
    EXPECT_EQ(result, true) << piece;
    EXPECT_LT(took(), seconds(1));
    EXPECT_EQ(dialogs.messages, Strings{});
  }
}

TEST_F(LineConversationTest, ReplyWithoutTheTextIsATimeOut) {
  for (const char* said : {"", "-ERR no such mailbox\r\n", "+ok\r\n", "+O\r\nK"}) {
    hear(said, waitFor("+OK", 0));
    EXPECT_EQ(result, false) << said;
    EXPECT_EQ(took(), seconds(60)) << said;
    EXPECT_EQ(buffer, said);
  }
  EXPECT_EQ(dialogs.messages, Strings{});
}

TEST_F(LineConversationTest, TextThatComesWithTheTimeOutIsLate) {
  struct Case {
    milliseconds delay;
    bool result;
  };
  for (const Case& c : {Case{milliseconds(59'999), true}, Case{seconds(60), false}}) {
    auto wait = [&]() -> base::Task<> {
      const auto turn = co_await conversation.turn();
      co_await conversation.connect("mail.test", "110");
      co_await base::yield(loop);
      peer.delay = c.delay;
      conversation.SendData("STAT\r\n");
      result = co_await conversation.WaitFor("+OK", 0);
    };
    peer.greeting = "";
    peer.delay = milliseconds(0);
    run(tasks, wait);
    loop.advance(seconds(200));
    EXPECT_EQ(result, c.result) << c.delay.count();
  }
}

TEST_F(LineConversationTest, SkippedLineLeavesWhatFollowsIt) {
  hear("* hm\r\n250-one\r\n250 two\r\n", waitFor("250", 1));
  EXPECT_EQ(result, true);
  EXPECT_EQ(buffer, "250 two\r\n");

  // The end of the line has no limit of time, ...
  auto wait = [&]() -> base::Task<> {
    const auto turn = co_await conversation.turn();
    co_await conversation.connect("mail.test", "25");
    peer.delay = seconds(3000);
    peer.chatter = [said = 0]() mutable { return std::string(++said == 1 ? " late\n" : ""); };
    result = co_await conversation.WaitFor("250", 1);
    buffer = conversation.ReplyBuffer;
  };
  result.reset();
  peer.greeting = "250 begun";
  run(tasks, wait);
  loop.advance(seconds(2900));
  EXPECT_EQ(result, std::nullopt);
  loop.advance(seconds(3200));
  EXPECT_EQ(result, true);
  EXPECT_EQ(buffer, "");
  peer.chatter = {};
  peer.delay = milliseconds(0);

  // ... but that of the connection.
  peer.bytesSaid = 0;
  peer.closesAfter = 9;
  hear("250 begun for ever", waitFor("250", 1));
  EXPECT_EQ(result, true);
  EXPECT_EQ(took(), seconds(0));
  EXPECT_EQ(buffer, "250 begun");
}

TEST_F(LineConversationTest, WholeReplies) {
  struct Case {
    const char* said;
    ReplyEnd end;
    bool result;
    const char* buffer;
  };
  const Case cases[] = {
      {"+OK 2 320\r\n", ReplyEnd::kLine, true, "+OK 2 320\r\n"},
      {"+OK 2 3", ReplyEnd::kLine, false, "+OK 2 3"},
      {"+OK\n", ReplyEnd::kLine, true, "+OK\n"},
      {"+OK\r\n.\r\n", ReplyEnd::kMultiLine, true, "+OK\r\n"},
      {"+OK top\r\nA: b\r\n\r\n..two\r\n. \r\n.\r\nmore", ReplyEnd::kMultiLine, true,
       "+OK top\r\nA: b\r\n\r\n..two\r\n. \r\n"},
      {"+OK top\r\nA: b\r\n\r\n.", ReplyEnd::kMultiLine, false, "+OK top\r\nA: b\r\n\r\n."},
      {"-ERR\r\n.\r\n", ReplyEnd::kMultiLine, false, "-ERR\r\n.\r\n"},
  };
  for (const Case& c : cases) {
    for (const std::size_t piece : {std::size_t{1}, std::size_t{4}, std::size_t{1000}}) {
      peer.pieceBytes = piece;
      hear(c.said, waitForReply("+OK", c.end));
      EXPECT_EQ(result, c.result) << c.said << piece;
      EXPECT_EQ(took(), c.result ? seconds(0) : seconds(60)) << c.said;
      // A piece may bring more than the reply.
      const bool rest = c.end == ReplyEnd::kLine;
      EXPECT_EQ(rest ? buffer.substr(0, std::string(c.buffer).size()) : buffer, c.buffer) << c.said << piece;
    }
  }
}

TEST_F(LineConversationTest, EndOfTheConnectionEndsAWait) {
  const std::string said = "+OK 2 messages\r\n";
  for (std::size_t length = 0; length < said.size(); ++length) {
    peer.bytesSaid = 0;
    peer.closesAfter = length;
    hear(said, waitForReply("+OK", ReplyEnd::kLine));
    EXPECT_EQ(result, false) << length;
    EXPECT_EQ(took(), seconds(0)) << length;
    EXPECT_EQ(buffer, said.substr(0, length));
    hear(said, waitFor("+OK", 0));
    EXPECT_EQ(took(), seconds(0));
  }
  // It has closed, but what it said before counts.
  peer.bytesSaid = 0;
  peer.closesAfter = said.size();
  hear(said, waitForReply("+OK", ReplyEnd::kLine));
  EXPECT_EQ(result, true);
}

TEST_F(LineConversationTest, ConnectsToHostAndPort) {
  auto connect = [&]() -> base::Task<> {
    const auto turn = co_await conversation.turn();
    result = co_await conversation.connect("mail.test", "110");
    EXPECT_TRUE(conversation.connected());
    EXPECT_EQ(conversation.status(), "Connecting to mail.test...");
  };
  run(tasks, connect);
  loop.settle();
  EXPECT_EQ(result, true);
  EXPECT_EQ(peer.hosts, Strings{"mail.test"});
  EXPECT_EQ(peer.ports, Strings{"110"});
  EXPECT_EQ(peer.open, 0);
  EXPECT_EQ(conversation.status(), "");
}

TEST_F(LineConversationTest, FailedConnect) {
  auto connect = [&]() -> base::Task<> {
    const auto turn = co_await conversation.turn();
    start = loop.now();
    result = co_await conversation.connect("mail.test", "110");
    EXPECT_FALSE(conversation.connected());
    EXPECT_FALSE(co_await conversation.WaitFor("+OK", 0));
    EXPECT_FALSE(co_await conversation.WaitFor("+OK", 1));
    ended = loop.now();
    EXPECT_FALSE(conversation.SendData("USER x\r\n"));
  };
  const auto expect = [&](const Strings& messages, milliseconds time) {
    dialogs.messages.clear();
    result.reset();
    run(tasks, connect);
    loop.advance(seconds(100));
    EXPECT_EQ(result, false);
    EXPECT_EQ(dialogs.messages, messages);
    EXPECT_EQ(took(), time);
    EXPECT_EQ(peer.attempts, 0);
  };
  const std::string write = "An error occurred during the write.  Error 24057";
  peer.connectErrors = {24061};
  expect({"Unable to connect to mail.test.  Error 24061", write}, seconds(0));
  peer.silent = true;
  expect({"Unable to connect to mail.test.  Error 24060", write}, seconds(60));
  peer.knownPort = false;
  expect({"The specified service name is invalid", write}, seconds(0));
}

TEST_F(LineConversationTest, FailedWriteClosesTheConnection) {
  peer.failingWrite = 1;
  auto talk = [&]() -> base::Task<> {
    const auto turn = co_await conversation.turn();
    co_await conversation.connect("mail.test", "110");
    EXPECT_TRUE(conversation.SendData("USER a\r\n"));
    EXPECT_FALSE(conversation.SendData("PASS b\r\n"));
    EXPECT_FALSE(conversation.connected());
    EXPECT_EQ(peer.open, 0);
  };
  run(tasks, talk);
  loop.settle();
  EXPECT_TRUE(tasks.empty());
  EXPECT_EQ(dialogs.messages, Strings{"An error occurred during the write.  Error 24054"});
  EXPECT_EQ(peer.heard, Strings{"USER a"});
}

TEST_F(LineConversationTest, WhatTheNetworkDoesNotTakeFollowsLater) {
  peer.writes = {-24035, 3, -24035, 1};
  auto talk = [&]() -> base::Task<> {
    const auto turn = co_await conversation.turn();
    co_await conversation.connect("mail.test", "110");
    EXPECT_TRUE(conversation.SendData("USER a\r\n"));
    EXPECT_TRUE(conversation.SendData("PASS b\r\n"));
    result = co_await conversation.WaitFor("+OK\r\n+OK\r\n", 0);
  };
  peer.greeting = "";
  run(tasks, talk);
  loop.settle();
  EXPECT_EQ(result, true);
  EXPECT_EQ(peer.bytesHeard, "USER a\r\nPASS b\r\n");
  EXPECT_EQ(dialogs.messages, Strings{});
}

TEST_F(LineConversationTest, ReadErrorIsShownOnceAndEndsTheConnection) {
  peer.readError = 24054;
  hear("+OK\r\n", waitFor("+OK", 0));
  EXPECT_EQ(result, false);
  EXPECT_EQ(took(), seconds(0));
  EXPECT_EQ(dialogs.messages, Strings{"Unexpected error 24054 while reading data"});
}

TEST_F(LineConversationTest, EndlessReplyCostsNoMemoryAndTheTextInItIsFound) {
  // About 1 GB in the 60 seconds of the wait.
  peer.greeting = "+OK\r\n";
  peer.delay = milliseconds(1);
  const std::string chunk(16384, 'x');
  std::size_t longest = 0;
  peer.chatter = [&] {
    longest = std::max(longest, conversation.ReplyBuffer.capacity());
    return chunk;
  };
  hear("+OK\r\n", waitForReply("+OK", ReplyEnd::kMultiLine));
  EXPECT_EQ(result, false);
  EXPECT_GT(peer.bytesSaid, 900'000'000U);
  EXPECT_LE(longest, 2 * LineConversation::kReplyBytes);
  EXPECT_EQ(buffer.size(), LineConversation::kReplyBytes);
  EXPECT_EQ(buffer, ("+OK\r\n" + std::string(buffer.size() - 5, 'x')));
  EXPECT_EQ(conversation.ReplyBuffer.capacity(), std::string().capacity());
}

TEST_F(LineConversationTest, ReplyLongerThanTheBufferIsReadToItsEnd) {
  peer.pieceBytes = 60'001;
  const std::string line(10'000'000, '\0');
  hear("+OK\r\n" + line + "\r\n.\r\n", waitForReply("+OK", ReplyEnd::kMultiLine));
  EXPECT_EQ(result, true);
  EXPECT_EQ(buffer.size(), LineConversation::kReplyBytes);
  hear(line + "+OK\n", waitFor("+OK", 0));
  EXPECT_EQ(result, true);
  EXPECT_EQ(buffer, std::string(LineConversation::kReplyBytes, '\0'));
  // The end mark on the edge of what is kept.
  for (std::size_t over = 0; over < 8; ++over) {
    const std::string text = "+OK" + std::string(LineConversation::kReplyBytes - 8 + over, 'x');
    hear(text + "\r\n.\r\n", waitForReply("+OK", ReplyEnd::kMultiLine));
    EXPECT_EQ(result, true);
    EXPECT_EQ(buffer, (text + "\r\n").substr(0, LineConversation::kReplyBytes)) << over;
  }
}

class WaitingLineTest : public LineConversationTest {
 protected:
  base::Task<> talk(std::string name, std::function<bool()> wanted = {}) {
    const auto turn = co_await conversation.turn(std::move(wanted));
    if (!turn) {
      served.push_back("not " + name);
      co_return;
    }
    EXPECT_EQ(conversation.ReplyBuffer, "");
    served.push_back(name);
    co_await conversation.connect(name, "110");
    conversation.ReplyBuffer.clear();
    conversation.SendData(name + "\r\n");
    co_await conversation.WaitFor("+OK " + name, 0);
    EXPECT_EQ(conversation.ReplyBuffer, "+OK " + name + "\r\n");
    served.push_back(name + " done");
  }
  void SetUp() override {
    peer.greeting = "";
    peer.delay = seconds(1);
    peer.answer = [](const std::string& line) { return "+OK " + line + "\r\n"; };
  }
  void TearDown() override {
    EXPECT_EQ(peer.mostOpen, 1);
    EXPECT_EQ(peer.open, 0);
    EXPECT_TRUE(tasks.empty());
  }

  Strings served;
};

TEST_F(WaitingLineTest, FirstComeFirstServed) {
  for (const char* name : {"a", "b", "c"}) tasks.spawn(talk(name));
  loop.settle();
  EXPECT_EQ(served, Strings{"a"});
  // Whoever comes while the turn is being handed over is last all the same.
  loop.advance(seconds(2));
  tasks.spawn(talk("d"));
  loop.advance(seconds(60));
  EXPECT_EQ(served, (Strings{"a", "a done", "b", "b done", "c", "c done", "d", "d done"}));
}

TEST_F(WaitingLineTest, DroppedCallersLeaveTheLineAndTheConversation) {
  base::TaskGroup first;
  base::TaskGroup second;
  first.spawn(talk("a"));
  second.spawn(talk("b"));
  tasks.spawn(talk("c"));
  loop.advance(seconds(1));
  second.clear();
  EXPECT_EQ(peer.open, 1);
  first.clear();
  EXPECT_EQ(peer.open, 0);
  loop.advance(seconds(60));
  EXPECT_EQ(served, (Strings{"a", "c", "c done"}));
}

TEST_F(WaitingLineTest, CallerIsDroppedAtAnyMoment) {
  for (int step = 0; step < 30; ++step) {
    served.clear();
    peer.delay = milliseconds(10);
    auto group = std::make_unique<base::TaskGroup>();
    group->spawn(talk("a"));
    tasks.spawn(talk("b"));
    for (int i = 0; i < step; ++i) loop.advance(milliseconds(1));
    group.reset();
    loop.advance(seconds(10));
    EXPECT_EQ(served.back(), "b done") << step;
    EXPECT_EQ(peer.attempts, 0);
  }
}

TEST_F(WaitingLineTest, CallersThatAreNotWantedGetNoTurn) {
  bool wantsB = true;
  bool wantsC = true;
  tasks.spawn(talk("a"));
  tasks.spawn(talk("b", [&] { return wantsB; }));
  tasks.spawn(talk("c", [&] { return wantsC; }));
  loop.settle();
  wantsB = false;
  // Those who have gone leave at the latest when somebody else comes, so the line cannot grow without end.
  tasks.spawn(talk("d"));
  loop.settle();
  EXPECT_EQ(served, (Strings{"a", "not b"}));
  wantsC = false;
  loop.advance(seconds(60));
  EXPECT_EQ(served, (Strings{"a", "not b", "a done", "not c", "d", "d done"}));
}

TEST_F(WaitingLineTest, LentTurnGoesBackToWhoeverNeedsIt) {
  int claims = 0;
  std::optional<LineConversation::Turn> lent;
  const auto lend = [&] {
    lent.emplace(conversation.tryTurn([&] {
      ++claims;
      lent.reset();
    }));
    return static_cast<bool>(*lent);
  };
  // Nobody has it: it is lent once.
  EXPECT_TRUE(lend());
  EXPECT_FALSE(conversation.tryTurn({}));
  // Those who do not want it any more claim nothing.
  tasks.spawn(talk("gone", [] { return false; }));
  loop.settle();
  EXPECT_EQ(claims, 0);
  for (const char* name : {"a", "b"}) tasks.spawn(talk(name));
  loop.settle();
  EXPECT_EQ(claims, 1);
  // Neither while somebody talks nor while somebody waits.
  EXPECT_FALSE(lend());
  loop.advance(seconds(2));
  EXPECT_FALSE(lend());
  loop.advance(seconds(60));
  EXPECT_EQ(served, (Strings{"not gone", "a", "a done", "b", "b done"}));
  EXPECT_EQ(claims, 1);

  // Who has given it back in time is not asked for it.
  EXPECT_TRUE(lend());
  tasks.spawn(talk("c"));
  lent.reset();
  loop.advance(seconds(60));
  EXPECT_EQ(served.back(), "c done");
  EXPECT_EQ(claims, 1);
}

TEST_F(LineConversationTest, WatcherHearsWhatIsSaidAndTheEndOfIt) {
  std::string heard;
  conversation.watcher = {[&](std::string_view text) { heard.append("> ").append(text); },
                          [&](std::string_view bytes) { heard.append("< ").append(bytes); },
                          [&] { heard.append("[").append(conversation.status()).append("]"); }};
  auto talk = [&]() -> base::Task<> {
    const auto turn = co_await conversation.turn();
    co_await conversation.WaitForEnd();  // at once, there is none
    heard += "begun ";
    co_await conversation.connect("mail.test", "110");
    conversation.SendData("QUIT\r\n");
    co_await conversation.WaitForEnd();
    heard += "ended ";
  };
  peer.greeting = "hi\n";
  peer.answer = [&](const std::string&) {
    peer.closesAfter = 7;
    return "bye\n";
  };
  run(tasks, talk);
  loop.advance(seconds(200));
  EXPECT_EQ(heard, "begun [Connecting to mail.test...]> QUIT\r\n< hi\nbye\nended []");
  EXPECT_EQ(dialogs.messages, Strings{});
}

}  // namespace
}  // namespace kova::conversation
