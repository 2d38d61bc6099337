#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "fakes/fake_loop.h"
#include "fakes/fake_socket.h"
#include "platform/connector.h"

namespace kova::paging {

/// The network with one scripted SMTP server in it. The server answers as a friendly one would, but for what
/// the script says.
class SmtpPeer : public platform::Connector {
 public:
  explicit SmtpPeer(fakes::FakeLoop& loop) : loop_(loop) {}

  // Script. A step is "greeting", a command's word ("helo", "mail", "rcpt", "data", "QUIT") or "." for the
  // end of the mail.
  std::map<std::string, std::string> answers;  ///< instead of the friendly ones; "": none at all
  std::chrono::milliseconds delay{0};          ///< before each answer
  int connectError = 0;                        ///< nobody gets a connection
  std::optional<std::size_t> failingWrite;     ///< the write with this number, counted from 0, fails
  static constexpr int kWriteError = 24054;

  // Record.
  std::vector<std::string> mails;     ///< one text per conversation: all bytes that came
  std::vector<std::string> commands;  ///< first words of the lines outside mails
  std::vector<std::string> ports;
  std::vector<std::string> hosts;
  int open = 0;  ///< connections that stand now

  std::unique_ptr<Attempt> connect(const std::string& host, const std::string& port, Done done) override {
    hosts.push_back(host);
    ports.push_back(port);
    return std::make_unique<LaterAttempt>(loop_.callAfter({}, [this, done = std::move(done)] {
      if (connectError != 0) {
        done(nullptr, connectError);
        return;
      }
      mails.emplace_back();
      writes_ = 0;
      auto socket = std::make_unique<PeerSocket>(*this, mails.size() - 1);
      socket->accept(1);
      PeerSocket& server = *socket;
      done(std::move(socket), 0);
      server.answer("greeting");
    }));
  }

 private:
  struct LaterAttempt : Attempt {
    explicit LaterAttempt(std::unique_ptr<platform::EventLoop::Timer> c) : call(std::move(c)) {}
    std::unique_ptr<platform::EventLoop::Timer> call;
  };

  /// The program's end of a connection, with the server behind it.
  class PeerSocket : public fakes::FakeSocket {
   public:
    PeerSocket(SmtpPeer& network, std::size_t mail) : network_(network), mail_(mail) { ++network_.open; }
    ~PeerSocket() override { end(); }
    PeerSocket(const PeerSocket&) = delete;
    PeerSocket& operator=(const PeerSocket&) = delete;

    long write(std::string_view bytes) override {
      writes.clear();
      if (!connected()) writes.push_back(-platform::socket_error::kNotConnected);
      if (network_.failingWrite == network_.writes_++) writes.push_back(-kWriteError);
      const long count = FakeSocket::write(bytes);
      if (count < 0) return count;
      network_.mails[mail_].append(bytes);
      hear(bytes);
      return count;
    }

    int disconnect() override {
      end();
      return FakeSocket::disconnect();
    }

    void answer(const std::string& step) {
      static const std::map<std::string, std::string> kFriendly = {{"greeting", "220 mail.test ready\r\n"},
                                                                   {"helo", "250 mail.test\r\n"},
                                                                   {"mail", "250 sender ok\r\n"},
                                                                   {"rcpt", "250 receiver ok\r\n"},
                                                                   {"data", "354 go ahead\r\n"},
                                                                   {".", "250 taken\r\n"},
                                                                   {"QUIT", "221 bye\r\n"}};
      const auto scripted = network_.answers.find(step);
      const auto friendly = kFriendly.find(step);
      std::string text = friendly == kFriendly.end() ? "500 what?\r\n" : friendly->second;
      if (scripted != network_.answers.end()) text = scripted->second;
      inMail_ = step == "data" && text.starts_with("354");
      if (text.empty()) return;
      pending_.push_back(network_.loop_.callAfter(network_.delay, [this, text] {
        if (!connected()) return;
        incoming.push_back(text);
        if (events.read) events.read();
      }));
    }

   private:
    void end() {
      if (ended_) return;
      ended_ = true;
      --network_.open;
    }

    /// A write of the program is one command or more, a line each, or a part of the mail.
    void hear(std::string_view bytes) {
      if (inMail_) {
        if (bytes == ".\r\n") answer(".");
        return;
      }
      for (std::size_t end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n')) {
        const std::string_view line = base::trim(bytes.substr(0, end));
        bytes.remove_prefix(end + 1);
        network_.commands.emplace_back(line.substr(0, line.find(' ')));
        answer(network_.commands.back());
      }
    }

    SmtpPeer& network_;
    std::size_t mail_;
    bool inMail_ = false;
    bool ended_ = false;
    std::vector<std::unique_ptr<platform::EventLoop::Timer>> pending_;
  };

  fakes::FakeLoop& loop_;
  std::size_t writes_ = 0;
};

}  // namespace kova::paging
