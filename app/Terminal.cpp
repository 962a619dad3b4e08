#include "app/Terminal.h"

#include <algorithm>
#include <climits>
#include <poll.h>
#include <unistd.h>

namespace veltrane {

// The descriptor is shared with whoever started the program, so it is not made one that does not wait. A pipe
// that is ready takes as much as this without waiting (POSIX).
void TellTerminal(const QString& line) {
  QByteArray rest = line.toLocal8Bit() + '\n';
  while (!rest.isEmpty()) {
    pollfd terminal{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
    if (poll(&terminal, 1, 0) != 1 || (terminal.revents & POLLOUT) == 0) return;
    const auto written = ::write(STDERR_FILENO, rest.constData(),
                                 static_cast<size_t>(std::min<qsizetype>(rest.size(), PIPE_BUF)));
    if (written <= 0) return;
    rest.remove(0, written);
  }
}

}  // namespace veltrane
