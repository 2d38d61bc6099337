// What goes out to a phone, piece by piece.

#include "server/responses.h"

#include <algorithm>

#include "server_fixture.h"

namespace kova::server {
namespace {

class ResponseTest : public ServerTest {
 protected:
  ResponseTest() { start(); }

  void page(const std::string& name, std::string content) {
    files.put("/home/kova/pages/" + name, std::move(content));
  }

  static std::string bytes(std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += static_cast<char>('a' + i % 26);
    return text;
  }

  std::string body() {
    const std::string all = slot(1).allWritten();
    const auto end = all.find("\r\n\r\n");
    return end == std::string::npos ? all : all.substr(end + 4);
  }
};

TEST_F(ResponseTest, FilesGoOutInPiecesOf1024Bytes) {
  struct Case {
    std::size_t length;
    std::vector<std::size_t> pieces;  // without the header in front of the first
  };
  const Case cases[] = {
      {0, {}},
      {1, {}},
      {2, {2}},
      {1024, {1024}},
      {1025, {1024}},
      {1026, {1024, 2}},
      {2049, {1024, 1024}},
      {2500, {1024, 1024, 452}},
  };
  for (const Case& c : cases) {
    page("x.txt", bytes(c.length));
    get("/x.txt");
    std::vector<std::size_t> pieces;
    for (const auto& piece : slot(1).written) pieces.push_back(piece.size());
    if (!pieces.empty()) pieces[0] -= slot(1).allWritten().find("\r\n\r\n") + 4;
    EXPECT_EQ(pieces, c.pieces) << c.length;
    EXPECT_TRUE(bytes(c.length).starts_with(body())) << c.length;
    EXPECT_EQ(lines.back(), "Socket 1 (handle = 100) disconnected: Finished sending data") << c.length;
    slot(1).written.clear();
  }
}

TEST_F(ResponseTest, ContentTypes) {
  struct Case {
    const char* name;
    const char* type;
  };
  const Case cases[] = {
      {"a.htm", "text/html"},
      {"a.html", "text/html"},
      {"a.png", "image/png"},
      {"a.bmp", "image/bmp"},
      {"a.jpg", "image/jpeg"},
      {"a.gif", "image/gif"},
      {"a.txt", "text/txt"},
      {"a.exe", "application/exe"},
      {"a.wml", "text/vnd.wap.wml"},
      {"a.tmp", "text/vnd.wap.wml"},
      {"a.WML", "application/octet-stream"},
      {"a", "application/octet-stream"},
      {"a.wml.gz", "application/octet-stream"},
  };
  for (const Case& c : cases) {
    page(c.name, "content");
    connect(100);
    receive(1, std::string("GET /") + c.name + " HTTP/1.1\r\nAccept: x/y," + c.type + ";q=1\r\n\r\n");
    EXPECT_NE(slot(1).allWritten().find(std::string("\r\nContent-Type: ") + c.type + "\r\n"),
              std::string::npos)
        << c.name;
    slot(1).written.clear();
  }
  EXPECT_TRUE(noSupportDecks.empty());
}

TEST_F(ResponseTest, WhatAPhoneDoesNotAcceptItDoesNotGet) {
  page("nosupport.wml", "no support");
  page("x.png", "PNG");
  struct Case {
    const char* accept;
    const char* body;
  };
  const Case cases[] = {
      {"Accept: text/vnd.wap.wml\r\n", "no support"},
      {"", "no support"},
      {"Accept: */*\r\n", "no support"},
      {"accept: image/png\r\n", "no support"},
      {"Accept: image/png\r\n", "PNG"},
      {"Accept: text/html\r\n", "PNG"},
      {"Accept: text/html, x\r\n", "no support"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.accept);
    open();
    start();
    noSupportDecks.clear();
    connect(100);
    receive(1, std::string("GET /x.png HTTP/1.1\r\n") + c.accept + "\r\n");
    EXPECT_EQ(body(), c.body);
    // The deck is written where the program runs, whatever the page directory is.
    const bool refused = std::string(c.body) == "no support";
    EXPECT_EQ(noSupportDecks,
              refused ? std::vector<std::string>{"nosupport.wml"} : std::vector<std::string>{});
  }
}

TEST_F(ResponseTest, AMissingFileIsAnsweredByClosing) {
  get("/gone.txt");
  EXPECT_TRUE(slot(1).written.empty());
  EXPECT_EQ(lines[2], "File Availability Error: /gone.txt  #: 53 on client 10.0.0.7 at BYTE 0");
  EXPECT_EQ(lines[3], "Socket 1 (handle = 100) disconnected: Finished sending data");
}

TEST_F(ResponseTest, AWriteThatWouldBlockIsResumedBehindTheLostPiece) {
  page("x.txt", bytes(3000));
  for (const int error : {24035, 24036}) {
    connect(100);
    slot(1).written.clear();
    slot(1).writes = {10000, -error};
    receive(1, std::string("GET /x.txt HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
    EXPECT_TRUE(slot(1).connected());
    EXPECT_EQ(lines.back(), std::string(error == 24035 ? "WOULDBLOCK" : "INPROGRESS") +
                                " error occurred: Error #: " + std::to_string(error) +
                                " on client 10.0.0.7 at BYTE 2049");
    slot(1).events.writeReady();
    EXPECT_FALSE(slot(1).connected());
    EXPECT_EQ(body(), bytes(3000).substr(0, 1024) + bytes(3000).substr(2048));
  }
}

TEST_F(ResponseTest, ASocketThatIsNotReadyLosesNothing) {
  page("x.txt", bytes(3000));
  connect(100);
  slot(1).ready = false;
  receive(1, std::string("GET /x.txt HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  EXPECT_TRUE(slot(1).written.empty());
  slot(1).events.writeReady();
  slot(1).ready = true;
  slot(1).events.writeReady();
  EXPECT_EQ(body(), bytes(3000));
  EXPECT_FALSE(slot(1).connected());
  EXPECT_EQ(std::ranges::count(lines, "Sending 3000 bytes to client 1"), 1);
}

TEST_F(ResponseTest, AFileWhoseRestCannotBeReadEndsItsConnection) {
  page("x.txt", bytes(3000));
  connect(100);
  slot(1).ready = false;
  receive(1, std::string("GET /x.txt HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  slot(1).end(platform::socket_error::kFileUnreadable);
  EXPECT_EQ(lines.back(),
            "Socket 1 (handle = 100) disconnected: File error occurred during reading of file: /x.txt");
  EXPECT_EQ(files.openFiles, 0);
}

TEST_F(ResponseTest, AnyOtherWriteErrorDropsTheClient) {
  page("x.txt", bytes(3000));
  connect(100);
  slot(1).writes = {10000, -24054};
  receive(1, std::string("GET /x.txt HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  EXPECT_EQ(lines.back(),
            "Socket 1 (handle = 100) disconnected: Error occurred during request state #3: Error #24054");
  EXPECT_EQ(files.openFiles, 0);
}

TEST_F(ResponseTest, AFileThatCannotBeReadDropsTheClient) {
  page("x.txt", bytes(3000));
  files.failReadAt = 1024;
  get("/x.txt");
  EXPECT_EQ(lines.back(),
            "Socket 1 (handle = 100) disconnected: File error occurred during reading of file: /x.txt");
  EXPECT_EQ(files.openFiles, 0);
}

TEST_F(ResponseTest, TemporaryFilesGoAfterSending) {
  page("x.tmp", "content");
  get("/x.tmp");
  EXPECT_EQ(body(), "content");
  EXPECT_FALSE(files.exists("/home/kova/pages/x.tmp"));
}

class DeckTest : public ResponseTest {
 protected:
  DeckTest() {
    RouteTable routes;
    routes["ocal"].page = [this](PageRequest request) -> base::Task<int> {
      page(request.F.substr(1), bytes(3000));
      co_return 0;
    };
    window->setRoutes(std::move(routes));
  }

  bool deckThere() const { return files.exists("/home/kova/pages/ocal1.tmp"); }
};

TEST_F(DeckTest, ADeckIsGoneOnEveryRoad) {
  get("/ocal");
  EXPECT_EQ(body(), bytes(3000));
  EXPECT_FALSE(deckThere()) << "after sending";

  connect(100);
  slot(1).ready = false;
  receive(1, std::string("GET /ocal HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  EXPECT_TRUE(deckThere());
  slot(1).events.disconnect();
  EXPECT_FALSE(deckThere()) << "after a hang-up";
  EXPECT_EQ(files.openFiles, 0);

  connect(100);
  slot(1).ready = true;
  slot(1).writes = {-24054};
  receive(1, std::string("GET /ocal HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  EXPECT_FALSE(deckThere()) << "after a write error";
}

TEST_F(DeckTest, ADeckThatThePhoneDoesNotAcceptIsGoneToo) {
  page("nosupport.wml", "no support");
  connect(100);
  receive(1, "GET /ocal HTTP/1.1\r\n\r\n");
  EXPECT_EQ(body(), "no support");
  EXPECT_FALSE(deckThere());
}

TEST_F(ResponseTest, WriteStringGoesOnBehindPartialWrites) {
  connect(100);
  slot(1).writes = {5, 3};
  RouteTable routes;
  routes["oabt"].page = [](PageRequest) -> base::Task<int> { co_return 0; };
  window->setRoutes(std::move(routes));
  receive(1, std::string("GET /oabt HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  EXPECT_EQ(slot(1).allWritten(), "Error 404: The Page is not available.");
  EXPECT_FALSE(slot(1).connected());

  connect(101);
  slot(1).written.clear();
  slot(1).writes = {5, -24035};
  receive(1, std::string("GET /oabt HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  EXPECT_EQ(slot(1).allWritten(), "Error");
  EXPECT_TRUE(
      logged("WOULDBLOCK error occurred during writing of the headers: Error #: 24035 on client 10.0.0.7 at "
             "BYTE 5"));
  EXPECT_FALSE(slot(1).connected()) << "the text is not waited for";
}

}  // namespace
}  // namespace kova::server
