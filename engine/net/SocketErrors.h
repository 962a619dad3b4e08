// The error numbers that the logic compares and reports show, and the system's own behind them.
#pragma once

#include "base/Failure.h"
#include "engine/Socket.h"

namespace veltrane {

constexpr qint32 kSocketNotAllowed = 10013;
constexpr qint32 kSocketTooManyOpen = 10024;
constexpr qint32 kSocketAddressNotAvailable = 10049;
constexpr qint32 kSocketReset = 10054;
constexpr qint32 kSocketNotConnected = 10057;
constexpr qint32 kSocketTimedOut = 10060;
constexpr qint32 kSocketRefused = 10061;
constexpr qint32 kHostNotFound = 11001;
constexpr qint32 kHostTryAgain = 11002;

/// The failure for one of the system's errno values. One that is not in the table keeps its number, with
/// the system's text.
Failure SocketFailure(int systemError);

/// The failure for a result of getaddrinfo (EAI_...).
Failure LookupFailure(int lookupError, int systemError);

/// The failure with one of the table's numbers, such as the constants above.
Failure NumberedFailure(qint32 number);

/// The system's errno for a number of the table; 0 for a number that has none.
int SystemErrorOf(qint32 number);

}  // namespace veltrane
