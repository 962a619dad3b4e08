// The other windows as the main window knows them. A window that is missing leaves its menu entries disabled
// and its switches at what a fresh store has.
#pragma once

#include <QString>

#include <functional>

#include "history/SocketPairHistory.h"

namespace veltrane {

class Form;

/// The event details window, frmEventDetails.
class EventDetails {
 public:
  virtual ~EventDetails() = default;
  virtual void ClearDetails() = 0;
  /// 1-based position of the event; false when it could not be shown.
  virtual bool SetDetails(const SocketPairHistoryRef& history, qint16 position) = 0;
};

/// The port configuration, frmConfigure.
class PortConfiguration {
 public:
  virtual ~PortConfiguration() = default;
  /// Selects the row with this key in lvwPort and runs the list's click. Fails when there is none.
  virtual void SelectPort(const QString& key) = 0;
};

/// All of them, borrowed for the whole run. Switches are read from the controls of these forms by name.
struct MainSurroundings {
  Form* frmError = nullptr;
  Form* frmEventDetails = nullptr;
  Form* frmConfigure = nullptr;
  Form* frmOptions = nullptr;
  Form* frmPort = nullptr;
  Form* frmRealTimeData = nullptr;
  Form* frmSysTray = nullptr;
  Form* frmSaveHistory = nullptr;
  Form* frmAbout = nullptr;
  Form* frmProblemSimulation = nullptr;
  Form* frmRealTimeLogging = nullptr;
  EventDetails* eventDetails = nullptr;
  PortConfiguration* portConfiguration = nullptr;
  /// Moves what waits in the recorder's lists into the real-time pane.
  std::function<void()> drainRealTimeData = {};
  /// Whether the desktop has a notification area; a window that would hide there is else only minimised.
  std::function<bool()> hasTray = {};
  /// What ends the process after everything is taken down.
  std::function<void()> endProgram = {};
};

}  // namespace veltrane
