// What the recorder asks of the windows around it, and tells them. The windows are in ui/, but for the log
// file's; tests have fakes.
#pragma once

#include <QString>

#include "engine/MainWindow.h"
#include "forms/Controls.h"
#include "history/SocketPairHistory.h"

namespace veltrane {

class ListView;
class RichTextBox;
class SocketPair;
class TreeNode;

/// The main window, which shows the history.
class HistoryWindow : public MainWindow {
 public:
  virtual ListView& DetailsGrid() = 0;
  virtual RichTextBox& RealTimeText() = 0;

  // The three column sets of the grid.
  virtual void ConfigureGridForAllActivity() = 0;
  virtual void ConfigureGridForConnection() = 0;
  virtual void ConfigureGridForEvent() = 0;

  /// The connection in view has one more event.
  virtual void AddConnectionDiagramEvent(const SocketPairHistoryRef& objHistory) = 0;
  /// The connection in view has lost its oldest events.
  virtual void ConnectionDiagramPurged(const SocketPairHistory& objHistory) = 0;
  /// Events of the connection in view were purged: it is drawn afresh at the next selection of an event.
  virtual void RequestRedraw() = 0;
  /// Takes what waits in the recorder's three lists into the real-time pane.
  virtual void tmrRealTimeData_Timer() = 0;
  virtual void tvwSockets_NodeClick(TreeNode& node) = 0;
};

/// The check boxes of the real-time data dialog.
enum class RealTimeSwitch {
  kShowRealTimeData,
  kServerToVLT,
  kVLTToServer,
  kClientToVLT,
  kVLTToClient,
  kIncludeBufferedData,
  kIncludeDateTimeStamp,
  kIncludeDataDirection,
  kIncludeDescription,
  kColourCode,
};

/// The real-time data dialog, frmRealTimeData.
class RealTimeDataOptions {
 public:
  virtual ~RealTimeDataOptions() = default;
  virtual bool IsOn(RealTimeSwitch which) const = 0;
  /// "Show all real-time data", as against that of the selected branch.
  virtual bool ShowsAllData() const = 0;
  /// The colour of lblColor(index), 0 to 3.
  virtual Colour DirectionColour(int index) const = 0;
};

/// The part of the options dialog, frmOptions, that bounds the history. Texts are as the user left them.
class PurgeOptions {
 public:
  virtual ~PurgeOptions() = default;
  virtual bool Discard() const = 0;
  virtual QString NumberToKeep() const = 0;       // histories
  virtual QString MaxMemorySize() const = 0;      // in 1024 bytes of data
  virtual QString MaximumEventCount() const = 0;  // per history
  virtual bool RemoveEphemeralPortReferences() const = 0;
};

/// The icon in the notification area, frmSysTray.
class TraySignal {
 public:
  virtual ~TraySignal() = default;
  virtual void DataSent(bool blnToServer) = 0;
};

/// The log file that takes every event the moment it occurs.
class EventLogFile {
 public:
  virtual ~EventLogFile() = default;
  virtual bool LoggingEnabled() const = 0;
  virtual void SaveEventToLogFile(const SocketPair& objSocketPair, const SocketEvent& objEvent) = 0;
};

/// All of them, borrowed for the whole run.
struct HistorySurroundings {
  HistoryWindow* frmMain = nullptr;
  RealTimeDataOptions* frmRealTimeData = nullptr;
  PurgeOptions* frmOptions = nullptr;
  TraySignal* frmSysTray = nullptr;
  EventLogFile* frmRealTimeLogging = nullptr;
};

}  // namespace veltrane
