#include "server/slots.h"

#include <limits>
#include <string>

namespace kova::server {

ClientSlots::ClientSlots(platform::SocketFactory& sockets, platform::Files& files, ServerLog& log)
    : sockets_(sockets), files_(files), log_(log) {
  auto listener = std::make_unique<Slot>();
  listener->socket = sockets_.makeSocket();
  platform::SocketEvents events;
  events.accept = [this](platform::PendingHandle pending) { accepted(pending); };
  listener->socket->setEvents(std::move(events));
  slots_.push_back(std::move(listener));
}

void ClientSlots::accepted(platform::PendingHandle pending) {
  for (int i = 1; i <= LastSlot(); ++i) {
    if (sockServer(i).connected()) continue;
    Slot& slot = *slots_[static_cast<std::size_t>(i)];
    release(slot);
    ResetClientRecord(slot.record);
    slot.socket->accept(pending);
    return;
  }
  if (slots_.size() > static_cast<std::size_t>(std::numeric_limits<std::int16_t>::max())) return;
  addSlot();
  sockServer(LastSlot()).accept(pending);
}

void ClientSlots::addSlot() {
  auto slot = std::make_unique<Slot>();
  slot->socket = sockets_.makeSocket();
  slot->socket->setReuseAddress(true);
  slot->socket->setNoDelay(true);
  const int index = LastSlot() + 1;
  platform::SocketEvents events;
  events.connect = [this, index] { connected(index); };
  events.read = [this, index] { onRead(index); };
  events.writeReady = [this, index] { onWriteReady(index); };
  events.disconnect = [this, index] {
    // The rest of a file that cannot be read shows in the end of its connection.
    const bool fileFailed = sockServer(index).lastError() == platform::socket_error::kFileUnreadable;
    const std::string& path = client(index).RequestPath;
    DropClient(index,
               fileFailed ? "File error occurred during reading of file: " + path : "Disconnect Event");
    onStateChanged();
  };
  slot->socket->setEvents(std::move(events));
  slots_.push_back(std::move(slot));
}

void ClientSlots::connected(int index) {
  if (ActiveClients_ >= MaxClients) {
    log_.LogLine("Maximum number of clients exceeded, dropping #" + std::to_string(index));
    sockServer(index).disconnect();
    return;
  }
  slots_[static_cast<std::size_t>(index)]->counted = true;
  ++ActiveClients_;
  log_.LogLine(sockServer(index).peerAddress() + " Connected on Index " + std::to_string(index) +
               ", Active Clients: " + std::to_string(ActiveClients_));
  onConnected(index);
  onStateChanged();
}

void ClientSlots::DropClient(int index, std::string_view reason, int error) {
  platform::Socket& socket = sockServer(index);
  std::string line =
      "Socket " + std::to_string(index) + " (handle = " + std::to_string(socket.handle()) + ") ";
  if (socket.connected()) {
    log_.LogLine(line.append("disconnected: ").append(reason));
  } else {
    log_.LogLine("******************* " + line.append("previously disconnected: ").append(reason));
  }
  disconnect(index);
  if (error != 0) log_.LogError(reason, error, socket.peerAddress(), client(index).SentPos);
  if (ActiveClients_ < 0) log_.LogLine("***************** Active Clients < 0 **************");
  release(*slots_[static_cast<std::size_t>(index)]);
}

int ClientSlots::disconnect(int index) {
  Slot& slot = *slots_[static_cast<std::size_t>(index)];
  const int status = slot.socket->connected() ? slot.socket->disconnect() : 0;
  // Every road on which a connection ends leads through here, so the count is that of the connected clients.
  if (slot.counted) {
    slot.counted = false;
    --ActiveClients_;
  }
  return status;
}

void ClientSlots::resetRecords() {
  for (const auto& slot : slots_) {
    if (!slot->socket->connected()) slot->record = ClientRecord();
  }
}

void ClientSlots::release(Slot& slot) {
  ++slot.generation;
  slot.record.FileNumber.reset();
  slot.record.RequestState = kIdle;
  if (!slot.record.TemporaryDeck.empty()) {
    files_.remove(slot.record.TemporaryDeck);
    slot.record.TemporaryDeck.clear();
  }
}

}  // namespace kova::server
