#include "server/client_record.h"

#include <utility>

namespace kova::server {

void ResetClientRecord(ClientRecord& record) {
  ClientRecord fresh;
  fresh.AcceptHeader = std::move(record.AcceptHeader);
  record = std::move(fresh);
}

}  // namespace kova::server
