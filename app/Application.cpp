#include "app/Application.h"

#include <QCoreApplication>
#include <QStandardPaths>

#include "engine/FailureSchedule.h"
#include "protocols/ProtocolTable.h"

namespace veltrane {
namespace {

QString StoreFolder() {
  return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
         QStringLiteral("/Veltrane");
}

/// The schedule of a program without a failure window: nothing is planned.
class NoFailures : public FailureSchedule {
 public:
  bool ShouldConnectionRequestBeRefused() override { return false; }
  bool ShouldConnectionBeTerminated(qint32&, QString) override { return false; }
  bool ShouldConnectionBeDangled(qint32&, qint32&, qint16&, QString&) override { return false; }
  bool IsThrottlingNeeded(bool, qint64, qint64&, qint32&) override { return false; }
  int optDangleClose() const override { return 1; }
  int optGracefulTermination() const override { return 0; }
};

}  // namespace

Application::Application()
    : mInstance(StoreFolder()),
      mStore(std::make_unique<SqliteSettingsStore>(StoreFolder() + QStringLiteral("/settings.db"), mClock,
                                                   mError)),
      mGeneral({*mStore, mReactor, mTimers, mClock, mRandom, mDesktop, mError,
                QCoreApplication::applicationDirPath()},
               AllProtocols()),
      mSchedule(std::make_unique<NoFailures>()),
      mDriver(mReactor, mTimers, mClock, [this](const Failure& failure) { Escaped(failure); }),
      mSignals([this] { EndSession(); }) {
  mError.SetGeneral(mGeneral);
  mGeneral.frmMain = &mMain;
  mGeneral.frmProblemSimulation = mSchedule.get();
  mMain.SetSurroundings({{&mError, &mConfigure}, [this] {
                           mEnded = true;
                           // Not quit: that does nothing while only the loop of a modal box runs.
                           QCoreApplication::exit();
                         }});
}

Application::~Application() = default;

int Application::Run(const QStringList& commandLine) {
  Main main(mGeneral, *this);
  if (!main.Run(commandLine)) return 0;
  // The user may have ended the program from a box that Main asked.
  return mEnded ? 0 : QCoreApplication::exec();
}

void Application::Escaped(const Failure& failure) {
  ReportFailure(mError, QStringLiteral("An unexpected failure occurred.  The operating system reports: "),
                failure);
}

bool Application::IsAnotherInstanceRunning() {
  return !mInstance.IsFirst();
}

QList<ProtocolHandlerRef> Application::CreateProtocols() {
  QList<ProtocolHandlerRef> handlers;
  for (const auto& create : ListedProtocols())
    handlers.append(create(mGeneral));
  return handlers;
}

}  // namespace veltrane
