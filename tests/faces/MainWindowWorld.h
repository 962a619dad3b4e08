// The real main window with two ports, on a desktop of real windows, in a world without sockets and files.
#pragma once

#include "engine/Listening.h"
#include "history/Logging.h"
#include "tests/support/FaceFrame.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/World.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmMain.h"

namespace veltrane {

struct MainWindowWorld {
  MainWindowWorld() {
    world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    world.AddPort(25, kDontUse, QStringLiteral("SMTP"));
    general.frmMain = &window;
    general.gobjLogging = &logging;
    general.frmProblemSimulation = &world.mSchedule;
    window.SetSurroundings({.frmError = &other,
                            .frmConfigure = &other,
                            .frmOptions = &other,
                            .frmRealTimeData = &realTimeData,
                            .frmSaveHistory = &other,
                            .frmAbout = &other,
                            .frmProblemSimulation = &switches,
                            .frmRealTimeLogging = &switches});
    chkShowRealTimeData.SetValue(1);
    logging.SetSurroundings(around.Around(window));
    general.gobjListening = std::make_shared<Listening>(general);
    general.gobjListening->InitaliseListeningSockets();
    window.Show();
    face = desktop.FaceOf(window);
    WaitForFrame();
  }

  World world;
  WidgetDesktop desktop;
  General general{{world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, desktop,
                   world.mErrors, QString()},
                  AllProtocols()};
  HistoryFakes around{world.mJournal};
  Logging logging{general};
  Form other{desktop, QStringLiteral("frmOther")};
  Form realTimeData{desktop, QStringLiteral("frmRealTimeData")};
  Form switches{desktop, QStringLiteral("frmSwitches")};
  CheckBox chkShowRealTimeData{realTimeData, QStringLiteral("chkShowRealTimeData")};
  CheckBox chkLoggingEnabled{switches, QStringLiteral("chkLoggingEnabled")};
  frmMain window{general, logging};
  FormFace* face = nullptr;
};

}  // namespace veltrane
