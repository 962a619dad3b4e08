// All objects of a run, in the order in which they need each other, tied together.
#pragma once

#include <memory>
#include <optional>

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
#include "failure/frmProblemSimulation.h"
#include "history/Logging.h"
#include "history/frmRealTimeLogging.h"
#include "reports/frmSaveHistory.h"
#include "ui/RealTimeDrain.h"
#include "ui/faces/TrayIcon.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmAbout.h"
#include "ui/frmConfigure.h"
#include "ui/frmError.h"
#include "ui/frmEventDetails.h"
#include "ui/frmMain.h"
#include "ui/frmOptions.h"
#include "ui/frmPort.h"
#include "ui/frmRealTimeData.h"
#include "ui/frmSplash.h"
#include "ui/frmSysTray.h"

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
  frmSaveHistory& SaveHistoryForm() { return mSaveHistory; }

 private:
  void EndProgram();

  SystemClock mClock;
  SystemRandomGenerator mRandom;
  TimerQueue mTimers{mClock};
  WidgetDesktop mDesktop;
  frmError mError{mDesktop};
  std::optional<SingleInstance> mInstance;
  SqliteSettingsStore mStore;
  Reactor mReactor{mClock, mTimers};
  General mGeneral;
  Logging mLogging{mGeneral};
  frmSplash mSplash;
  frmMain mMain{mGeneral, mLogging};
  frmRealTimeData mRealTimeData{mGeneral, mMain};
  RealTimeDrain mDrain{mLogging, mRealTimeData, mMain.txtRealTime, mMain.tmrRealTimeData};
  frmEventDetails mEventDetails{mGeneral, mMain};
  frmPort mPort{mGeneral};
  frmConfigure mConfigure{mGeneral, mMain, mPort};
  TrayIcon mTrayIcon;
  frmSysTray mSysTray{mGeneral, mMain, mTrayIcon, {mConfigure, mError}};
  frmOptions mOptions;
  frmRealTimeLogging mRealTimeLogging{mGeneral, mMain};
  frmProblemSimulation mProblemSimulation{mGeneral, mMain};
  frmSaveHistory mSaveHistory{mGeneral, mLogging, mMain};
  frmAbout mAbout;
  ReactorDriver mDriver;
  TerminationSignals mSignals;
  bool mEnded = false;
};

}  // namespace veltrane
