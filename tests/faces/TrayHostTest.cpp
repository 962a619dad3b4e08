// The holder of the notification area on a message bus of the test's own: one that answers, one that hangs.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

#include "ui/faces/TrayHost.h"

namespace veltrane {
namespace {

const QString kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kPath = QStringLiteral("/StatusNotifierWatcher");

/// A panel, which answers what it is told to, or not at all.
class Panel : public QDBusVirtualObject {
 public:
  explicit Panel(QDBusConnection bus) : mBus(std::move(bus)) { mBus.registerVirtualObject(kPath, this); }
  void Open() { mBus.registerService(kWatcher); }
  void Close() { mBus.unregisterService(kWatcher); }
  void Tell(const char* signal) {
    mBus.send(QDBusMessage::createSignal(kPath, kWatcher, QLatin1String(signal)));
  }
  /// Answers what came while it hung.
  void WakeUp() {
    mHangs = false;
    for (const QDBusMessage& question : std::exchange(mWaiting, {}))
      Answer(question);
  }
  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
    ++mQuestions;
    if (mHangs) {
      mWaiting.append(message);
    } else {
      Answer(message);
    }
    return true;
  }

  bool mHangs = false;
  bool mHasHost = true;
  int mQuestions = 0;

 private:
  void Answer(const QDBusMessage& question) {
    mBus.send(question.createReply(QVariant::fromValue(QDBusVariant(mHasHost))));
  }

  QDBusConnection mBus;
  QList<QDBusMessage> mWaiting;
};

struct TrayHostTest : testing::Test {
  void SetUp() override {
    daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                 QStringLiteral("--print-address")});
    ASSERT_TRUE(daemon.waitForStarted()) << "is dbus-daemon installed?";
    ASSERT_TRUE(daemon.waitForReadyRead());
    address = QString::fromUtf8(daemon.readLine()).trimmed();
    panel = std::make_unique<Panel>(Connect("panel"));
  }
  void TearDown() override {
    host.reset();
    panel.reset();
    for (const char* const name : {"panel", "program"})
      QDBusConnection::disconnectFromBus(QLatin1String(name));
    daemon.kill();
    daemon.waitForFinished();
  }
  QDBusConnection Connect(const char* name) {
    return QDBusConnection::connectToBus(address, QLatin1String(name));
  }
  void MakeHost() {
    host = std::make_unique<TrayHost>(Connect("program"), [this] {
      ++toolkitAsked;
      return toolkitSays;
    });
  }
  bool Becomes(bool available) {
    return QTest::qWaitFor([&] { return host->HasAnswered() && host->IsAvailable() == available; }, 5000);
  }
  /// For as long as a panel that answers would have needed many times over.
  static void Serve() { QTest::qWait(300); }

  QProcess daemon;
  QString address;
  std::unique_ptr<Panel> panel;
  std::unique_ptr<TrayHost> host;
  int toolkitAsked = 0;
  bool toolkitSays = true;
};

TEST_F(TrayHostTest, A_panel_that_hangs_is_waited_for_by_nobody_and_counts_when_it_is_well_again) {
  panel->mHangs = true;
  panel->Open();
  MakeHost();
  Serve();
  ASSERT_EQ(panel->mQuestions, 1);
  QElapsedTimer watch;
  watch.start();
  for (int i = 0; i < 1000; ++i)
    EXPECT_FALSE(host->IsAvailable());
  EXPECT_LT(watch.elapsed(), 1000);
  EXPECT_FALSE(host->HasAnswered());
  EXPECT_EQ(toolkitAsked, 0) << "it would wait";
  Serve();
  EXPECT_EQ(panel->mQuestions, 1) << "one question is enough";
  panel->WakeUp();
  EXPECT_TRUE(Becomes(true));
}

TEST_F(TrayHostTest, A_panel_that_hangs_later_leaves_what_is_known_and_nothing_new_is_shown_to_it) {
  panel->Open();
  MakeHost();
  ASSERT_TRUE(Becomes(true));
  const int asked = toolkitAsked;
  panel->mHangs = true;
  host->Refresh();
  EXPECT_TRUE(host->HasAnswered()) << "the answer is new enough";
  QTest::qWait(2100);
  host->Refresh();
  QElapsedTimer watch;
  watch.start();
  EXPECT_TRUE(host->IsAvailable());
  EXPECT_FALSE(host->HasAnswered());
  EXPECT_LT(watch.elapsed(), 1000);
  EXPECT_EQ(toolkitAsked, asked);
}

TEST_F(TrayHostTest, A_panel_that_goes_and_one_that_comes_are_noticed) {
  panel->Open();
  MakeHost();
  ASSERT_TRUE(Becomes(true));
  panel->Close();
  EXPECT_TRUE(Becomes(false));
  panel->Open();
  EXPECT_TRUE(Becomes(true));
  panel->mHasHost = false;
  panel->Tell("StatusNotifierHostUnregistered");
  EXPECT_TRUE(Becomes(false));
  panel->mHasHost = true;
  panel->Tell("StatusNotifierHostRegistered");
  EXPECT_TRUE(Becomes(true));
  EXPECT_EQ(toolkitAsked, 1) << "what is heard over the bus is enough";
}

TEST_F(TrayHostTest, Without_a_panel_on_the_bus_the_display_is_looked_at) {
  MakeHost();
  EXPECT_TRUE(Becomes(true));
  toolkitSays = false;
  EXPECT_FALSE(host->IsAvailable());
  // The toolkit does not change its way any more.
  panel->Open();
  Serve();
  EXPECT_FALSE(host->IsAvailable());
  toolkitSays = true;
  EXPECT_TRUE(host->IsAvailable());
}

TEST_F(TrayHostTest, Without_a_bus_too) {
  TrayHost alone(QDBusConnection(QStringLiteral("no such connection")), [this] { return toolkitSays; });
  EXPECT_TRUE(alone.HasAnswered());
  EXPECT_TRUE(alone.IsAvailable());
  toolkitSays = false;
  EXPECT_FALSE(alone.IsAvailable());
}

}  // namespace
}  // namespace veltrane
