#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/socket.h"
#include "server/client_record.h"
#include "server/log.h"

namespace kova::server {

/// The socket array of the server: index 0 listens, indexes 1 and up serve one client each. Slots are made
/// when all are taken, used again lowest index first, and never unmade.
class ClientSlots {
 public:
  ClientSlots(platform::SocketFactory& sockets, platform::Files& files, ServerLog& log);

  platform::Socket& sockServer(int index) { return *slots_[static_cast<std::size_t>(index)]->socket; }
  ClientRecord& client(int index) { return slots_[static_cast<std::size_t>(index)]->record; }

  std::int16_t LastSlot() const { return static_cast<std::int16_t>(slots_.size() - 1); }
  std::int16_t ActiveClients() const { return ActiveClients_; }
  std::int16_t MaxClients = 10;

  /// Tells one client of a slot from the next: changes when the slot is left by its client.
  std::uint64_t generation(int index) const { return slots_[static_cast<std::size_t>(index)]->generation; }
  bool serves(int index, std::uint64_t generation) const { return this->generation(index) == generation; }

  /// Closes one client's connection and writes its log line, whether the connection still stands or not. What
  /// was under way for the client ends: its file is closed and its temporary deck removed. An error number
  /// other than 0 is logged with the peer's address.
  void DropClient(int index, std::string_view reason, int error = 0);

  /// Closes a client's connection and counts it off, without a log line and without ending its record.
  /// Returns the socket's own status, non-zero on failure.
  int disconnect(int index);

  /// Forgets all records, for a server that starts afresh.
  void resetRecords();

  // Events of a client slot, raised with its index.
  std::function<void(int)> onConnected;
  std::function<void(int)> onRead;
  std::function<void(int)> onWriteReady;
  /// The number of clients or what is shown of it may have changed.
  std::function<void()> onStateChanged;

 private:
  struct Slot {
    std::unique_ptr<platform::Socket> socket;
    ClientRecord record;
    std::uint64_t generation = 0;
    bool counted = false;
  };

  void accepted(platform::PendingHandle pending);
  void connected(int index);
  void addSlot();
  void release(Slot& slot);

  platform::SocketFactory& sockets_;
  platform::Files& files_;
  ServerLog& log_;
  std::vector<std::unique_ptr<Slot>> slots_;
  std::int16_t ActiveClients_ = 0;
};

}  // namespace kova::server
