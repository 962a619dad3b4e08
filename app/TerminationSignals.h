// SIGTERM, SIGINT and SIGHUP as an event of the message loop.
#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace veltrane {

class TerminationSignals {
 public:
  /// To be called before any thread starts, so that all of them leave the signals to the event loop. A write
  /// over the user's limit of file sizes from then on is a failure of that write, and not the end of the
  /// program.
  static void Block();

  explicit TerminationSignals(std::function<void()> onSignal);
  ~TerminationSignals();
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;

 private:
  int mDescriptor = -1;
  std::unique_ptr<QSocketNotifier> mNotifier;
};

}  // namespace veltrane
