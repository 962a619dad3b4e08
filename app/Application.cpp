#include "app/Application.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStandardPaths>

#include <unistd.h>

#include "app/Terminal.h"
#include "protocols/ProtocolTable.h"

namespace veltrane {
namespace {

QString StoreFolder() {
  return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
         QStringLiteral("/Veltrane");
}

/// Where the desktop looks for what it starts with the user's session.
QString AutostartFolder() {
  return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
         QStringLiteral("/autostart");
}

QString WriteFolder() {
  QString program = QCoreApplication::applicationDirPath();
  if (QFileInfo(program).isWritable()) return program;
  return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Veltrane");
}

qint64 MachineMemory() {
  return static_cast<qint64>(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE);
}

}  // namespace

Application::Application()
    : mStore(StoreFolder() + QStringLiteral("/settings.db"), mClock, mError),
      mGeneral({mStore, mReactor, mTimers, mClock, mRandom, mDesktop, mError,
                QCoreApplication::applicationDirPath(), WriteFolder(), MachineMemory()},
               AllProtocols()),
      mSplash(mDesktop, BuiltVersion()),
      mOptions(mGeneral, mMain, mSysTray, AutostartFolder()),
      mAbout(mGeneral, BuiltVersion()),
      mDriver(mReactor, mTimers, mClock, [this](const Failure& failure) { Escaped(failure); }),
      mSignals([this] { EndSession(); }) {
  mError.SetGeneral(mGeneral);
  // Whoever started the program from a terminal, or reads the session's journal, sees the reports there too.
  QObject::connect(&mError, &frmError::Reported,
                   [](const QString& text) { TellTerminal(QStringLiteral("Veltrane: ") + text); });
  mGeneral.frmMain = &mMain;
  mLogging.SetSurroundings({&mMain, &mRealTimeData, &mOptions, &mSysTray, &mRealTimeLogging});
  mGeneral.frmProblemSimulation = &mProblemSimulation;
  mMain.SetSurroundings({.frmError = &mError,
                         .frmEventDetails = &mEventDetails,
                         .frmConfigure = &mConfigure,
                         .frmOptions = &mOptions,
                         .frmPort = &mPort,
                         .frmRealTimeData = &mRealTimeData,
                         .frmSysTray = &mSysTray,
                         .frmSaveHistory = &mSaveHistory,
                         .frmAbout = &mAbout,
                         .frmProblemSimulation = &mProblemSimulation,
                         .frmRealTimeLogging = &mRealTimeLogging,
                         .eventDetails = &mEventDetails,
                         .portConfiguration = &mConfigure,
                         .drainRealTimeData = [this] { mDrain.Drain(); },
                         .hasTray = [this] { return mSysTray.HasIcon(); },
                         .endProgram = [this] { EndProgram(); }});
}

Application::~Application() = default;

int Application::Run(const QStringList& commandLine) {
  Main main(mGeneral, *this);
  if (!main.Run(commandLine)) return 0;
  // The user may have ended the program from a box that Main asked.
  return mEnded ? 0 : QCoreApplication::exec();
}

// The end of the program takes the windows that the main window's shut-down leaves.
void Application::EndProgram() {
  PastFailures([this] { mSaveHistory.Unload(); });
  PastFailures([this] { mProblemSimulation.Unload(); });
  PastFailures([this] { mRealTimeLogging.Unload(); });
  mEnded = true;
  // Not quit: that does nothing while only the loop of a modal box runs.
  QCoreApplication::exit();
}

void Application::Escaped(const Failure& failure) {
  ReportFailure(mError, QStringLiteral("An unexpected failure occurred.  The operating system reports: "),
                failure);
}

bool Application::IsAnotherInstanceRunning() {
  return !mInstance.emplace(StoreFolder()).IsFirst();
}

QList<ProtocolHandlerRef> Application::CreateProtocols() {
  QList<ProtocolHandlerRef> handlers;
  for (const auto& create : ListedProtocols())
    handlers.append(create(mGeneral));
  return handlers;
}

}  // namespace veltrane
