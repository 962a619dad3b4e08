// Whether the desktop has a notification area, known without ever waiting for the program that holds it: one
// that hangs must not stop the proxy. Asked over the session bus, it answers when it can, and its answer is
// kept.
#pragma once

#include <QDBusConnection>
#include <QDBusPendingCall>
#include <QElapsedTimer>
#include <QObject>

#include <functional>
#include <optional>

namespace veltrane {

class TrayHost : public QObject {
  Q_OBJECT

 public:
  /// toolkit is what the toolkit says, which waits for the holder unless that is known to answer or not
  /// there.
  TrayHost(const QDBusConnection& bus, std::function<bool()> toolkit);

  /// What is known now. False until the holder has answered for the first time.
  bool IsAvailable();
  /// Asks anew, in the background, unless the last answer has only just come.
  void Refresh();
  /// Whether all that was asked is answered. Nothing should be shown to a holder that has not.
  bool HasAnswered();

 private Q_SLOTS:
  void Ask();

 private:
  void TakeAnswer();
  void Decide();

  QDBusConnection mBus;
  std::function<bool()> mToolkit;
  std::optional<QDBusPendingCall> mQuestion;
  QElapsedTimer mSinceAnswer;
  /// By the last answer, the area is one that is reached over the bus.
  bool mOnBus = false;
  /// The toolkit chooses between the bus and the display at its first use, for the whole run.
  std::optional<bool> mByBus;
};

}  // namespace veltrane
