#include "engine/net/SocketErrors.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <netdb.h>

namespace veltrane {
namespace {

struct Row {
  int systemError;
  qint32 number;
  const char* text;
};

constexpr std::array kErrors{
    Row{EINTR, 10004, "Interrupted"},
    Row{EBADF, 10009, "Bad descriptor"},
    Row{EACCES, kSocketNotAllowed, "Permission denied"},
    Row{EPERM, kSocketNotAllowed, "Permission denied"},
    Row{EFAULT, 10014, "Bad address"},
    Row{EINVAL, 10022, "Invalid argument"},
    Row{EMFILE, kSocketTooManyOpen, "Too many open sockets"},
    Row{ENFILE, kSocketTooManyOpen, "Too many open sockets"},
    Row{EAGAIN, 10035, "The operation would block"},
    Row{EINPROGRESS, 10036, "The operation is in progress"},
    Row{EALREADY, 10037, "The operation is in progress already"},
    Row{ENOTSOCK, 10038, "Not a socket"},
    Row{EDESTADDRREQ, 10039, "A destination address is needed"},
    Row{EMSGSIZE, 10040, "Message too long"},
    Row{EPROTOTYPE, 10041, "Wrong protocol for the socket"},
    Row{ENOPROTOOPT, 10042, "Unknown protocol option"},
    Row{EPROTONOSUPPORT, 10043, "Protocol not supported"},
    Row{EOPNOTSUPP, 10045, "Operation not supported"},
    Row{EAFNOSUPPORT, 10047, "Address family not supported"},
    Row{EADDRINUSE, kSocketAddressInUse, kSocketAddressInUseText},
    Row{EADDRNOTAVAIL, kSocketAddressNotAvailable, "Address not available"},
    Row{ENETDOWN, 10050, "Network is down"},
    Row{ENETUNREACH, 10051, "Network is unreachable"},
    Row{ENETRESET, 10052, "Network dropped the connection"},
    Row{ECONNABORTED, 10053, "Connection aborted"},
    Row{ECONNRESET, kSocketReset, "Connection reset by peer"},
    Row{EPIPE, kSocketReset, "Connection reset by peer"},
    Row{ENOBUFS, 10055, "No buffer space"},
    Row{ENOMEM, 10055, "No buffer space"},
    Row{EISCONN, 10056, "Already connected"},
    Row{ENOTCONN, kSocketNotConnected, "Not connected"},
    Row{ESHUTDOWN, 10058, "The socket was shut down"},
    Row{ETIMEDOUT, kSocketTimedOut, "Connection timed out"},
    Row{ECONNREFUSED, kSocketRefused, "Connection refused"},
    Row{EHOSTDOWN, 10064, "Host is down"},
    Row{EHOSTUNREACH, 10065, "Host is unreachable"},
    Row{0, kHostNotFound, "Host not found"},
    Row{0, kHostTryAgain, "Host not found, the name server did not answer"},
    Row{0, 11003, "The name server failed"},
    Row{0, 11004, "The name is valid, but has no address"},
};

}  // namespace

Failure SocketFailure(int systemError) {
  for (const Row& row : kErrors) {
    if (row.systemError == systemError && systemError != 0) {
      return {row.number, QString::fromLatin1(row.text)};
    }
  }
  return {systemError, QString::fromLocal8Bit(std::strerror(systemError))};
}

Failure NumberedFailure(qint32 number) {
  for (const Row& row : kErrors) {
    if (row.number == number) return {row.number, QString::fromLatin1(row.text)};
  }
  return {number, QString()};
}

Failure LookupFailure(int lookupError, int systemError) {
  switch (lookupError) {
    case EAI_AGAIN:
      return NumberedFailure(kHostTryAgain);
    case EAI_FAIL:
      return NumberedFailure(11003);
    case EAI_NODATA:
      return NumberedFailure(11004);
    case EAI_ADDRFAMILY:
      return SocketFailure(EAFNOSUPPORT);
    case EAI_MEMORY:
      return SocketFailure(ENOMEM);
    case EAI_SYSTEM:
      return SocketFailure(systemError);
    default:
      return NumberedFailure(kHostNotFound);
  }
}

int SystemErrorOf(qint32 number) {
  for (const Row& row : kErrors) {
    if (row.number == number) return row.systemError;
  }
  return 0;
}

}  // namespace veltrane
