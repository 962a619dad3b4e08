// All objects of a run, in the order in which they need each other, tied together.
#pragma once

#include <memory>

#include "app/SingleInstance.h"
#include "app/TerminationSignals.h"
#include "base/Clock.h"
#include "base/RandomGenerator.h"
#include "base/Timer.h"
#include "engine/General.h"
#include "engine/Main.h"
#include "engine/SqliteSettingsStore.h"
#include "engine/net/Reactor.h"
#include "engine/net/ReactorDriver.h"
#include "history/Logging.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmError.h"
#include "ui/frmMain.h"

namespace veltrane {

class Application : public StartUp {
 public:
  Application();
  ~Application() override;

  /// Runs the program; the process's exit code.
  int Run(const QStringList& commandLine);
  /// A failure that an event let out: reported, and the system goes on.
  void Escaped(const Failure& failure);
  /// The shut-down of File, Exit.
  void EndSession() { mMain.Terminate(); }

  bool IsAnotherInstanceRunning() override;
  Recorder& CreateLogging() override { return mLogging; }
  QList<ProtocolHandlerRef> CreateProtocols() override;
  Form& SplashForm() override { return mSplash; }
  Form& MainForm() override { return mMain; }
  Form& ConfigureForm() override { return mConfigure; }
  Form& ErrorForm() override { return mError; }
  Form& ProblemSimulationForm() override { return mProblemSimulation; }
  Form& RealTimeLoggingForm() override { return mRealTimeLogging; }

 private:
  SystemClock mClock;
  SystemRandomGenerator mRandom;
  TimerQueue mTimers{mClock};
  WidgetDesktop mDesktop;
  frmError mError{mDesktop};
  SingleInstance mInstance;
  std::unique_ptr<SqliteSettingsStore> mStore;
  Reactor mReactor{mClock, mTimers};
  General mGeneral;
  Logging mLogging{mGeneral};
  std::unique_ptr<FailureSchedule> mSchedule;
  Form mSplash{mDesktop, QStringLiteral("frmSplash")};
  Form mConfigure{mDesktop, QStringLiteral("frmConfigure")};
  Form mProblemSimulation{mDesktop, QStringLiteral("frmProblemSimulation")};
  Form mRealTimeLogging{mDesktop, QStringLiteral("frmRealTimeLogging")};
  frmMain mMain{mGeneral, mLogging, mError};
  ReactorDriver mDriver;
  TerminationSignals mSignals;
  bool mEnded = false;
};

}  // namespace veltrane
