#include "app/TerminationSignals.h"

#include <csignal>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace veltrane {
namespace {

sigset_t EndingSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP})
    sigaddset(&set, signal);
  return set;
}

}  // namespace

void TerminationSignals::Block() {
  const sigset_t set = EndingSignals();
  sigprocmask(SIG_BLOCK, &set, nullptr);
  std::signal(SIGXFSZ, SIG_IGN);
  // Standard error may be a pipe whose reader is gone.
  std::signal(SIGPIPE, SIG_IGN);
  // A program that this one opens, an editor say, is to be ended like any other.
  pthread_atfork(nullptr, nullptr, [] {
    const sigset_t ending = EndingSignals();
    sigprocmask(SIG_UNBLOCK, &ending, nullptr);
    std::signal(SIGXFSZ, SIG_DFL);
    std::signal(SIGPIPE, SIG_DFL);
  });
}

TerminationSignals::TerminationSignals(std::function<void()> onSignal) {
  const sigset_t set = EndingSignals();
  mDescriptor = signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
  if (mDescriptor < 0) return;
  mNotifier = std::make_unique<QSocketNotifier>(mDescriptor, QSocketNotifier::Read);
  QObject::connect(mNotifier.get(), &QSocketNotifier::activated, mNotifier.get(),
                   [this, onSignal = std::move(onSignal)] {
                     signalfd_siginfo info{};
                     while (::read(mDescriptor, &info, sizeof info) == sizeof info) {
                     }
                     onSignal();
                   });
}

TerminationSignals::~TerminationSignals() {
  mNotifier.reset();
  if (mDescriptor >= 0) ::close(mDescriptor);
}

}  // namespace veltrane
