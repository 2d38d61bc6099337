// From the first byte of a request to the file that answers it.

#include "server/requests.h"
#include "base/wait.h"
#include "server_fixture.h"

namespace kova::server {
namespace {

TEST(Converthexa, DecodesBehindTheFirstQuestionMark) {
  struct Case {
    const char* text;
    const char* decoded;  // null: fails
  };
  const Case cases[] = {
      {"/acal?caltp=%41%42", "/acal?caltp=AB"},
      {"/a%41?b=%2f?%3F", "/a%41?b=/??"},
      {"caltp=a+b%20c", "caltp=a+b c"},
      {"%2541", "%41"},
      {"/acal", "/acal"},
      {"", ""},
      {"?", "?"},
      {"/a?%zz", nullptr},
      {"/a?%4", nullptr},
      {"/a?%", nullptr},
      {"/a?% 1", nullptr},
      {"/a?%+1", nullptr},
  };
  for (const Case& c : cases) {
    const auto decoded = converthexa(c.text);
    ASSERT_EQ(decoded.has_value(), c.decoded != nullptr) << c.text;
    if (c.decoded) {
      EXPECT_EQ(*decoded, c.decoded);
    }
  }
  EXPECT_EQ(converthexa("?%00"), std::string("?\0", 2));
}

class RequestTest : public ServerTest {
 protected:
  RequestTest() {
    files.put("/home/kova/pages/index.wml", "<wml>start</wml>");
    RouteTable routes;
    for (const char* name :
         {"oabt", "pop3", "comd", "acal", "atsk", "acon", "anot", "ocal", "otsk", "onot", "ocon", "oeml"}) {
      const auto handler = [this, route = std::string(name)](const std::string& column) -> PageHandler {
        return [this, route, column](PageRequest request) { return build(route + " " + column, request); };
      };
      routes[name] = {handler("page"), handler("query"),
                      std::string(name) == "ocon" ? handler("search") : nullptr};
    }
    window->setRoutes(std::move(routes));
    start();
  }

  base::Task<int> build(std::string what, PageRequest request) {
    built.push_back(what + " " + request.F + " [" + request.parameters + "]");
    if (waits) co_await base::pause(loop, std::chrono::seconds(60));
    if (!request.wanted()) {
      built.push_back("given up");
      co_return 0;
    }
    if (!deck.empty()) files.put("/home/kova/pages" + request.F, deck);
    co_return status;
  }

