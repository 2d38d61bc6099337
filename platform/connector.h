#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/socket.h"

namespace kova::platform {

/// Makes connections to other machines. Looking a name up and connecting take their time and never hold the
/// program.
class Connector {
 public:
  /// A connection that is being made. Destroying it gives it up; `done` is then not called any more.
  class Attempt {
   public:
    virtual ~Attempt() = default;
  };

  /// The connected socket, whose events nobody has asked for yet; or null, with the socket error number.
  using Done = std::function<void(std::unique_ptr<Socket> socket, int error)>;

  virtual ~Connector() = default;

  /// Starts connecting to a host (a name or a dotted address) on a port, given as a number or as a service
  /// name
  /// ("pop3"). `done` is called once, from the event loop, never from inside connect(). All addresses of the
  /// host are tried in turn. There is no time limit but the system's: a caller that has one destroys the
  /// attempt. Null when the port is neither a number from 1 to 65535 nor a known service; `done` is then not
  /// called.
  [[nodiscard]] virtual std::unique_ptr<Attempt> connect(const std::string& host, const std::string& port,
                                                         Done done) = 0;
};

}  // namespace kova::platform
