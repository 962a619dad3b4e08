// What the whole system shares: the objects of the run, the platform that they stand on, and small helpers.
// There is one; app/main.cpp makes it and hands it to those who need it.
#pragma once

#include <QString>

#include <memory>

#include "base/Clock.h"
#include "base/Failure.h"
#include "base/KeyedList.h"
#include "base/RandomGenerator.h"
#include "base/Timer.h"
#include "engine/PayloadLimit.h"
#include "engine/ProtocolHandler.h"
#include "engine/SettingsStore.h"
#include "engine/Socket.h"
#include "forms/Form.h"

namespace veltrane {

class FailureSchedule;
class Listening;
class MainWindow;
class Recorder;
class SocketArray;

/// Everything outside the process that the logic needs, borrowed for the whole run.
struct Platform {
  SettingsStore& store;
  SocketFactory& sockets;
  TimerQueue& timers;
  Clock& clock;
  RandomGenerator& random;
  Desktop& desktop;
  ErrorSink& errors;
  /// The folder of the executable, without a slash at its end.
  QString programFolder = {};
  /// The folder below which the program writes its own files: that of the executable, or where that cannot
  /// be written, the program's in the user's data folder. Without a slash at its end.
  QString writeFolder = {};
  /// In bytes; 0 when it is not known.
  qint64 machineMemory = 0;
};

class General {
 public:
  General(const Platform& platform, ProtocolTable protocols);
  ~General();

  const Platform mPlatform;
  const ApplicationSettings mSettings;
  const ProtocolTable mProtocolTable;

  PayloadLimit mPayloadLimit;

  // The objects of the run. Borrowed ones are set before Main runs.
  Recorder* gobjLogging = nullptr;
  std::shared_ptr<Listening> gobjListening;
  KeyedList<ProtocolHandlerRef> gcolProtocols;
  FailureSchedule* frmProblemSimulation = nullptr;
  MainWindow* frmMain = nullptr;

  bool gblnConnectionDiagramSelected = false;
  bool gblnRecordEvents = false;
  bool gblnFirstRun = false;
  bool gblnClosing = false;
  QString mHelpFile;
  /// How many services of the message loop in the middle of an event lie in each other.
  int mYieldDepth = 0;

  void LogError(const QString& text) { mPlatform.errors.LogError(text); }
  /// Guarded with this system's sink.
  template <class Message, class Body>
  bool Guard(const Message& message, Body&& body) {
    return Guarded(mPlatform.errors, message, std::forward<Body>(body));
  }

  /// hh:mm:ss, and with milliseconds "." and three digits. Empty after a failing clock, which is reported.
  QString GetTimeString(bool blnMilliseconds);
  /// Four numeric pieces between dots, whatever their size.
  bool IsIPAddress(const QString& strText);
  void SetTopMostWindow(Form& form, bool blnTopMost);
  /// Seeds the port table of an empty store and sets gblnFirstRun.
  void CheckFirstRun();
  /// Takes a data port's rows out of the store. The first failure ends it and is reported: what follows
  /// the missing row then stays, and the result is false.
  bool DeleteEphemeralPortReferences(qint16 intPort);
  /// The same without a report: the failure goes to the caller.
  void DeletePortRows(qint16 intPort) const;

  // Existence is found by trying.
  template <class T, class KeyOrPosition>
  static bool DoesItemExist(const KeyedList<T>& list, const KeyOrPosition& which) {
    return PastFailures([&] { (void)list.Item(which); });
  }
  static bool DoesSocketExist(const SocketArray& sockets, int index);
  bool DoesNodeExist(const QString& key) const;

 private:
  bool MayGiveUp(qint64 bytes);
};

}  // namespace veltrane
