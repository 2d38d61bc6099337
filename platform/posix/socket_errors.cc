#include "platform/posix/socket_errors.h"

#include <netdb.h>

#include <cerrno>

namespace kova::platform::posix {

int windowsSocketsCode(int errnoValue) {
  static constexpr struct {
    int posix;
    int windows;
  } kCodes[] = {
      {EINTR, 10004},           {EBADF, 10009},         {EACCES, 10013},       {EPERM, 10013},
      {EFAULT, 10014},          {EINVAL, 10022},        {EMFILE, 10024},       {ENFILE, 10024},
      {EAGAIN, 10035},          {EINPROGRESS, 10036},   {EALREADY, 10037},     {ENOTSOCK, 10038},
      {EDESTADDRREQ, 10039},    {EMSGSIZE, 10040},      {EPROTOTYPE, 10041},   {ENOPROTOOPT, 10042},
      {EPROTONOSUPPORT, 10043}, {EOPNOTSUPP, 10045},    {EPFNOSUPPORT, 10046}, {EAFNOSUPPORT, 10047},
      {EADDRINUSE, 10048},      {EADDRNOTAVAIL, 10049}, {ENETDOWN, 10050},     {ENETUNREACH, 10051},
      {ENETRESET, 10052},       {ECONNABORTED, 10053},  {EPIPE, 10053},        {ECONNRESET, 10054},
      {ENOBUFS, 10055},         {ENOMEM, 10055},        {EISCONN, 10056},      {ENOTCONN, 10057},
      {ESHUTDOWN, 10058},       {ETIMEDOUT, 10060},     {ECONNREFUSED, 10061}, {EHOSTDOWN, 10064},
      {EHOSTUNREACH, 10065},
  };
  if (errnoValue == 0) return 0;
  for (const auto& code : kCodes) {
    if (code.posix == errnoValue) return code.windows;
  }
  return 10107;
}

bool isShortage(int errnoValue) {
  return errnoValue == EMFILE || errnoValue == ENFILE || errnoValue == ENOBUFS || errnoValue == ENOMEM;
}

int socketErrorOf(int errnoValue) { return errnoValue == 0 ? 0 : 14000 + windowsSocketsCode(errnoValue); }

int windowsResolverCode(int resolverError) {
  switch (resolverError) {
    case 0:
      return 0;
    case EAI_NONAME:
      return 11001;
    case EAI_AGAIN:
      return 11002;
    case EAI_NODATA:
      return 11004;
    case EAI_SYSTEM:
      return windowsSocketsCode(errno);
    default:
      return 11003;
  }
}

int resolverErrorOf(int resolverError) {
  return resolverError == 0 ? 0 : 14000 + windowsResolverCode(resolverError);
}

}  // namespace kova::platform::posix
