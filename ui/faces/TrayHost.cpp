#include "ui/faces/TrayHost.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <limits>

namespace veltrane {
namespace {

// The names of the StatusNotifierItem protocol of freedesktop.org.
const QString kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");
/// For ever, in the bus library's terms: one that hangs answers when it is well again, or leaves the bus.
constexpr int kNoTimeLimit = std::numeric_limits<int>::max();
/// For so long an answer is as good as a new one.
constexpr int kFreshMs = 2000;

}  // namespace

TrayHost::TrayHost(const QDBusConnection& bus, std::function<bool()> toolkit)
    : mBus(bus), mToolkit(std::move(toolkit)) {
  if (!mBus.isConnected()) return;
  auto* watch = new QDBusServiceWatcher(kWatcher, mBus, QDBusServiceWatcher::WatchForOwnerChange, this);
  connect(watch, &QDBusServiceWatcher::serviceOwnerChanged, this, [this] {
    // What the last holder said says nothing of the next one.
    mOnBus = false;
    Ask();
  });
  // From whoever has the name: to look for its owner would be to wait.
  for (const char* const signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
    mBus.connect(QString(), kWatcherPath, kWatcher, QLatin1String(signal), this, SLOT(Ask()));
  Ask();
}

void TrayHost::Refresh() {
  if (HasAnswered() && mSinceAnswer.isValid() && mSinceAnswer.elapsed() > kFreshMs) Ask();
}

void TrayHost::Ask() {
  if (!mBus.isConnected()) return;
  QDBusMessage question = QDBusMessage::createMethodCall(
      kWatcher, kWatcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  question.setArguments({kWatcher, QStringLiteral("IsStatusNotifierHostRegistered")});
  question.setAutoStartService(false);
  mQuestion = mBus.asyncCall(question, kNoTimeLimit);
}

// Replies come in on a thread of the bus library's own, so this is true without a message loop too.
bool TrayHost::HasAnswered() {
  TakeAnswer();
  return !mQuestion;
}

void TrayHost::TakeAnswer() {
  if (!mQuestion || !mQuestion->isFinished()) return;
  const QDBusPendingReply<QDBusVariant> reply = *mQuestion;
  mOnBus = reply.isValid() && reply.value().variant().toBool();
  mQuestion.reset();
  mSinceAnswer.start();
  if (!mByBus) Decide();
}

// With an answer at hand, the toolkit's own first question has one too.
void TrayHost::Decide() {
  const bool any = mToolkit();
  mByBus = any && mOnBus;
}

bool TrayHost::IsAvailable() {
  if (!mBus.isConnected()) return mToolkit();
  TakeAnswer();
  if (!mByBus) return false;
  return *mByBus ? mOnBus : mToolkit();
}

}  // namespace veltrane