  std::vector<std::string> built;
  std::string deck = "<wml>built</wml>";
  int status = 0;
  bool waits = false;
};

TEST_F(RequestTest, StartPageWithItsHeaderAndLog) {
  clock.now = {2004, 3, 17, 14, 5, 9};
  get("/");
  EXPECT_EQ(slot(1).allWritten(),
            "HTTP/1.1 200 OK\r\nContent-Type: text/vnd.wap.wml\r\n"
            "Cache-Control: no-cache, must-revalidate\r\nPragma: no-cache\r\nContent-Length: 16\r\n\r\n"
            "<wml>start</wml>");
  EXPECT_FALSE(slot(1).connected());
  EXPECT_EQ(lines, (std::vector<std::string>{"10.0.0.7 Connected on Index 1, Active Clients: 1",
                                             "Client 1 requested /index.wml", "Sending 16 bytes to client 1",
                                             "Socket 1 (handle = 100) disconnected: Finished sending data"}));
  EXPECT_TRUE(
      window->txtLogError.text().ends_with("04-03-17 14:05:09 Socket 1 (handle = 100) disconnected: "
                                           "Finished sending data\r\n"));
}

TEST_F(RequestTest, PiecesMakeOneRequest) {
  const std::string request = std::string("GET /index.wml HTTP/1.1\r\n") + kAccept + "\r\n\r\n";
  for (std::size_t cut = 5; cut < request.size(); ++cut) {
    connect(100);
    receive(1, request.substr(0, cut));
    EXPECT_TRUE(slot(1).written.empty()) << cut;
    receive(1, request.substr(cut));
    EXPECT_FALSE(slot(1).connected()) << cut;
    EXPECT_TRUE(slot(1).allWritten().ends_with("start</wml>")) << cut;
    slot(1).written.clear();
  }
}

TEST_F(RequestTest, PiecesThatComeDuringAYieldKeepTheirOrder) {
  const std::string request = std::string("GET /index.wml HTTP/1.1\r\n") + kAccept + "\r\n\r\n";
  for (const std::size_t rounds : {0U, 1U, 2U}) {
    connect(100);
    for (std::size_t at = 0; at < request.size(); at += 9) {
      slot(1).incoming.push_back(request.substr(at, 9));
      slot(1).events.read();
      for (std::size_t i = 0; i < rounds; ++i) loop.round();
    }
    loop.settle();
    EXPECT_TRUE(slot(1).allWritten().ends_with("start</wml>")) << rounds;
    slot(1).written.clear();
  }
}

TEST_F(RequestTest, WhatIsNoRequestIsIgnored) {
  connect(100);
  receive(1, "HEAD / HTTP/1.1\r\n\r\n");
  receive(1, "GE");
  receive(1, "T / HTTP/1.1\r\n\r\n");
  EXPECT_TRUE(slot(1).connected());
  EXPECT_TRUE(slot(1).written.empty());
  receive(1, std::string("GET / HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  EXPECT_TRUE(slot(1).allWritten().ends_with("start</wml>"));
}

TEST_F(RequestTest, BareLineFeedsNeverCompleteARequest) {
  connect(100);
  receive(1, "GET / HTTP/1.1\nHost: pc\n\n");
  EXPECT_TRUE(slot(1).connected());
  EXPECT_TRUE(slot(1).written.empty());
}

TEST_F(RequestTest, MalformedRequestsAreDroppedAndCountedOff) {
  connect(100);
  receive(1, "GET /x\r\n\r\n");
  EXPECT_EQ(lines.back(),
            "Socket 1 (handle = 100) disconnected: Error occurred while parsing the GET command");
  // A POST is taken as it comes, so its request line may lack an end: the road on which the socket is closed
  // first.
  for (int i = 0; i < 10; ++i) {
    connect(101);
    slot(1).disconnectStatus = 24057;
    receive(1, "POST /ocal HTTP/1.1");
    EXPECT_TRUE(logged("Error occurred durring disconnect: Error #: 24057 on client 10.0.0.7 at BYTE 0"));
    EXPECT_EQ(lines.back(),
              "******************* Socket 1 (handle = 101) previously disconnected: "
              "Error occurred while parsing the GET command");
  }
  EXPECT_EQ(window->title(), "Tarvel Wap Server [0 Clients]");
  EXPECT_TRUE(built.empty());
}

TEST_F(RequestTest, ReadErrors) {
  connect(100);
  slot(1).readError = 24035;
  slot(1).events.read();
  slot(1).readError = 24036;
  slot(1).events.read();
  EXPECT_TRUE(slot(1).connected());
  slot(1).readError = 24054;
  slot(1).events.read();
  EXPECT_FALSE(slot(1).connected());
  EXPECT_EQ(lines[1], "Socket 1 (handle = 100) disconnected: Error occurred durring the read event: Error #");
  EXPECT_EQ(lines[2], "Error occurred durring the read event: Error #: 24054 on client 10.0.0.7 at BYTE 0");
}

TEST_F(RequestTest, ARequestWithoutEndIsGivenUp) {
  connect(100);
  const std::string header = "X-Filler: " + std::string(2000, 'x') + "\r\n";
  receive(1, "GET / HTTP/1.1\r\n");
  int pieces = 0;
  while (slot(1).connected() && pieces < 1000) {
    receive(1, header);
    ++pieces;
  }
  EXPECT_LT(pieces, 40);
  EXPECT_EQ(window->title(), "Tarvel Wap Server [0 Clients]");
}

TEST_F(RequestTest, APhoneThatHangsUpDuringAYieldIsForgotten) {
  connect(100);
  slot(1).incoming.push_back(std::string("GET / HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  slot(1).events.read();
  slot(1).events.disconnect();
  connect(101);
  loop.settle();
  EXPECT_TRUE(slot(1).connected()) << "the next phone on the slot was answered with the last one's request";
  EXPECT_TRUE(slot(1).written.empty());
}

TEST_F(RequestTest, TheAcceptLineOfTheLastClientStaysInItsSlot) {
  connect(100);
  receive(1, std::string("GET / HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  slot(1).written.clear();
  connect(101);
  receive(1, "GET / HTTP/1.0\r\n\r\n");
  EXPECT_TRUE(slot(1).allWritten().ends_with("start</wml>"));
  EXPECT_TRUE(noSupportDecks.empty());
}

TEST_F(RequestTest, LogLinesCannotBeForged) {
  connect(100);
  receive(1, "GET /x\r\n04-01-01\x9B 00:00:00 Client\x01 9 HTTP/1.1\r\n\r\n");
  EXPECT_TRUE(logged("Client 1 requested /x..04-01-01."));
}

TEST_F(RequestTest, GetRoutes) {
  struct Case {
    const char* path;
    const char* built;
  };
  const Case cases[] = {
      {"/oabt", "oabt page /oabt1.tmp []"},
      {"/oabt?x=1", "oabt query /oabt1.tmp [x=1]"},
      {"/ocal", "ocal page /ocal1.tmp []"},
      {"ocal?caltp=D&dat=03/14", "ocal query /ocal1.tmp [caltp=D&dat=03/14]"},
      {"/ocal?caltp=D&dat=03%2F14", "ocal query /ocal1.tmp [caltp=D&dat=03%2F14]"},
      {"/ocal?", "ocal query /ocal1.tmp []"},
      {"/ocalendar", "ocal page /ocal1.tmp []"},
      {"/ocal1.tmp", "ocal page /ocal1.tmp []"},
      {"/ocon?caltp=3", "ocon search /ocon1.tmp [caltp=3]"},
      {"/ocon?contp=07", "ocon query /ocon1.tmp [contp=07]"},
      {"/ocon?l=a", "ocon query /ocon1.tmp [l=a]"},
      {"/oeml?caltp=02", "oeml query /oeml1.tmp [caltp=02]"},
      {"/acal?caltp=Caf%C3%A9%3F&pin=1", "acal query /acal1.tmp [caltp=Caf\xC3\xA9?&pin=1]"},
      {"/anot?caltp=a+b%20c", "anot query /anot1.tmp [caltp=a+b c]"},
      {"/pop3?caltp=%31", "pop3 query /pop31.tmp [caltp=1]"},
      {"/comd", "comd page /comd1.tmp []"},
  };
  for (const Case& c : cases) {
    built.clear();
    get(c.path);
    ASSERT_EQ(built.size(), 1U) << c.path;
    EXPECT_EQ(built[0], c.built);
    EXPECT_TRUE(slot(1).allWritten().ends_with("built</wml>")) << c.path;
    EXPECT_FALSE(files.exists("/home/kova/pages/ocal1.tmp"));
    slot(1).written.clear();
  }
}

TEST_F(RequestTest, PostRoutes) {
  files.put("/home/kova/pages/oeml", "just a file");
  struct Case {
    const char* path;
    const char* body;
    const char* built;  // empty: served as a file
  };
  const Case cases[] = {
      {"/ocal", "caltp=D&dat=03%2F14", "ocal query /ocal1.tmp [caltp=D&dat=03/14]"},
      {"/ocon", "caltp=Smi", "ocon search /ocon1.tmp [caltp=Smi]"},
      {"/acal", "caltp=Lunch%20%26+x&pin=1", "acal query /acal1.tmp [caltp=Lunch &+x&pin=1]"},
      {"/atsk", "", "atsk query /atsk1.tmp []"},
      {"/acon", "a", "acon query /acon1.tmp [a]"},
      {"/anot", "a", "anot query /anot1.tmp [a]"},
      {"/onot", "caltp=01", "onot query /onot1.tmp [caltp=01]"},
      {"/oeml", "caltp=01", ""},
  };
  for (const Case& c : cases) {
    built.clear();
    connect(100);
    receive(1, std::string("POST ") + c.path + " HTTP/1.1\r\n" + kAccept + "\r\n\r\n" + c.body);
    EXPECT_EQ(built.empty() ? "" : built[0], c.built);
    EXPECT_TRUE(logged(std::string("Client 1 Post parameters: ") + c.body));
    EXPECT_FALSE(slot(1).connected());
  }
}

TEST_F(RequestTest, APostBodyThatComesLaterIsLost) {
  connect(100);
  waits = true;
  receive(1, std::string("POST /acal HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  receive(1, "caltp=Lunch&pin=4711");
  loop.advance(std::chrono::seconds(60));
  EXPECT_EQ(built, std::vector<std::string>{"acal query /acal1.tmp []"});
}

TEST_F(RequestTest, AQueryThatCannotBeDecodedDropsTheClient) {
  get("/acal?caltp=100%&pin=4711");
  EXPECT_EQ(lines.back(),
            "Socket 1 (handle = 100) disconnected: Error occurred while parsing the GET command");
  connect(101);
  receive(1, std::string("POST /acal HTTP/1.1\r\n") + kAccept + "\r\n\r\n%");
  EXPECT_EQ(lines.back(),
            "Socket 1 (handle = 101) disconnected: Error occurred while parsing the GET command");
  EXPECT_TRUE(built.empty());
  EXPECT_TRUE(slot(1).written.empty());
  EXPECT_EQ(window->title(), "Tarvel Wap Server [0 Clients]");
}

TEST_F(RequestTest, AHandlersStatusCanKeepTheAnswerBack) {
  status = 1;
  get("/comd?caltp=1");
  EXPECT_TRUE(slot(1).written.empty());
  EXPECT_TRUE(slot(1).connected());
}

TEST_F(RequestTest, APageThatCannotBeBuiltIsToldInWords) {
  deck.clear();
  get("/ocal");
  EXPECT_EQ(slot(1).allWritten(), "Error 404: The Page is not available.");
  EXPECT_TRUE(logged("File Availability Error: /ocal1.tmp  #: 53 on client 10.0.0.7 at BYTE 0"));
  EXPECT_EQ(lines.back(), "Socket 1 (handle = 100) disconnected: Finished sending data");
}

TEST_F(RequestTest, ASlowPageDoesNotReachTheNextPhoneOnItsSlot) {
  waits = true;
  get("/pop3?caltp=1");
  slot(1).events.disconnect();
  waits = false;
  loop.advance(std::chrono::seconds(30));
  connect(101);
  deck = "";
  loop.advance(std::chrono::seconds(30));
  EXPECT_EQ(built.back(), "given up");
  EXPECT_TRUE(slot(1).connected());
  EXPECT_TRUE(slot(1).written.empty());
}

TEST_F(RequestTest, ImageRoute) {
  files.put("/home/kova/pictures/me.png", "PNG");
  files.put("/home/kova/pages/logo.png", "LOGO");
  window->txtimage.setText("/home/kova/pictures/me.png");
  for (const char* path : {"/oimg", "oimg", "/oimg?x"}) {
    get(path);
    EXPECT_TRUE(slot(1).allWritten().ends_with("\r\n\r\nPNG")) << path;
    slot(1).written.clear();
  }
  window->txtimage.setText("logo.png");
  get("/oimg");
  EXPECT_TRUE(slot(1).allWritten().ends_with("\r\n\r\nLOGO"));
  slot(1).written.clear();
  window->txtimage.setText("/home/kova/pictures/gone.png");
  get("/oimg");
  EXPECT_TRUE(slot(1).written.empty());
}

TEST_F(RequestTest, NothingOutsideThePageDirectory) {
  files.put("/home/kova/secret.txt", "secret");
  files.put("/home/kova/pages-old/x.txt", "secret");
  files.put("C:/secret.txt", "secret");
  files.put("/home/kova/pages/../secret.txt", "secret");
  files.put("/home/kova/pages/a/../../secret.txt", "secret");
  files.put("/home/kova/pages/..\\secret.txt", "secret");
  for (const char* path :
       {"/../secret.txt", "../secret.txt", "/a/../../secret.txt", "C:/secret.txt", "/..\\secret.txt",
        "/home/kova/secret.txt", "-old/x.txt", "/..", "/C:/secret.txt"}) {
    get(path);
    EXPECT_TRUE(slot(1).written.empty()) << path;
    EXPECT_FALSE(slot(1).connected()) << path;
    EXPECT_EQ(loggedLike("File Availability Error: "),
              std::string("File Availability Error: ") + path + "  #: 53 on client 10.0.0.7 at BYTE 0");
    lines.clear();
  }
}

TEST_F(RequestTest, AnotherPhonesDeckIsNoPage) {
  files.put("/home/kova/pages//acal2.tmp", "secret");
  files.put("/home/kova/pages/pop33.tmp", "secret");
  files.put("/home/kova/pages//acal.tmp", "the owner's");
  get("//acal2.tmp");
  connect(101);
  receive(1, std::string("POST /pop33.tmp HTTP/1.1\r\n") + kAccept + "\r\n\r\n");
  EXPECT_TRUE(slot(1).written.empty());
  EXPECT_TRUE(files.exists("/home/kova/pages/pop33.tmp"));
  get("//acal.tmp");
  EXPECT_TRUE(slot(1).allWritten().ends_with("the owner's"));
}

TEST_F(RequestTest, ADeckThatACrashLeftBehindAnswersNobody) {
  files.put("/home/kova/pages/acal1.tmp", "The meeting has been added");
  deck.clear();
  get("/acal?caltp=x");
  EXPECT_EQ(slot(1).allWritten(), "Error 404: The Page is not available.");
}

TEST_F(RequestTest, WhoAsksForNothingIsNotWaitedForLongerThanAMinute) {
  connect(100);
  connect(101);
  slot(2).incoming.push_back("GET / HTTP/1.1\r\n");
  slot(2).events.read();
  loop.advance(std::chrono::seconds(59));
  EXPECT_TRUE(slot(1).connected() && slot(2).connected());
  loop.advance(std::chrono::seconds(1));
  EXPECT_FALSE(slot(1).connected() || slot(2).connected());
  EXPECT_EQ(window->title(), "Tarvel Wap Server [0 Clients]");

  waits = true;
  get("/pop3?caltp=1");
  loop.advance(std::chrono::seconds(59));
  EXPECT_TRUE(slot(1).connected());
  loop.advance(std::chrono::seconds(1));
  EXPECT_TRUE(slot(1).allWritten().ends_with("built</wml>"));
}

TEST_F(RequestTest, WhatComesBehindACompleteRequestIsThrownAway) {
  connect(100);
  for (const char* piece :
       {"GET / HTTP/1.1\r\nAccept: text/vnd.wap.wml\r\n\r\n", "GET /x HTTP/1.1\r\n\r\n", "abc"}) {
    slot(1).incoming.push_back(piece);
    slot(1).events.read();
  }
  loop.settle();
  EXPECT_TRUE(slot(1).allWritten().ends_with("start</wml>"));
}

TEST_F(RequestTest, TheOwnersDataIsNoPageEvenInThePageDirectory) {
  files.put("/home/kova/tarvel_wap.ini", "[Main]");
  files.put("/home/kova//tarvel_wap.ini", "[Main]");
  files.put("/home/kova/./tarvel_wap.ini", "[Main]");
  files.put("/home/kova/outlook/contacts/a.vcf", "BEGIN:VCARD");
  files.put("/home/kova/outlooks.txt", "a page");
  window->editPageDirectory.setText("/home/kova/");
  for (const char* path :
       {"/tarvel_wap.ini", "//tarvel_wap.ini", "/./tarvel_wap.ini", "/outlook/contacts/a.vcf"}) {
    get(path);
    EXPECT_TRUE(slot(1).written.empty()) << path;
  }
  get("/outlooks.txt");
  EXPECT_TRUE(slot(1).allWritten().ends_with("a page"));
}

TEST_F(RequestTest, WhereOneFileHasManyNamesNoneOfThemGivesAwayThePrivateOnes) {
  files.separatorChar = '\\';
  open();
  window->load();
  window->editPageDirectory.setText("/home/kova/");
  window->cmdListen.click();
  for (const char* name : {"TARVEL_WAP.INI", ".\\tarvel_wap.ini", "tarvel_wap.ini ", "tarvel_wap.ini.NEW",
                           "Outlook\\contacts/a.vcf", "ACAL2.tmp", "x\\acal2.tmp"}) {
    files.put(std::string("/home/kova/") + name, "private");
    get(std::string("/") + name);
    EXPECT_TRUE(slot(1).written.empty()) << name;
  }
  files.put("/home/kova/Pages\\INDEX.WML", "a page");
  get("/Pages\\INDEX.WML");
  EXPECT_TRUE(slot(1).allWritten().ends_with("a page"));
}

TEST_F(RequestTest, AnEmptyPageDirectoryIsTheProgramsFolderAndNotTheDisk) {
  files.put("/etc/passwd", "root");
  files.put("/home/kova/x.txt", "mine");
  for (const char* folder : {"", "/"}) {
    window->editPageDirectory.setText(folder);
    get("/etc/passwd");
    EXPECT_TRUE(slot(1).written.empty());
    get("/x.txt");
    EXPECT_TRUE(slot(1).allWritten().ends_with("mine"));
    slot(1).written.clear();
  }
}

}  // namespace
}  // namespace kova::server
