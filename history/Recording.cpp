#include <utility>

#include "engine/General.h"
#include "engine/SocketPair.h"
#include "forms/TreeView.h"
#include "history/Happening.h"
#include "history/HistoryText.h"

namespace veltrane {
namespace {

/// After so many events without one, the next event starts a purge.
constexpr int kEventsWithoutPurge = 20;

QString Description(QStringView before, const QString& words, QStringView after) {
  QString text;
  text.reserve(before.size() + words.size() + after.size());
  return text.append(before).append(words).append(after);
}

QString CountOf(const Payload& data) {
  return QString::number(data.Size());
}

}  // namespace

const QString Logging::kFailedServer = QStringLiteral("<Error>");

// Kind, description (what changes stands between its two parts), failure text, whether the history may be
// gone, column of bytes. The words are what users search logs and reports for: slips in them stay.

const Logging::Happening Logging::kAccepted{etLocalServerAcceptedConnection,
                                            u"Remote connection request accepted",
                                            u"",
                                            u"An error occurred while attempting to accept the remote client "
                                            u"connection request.  The operating system reports: ",
                                            false,
                                            0};
const Logging::Happening Logging::kRejected{etLocalServerRejectedConnection,
                                            u"Remote connection request was scheduled for rejection",
                                            u"",
                                            u"An error occurred while attempting to reject the remote client "
                                            u"connection request.  The operating system reports: ",
                                            false,
                                            0};
const Logging::Happening Logging::kAttempt{
    etConnectionAttemptToRemoteServer,
    u"A connection request has been made to ",
    u".",
    u"An error occurred while attempting to connect to the remote server.  The operating system reports: ",
    false,
    0};
const Logging::Happening Logging::kAttemptFailed{
    etConnectionAttemptFailed,
    u"The connection request failed - ",
    u"",
    u"An error occurred while attempting to record the failure to connect to the remote server.  The "
    u"operating system reports: ",
    false,
    0};
const Logging::Happening Logging::kAttemptSuccessful{
    etConnectionAttemptSuccessful,
    u"The connection request to the remote server has been successful. ",
    u"",
    u"An error occurred while attempting to record the successful connection attempt.  The operating system "
    u"reports: ",
    false,
    0};
const Logging::Happening Logging::kRemoteServerGone{
    etRemoteServerDisconnected,
    u"The remote server has disconnected. ",
    u"",
    u"An error occurred while attempting to log the remote server's disconnection.  The operating system "
    u"reports: ",
    true,
    0};
const Logging::Happening Logging::kLocalServerClosed{
    etLocalServerDisconnected,
    u"VLT has disconnected from the remote client.",
    u"",
    u"An error occurred while attempting to log the local server's disconnection.  The operating system "
    u"reports: ",
    true,
    0};
const Logging::Happening Logging::kRemoteClientGone{
    etRemoteClientDisconnected,
    u"The remote client has disconnected.",
    u"",
    u"An error occurred while attempting to log the remote client's disconnections.  The operating system "
    u"reports: ",
    true,
    0};
const Logging::Happening Logging::kLocalClientClosed{etLocalClientDisconnected,
                                                     u"VLT has disconnected from the remote server.",
                                                     u"",
                                                     u"An error occurred while attempting to log the local "
                                                     u"client disconnection.  The operating system reports: ",
                                                     true,
                                                     0};
const Logging::Happening Logging::kClientReceived{
    etClientBytesReceived,
    u"",
    u" bytes of data has been received from the remote server.",
    u"An error occurred while attempting to log the arrival of data on the local client.  The operating "
    u"system reports: ",
    true,
    0};
const Logging::Happening Logging::kServerReceived{
    etServerBytesReceived,
    u"",
    u" bytes of data has been received from the remote client.",
    u"An error occurred while attempting to log the arrival of data on the local server.  The operating "
    u"system reports: ",
    true,
    kBytesC2SColumn};
const Logging::Happening Logging::kServerBadState{etServerInBadState,
                                                  u"The local server socket is in a error state: ",
                                                  u"",
                                                  u"An error occurred while attempting to log the local "
                                                  u"server's error state.  The operating system reports: ",
                                                  true,
                                                  0};
const Logging::Happening Logging::kClientBadState{etClientInBadState,
                                                  u"The local client socket is in a error state: ",
                                                  u"",
                                                  u"An error occurred while attempting to log the local "
                                                  u"client error state.  The operating system reports: ",
                                                  true,
                                                  0};

// By whether a dangle holds the data.
const Logging::Happening Logging::kClientBuffered[]{
    {etClientBytesBuffered, u"", u" bytes of data has been buffered. (Previous action still in progress)",
     u"An error occurred while attempting to log the buffering of data being sent through the local client.  "
     u"The operating system reports: ",
     true, kBytesS2CColumn},
    {etClientBytesBufferedForDangling, u"",
     u" bytes of data has been buffered. (Remote server is being dangled)",
     u"An error occurred while attempting to log the buffering of data being sent through the local client.  "
     u"The operating system reports: ",
     true, kBytesS2CColumn},
};
const Logging::Happening Logging::kServerBuffered[]{
    {etServerBytesBuffered, u"",
     u" bytes of data has been buffered. (Previous send to remote client is still in progress)",
     u"An error occurred while attempting to log the buffering of data being sent through the local server.  "
     u"The operating system reports: ",
     true, kBytesS2CColumn},
    {etServerBytesBufferedForDangling, u"",
     u" bytes of data has been buffered. (The remote client is being dangled)",
     u"An error occurred while attempting to log the buffering of data being sent through the local server.  "
     u"The operating system reports: ",
     true, kBytesS2CColumn},
};

// By whether the send is throttled.
const Logging::Happening Logging::kServerSent[]{
    {etServerBytesSent, u"", u" bytes of data has been sent to the remote client.",
     u"An error occurred while attempting to log data being sent through the local server.  The operating "
     u"system reports: ",
     true, kBytesS2CColumn},
    {etServerBytesSentThrottled, u"", u" bytes of throttled data has been sent to the remote client.",
     u"An error occurred while attempting to log data being sent through the local server.  The operating "
     u"system reports: ",
     true, kBytesS2CColumn},
};
const Logging::Happening Logging::kClientSent[]{
    {etClientBytesSent, u"", u" bytes of data has been sent to the remote server.",
     u"An error occurred while attempting to log the data being sent through the local client.  The "
     u"operating system reports: ",
     true, 0},
    {etClientBytesSentThrottled, u"", u" bytes of throttled data has been sent to the remote server.",
     u"An error occurred while attempting to log the data being sent through the local client.  The "
     u"operating system reports: ",
     true, 0},
};

// By whether the dangle is on; the failure text is that of arriving data, and stays so.
const Logging::Happening Logging::kClientSideDangle[]{
    {etRemoteClientDanglingStopped, u"Remote client side dangling has stopped.", u"",
     u"An error occurred while attempting to log the arrival of data on the local client.  The operating "
     u"system reports: ",
     true, 0},
    {etRemoteClientDanglingStarted,
     u"Remote client side dangling has started. No more data will be sent to the remote client for ",
     u" mSecs.",
     u"An error occurred while attempting to log the arrival of data on the local client.  The operating "
     u"system reports: ",
     true, 0},
};
const Logging::Happening Logging::kServerSideDangle[]{
    {etRemoteServerDanglingStopped, u"Remote server side dangling has stopped.", u"",
     u"An error occurred while attempting to log the arrival of data on the local client.  The operating "
     u"system reports: ",
     true, 0},
    {etRemoteServerDanglingStarted,
     u"Remote server side dangling has started. No more data will be sent to the remote server for ",
     u" mSecs.",
     u"An error occurred while attempting to log the arrival of data on the local client.  The operating "
     u"system reports: ",
     true, 0},
};

// The road of every happening that makes an event.
template <class Before, class After>
void Logging::Record(const Happening& happening, SocketPair& pair, const Facts& facts, Before&& before,
                     After&& after) {
  if (!mGeneral.gblnRecordEvents) return;
  mGeneral.Guard(happening.failureText, [&] {
    const SocketPairHistoryRef* const found = mobjSocketPairHistory.Find(pair.SocketPairKey());
    if (!found && happening.historyMayBeGone) return;
    if (!found) throw Failure(FailureNumber::kBadArgument);
    // Held: the purge on the way may take the history of this very pair.
    const SocketPairHistoryRef history = *found;
    const SocketEventRef event = MakeEvent(happening, facts);
    before(*history);
    LogEvent(pair, event, history);
    after(*history, *event);
    RefreshDetails(happening, *event, *history);
  });
}

void Logging::Record(const Happening& happening, SocketPair& pair, const Facts& facts) {
  Record(
      happening, pair, facts, [](SocketPairHistory&) {}, [](SocketPairHistory&, const SocketEvent&) {});
}

/// A happening that only adds to what is known of a connection.
template <class Body>
void Logging::Note(const char16_t* failureText, Body&& body) {
  if (mGeneral.gblnRecordEvents) mGeneral.Guard(failureText, std::forward<Body>(body));
}

template <class Fill>
void Logging::BeginHistory(const Happening& happening, SocketPair& pair, bool followOn, Fill&& fill) {
  if (!mGeneral.gblnRecordEvents) return;
  mGeneral.Guard(happening.failureText, [&] {
    const SocketEventRef event = MakeEvent(happening, {.words = {}, .followOn = followOn});
    const auto history = std::make_shared<SocketPairHistory>();
    history->mstrSocketPairKey = pair.SocketPairKey();
    history->mSerial = ++mLastSerial;
    fill(*history);
    mobjSocketPairHistory.Add(history, history->mstrSocketPairKey);
    mByPort.try_emplace({history->mlngWasListeningOnPort, history->mSerial}, history);
    LogEvent(pair, event, history);
    ShowNewConnection(*history);
    RefreshDetails(happening, *event, *history);
  });
}

// Events of the same millisecond share one text: of a busy second there are thousands.
const QString& Logging::TimeStamp() {
  const QString now = mGeneral.GetTimeString(true);
  if (now != mLastTimeStamp) mLastTimeStamp = now;
  return mLastTimeStamp;
}

SocketEventRef Logging::MakeEvent(const Happening& happening, const Facts& facts) {
  auto event = std::make_shared<SocketEvent>();
  event->mstrEventTime = TimeStamp();
  event->mblnNextEventFollowOn = facts.followOn;
  event->mobjEventType = happening.kind;
  event->mstrDescription = Description(happening.before, facts.words, happening.after);
  event->mstrData = facts.data;
  event->mstrErrorString = facts.errorString;
  event->mlngErrorNumber = facts.errorNumber;
  return event;
}

// The common tail. The order of its steps is fixed: each of them may look at what those before it did.
void Logging::LogEvent(const SocketPair& objSocketPair, const SocketEventRef& objEvent,
                       const SocketPairHistoryRef& history) {
  mGeneral.Guard(u"An error occurred while attempting to log an event.  The operating system reports: ", [&] {
    mlngTotalMemoryAllocated += history->AddEvent(objEvent);
    ++mlngTotalEvents;
    mGrown.try_emplace(history->mSerial, history);
    ShowEvent(*history, *objEvent);
    if (mAround.frmRealTimeData->IsOn(RealTimeSwitch::kShowRealTimeData)) {
      ManageRealTimeData(*objEvent, objSocketPair);
    }
    if (ShowsInDiagram(*history)) mAround.frmMain->AddConnectionDiagramEvent(history);
    CountTowardPurge();
    if (mAround.frmRealTimeLogging->LoggingEnabled()) {
      mAround.frmRealTimeLogging->SaveEventToLogFile(objSocketPair, *objEvent);
    }
    const SocketEventType kind = objEvent->mobjEventType;
    if (kind == etServerBytesSent || kind == etServerBytesSentThrottled) {
      mAround.frmSysTray->DataSent(false);
    } else if (kind == etClientBytesSent || kind == etClientBytesSentThrottled) {
      mAround.frmSysTray->DataSent(true);
    }
  });
}

void Logging::CountTowardPurge() {
  if (++mlngKillCheckCounter <= kEventsWithoutPurge) return;
  KillDeadSocketConnections();
  mlngKillCheckCounter = 0;
}

void Logging::LocalServerAcceptedConnection(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                            qint32 lngWasListeningOnPort) {
  BeginHistory(kAccepted, objSocketPair, blnNextEventFollowOn, [&](SocketPairHistory& history) {
    history.mstrRemoteClientIP = objSocketPair.RemoteClientIP();
    history.mlngRemoteClientPort = objSocketPair.RemoteClientPort();
    history.mlngLocalServerPort = objSocketPair.LocalServerPort();
    history.mlngWasListeningOnPort = lngWasListeningOnPort;
  });
}

void Logging::LocalServerRejectedConnection(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                            qint32 lngWasListeningOnPort) {
  // Nothing was accepted, so nobody can say who asked.
  BeginHistory(kRejected, objSocketPair, blnNextEventFollowOn, [&](SocketPairHistory& history) {
    history.mstrRemoteClientIP = QStringLiteral("<Unknown>");
    history.mlngRemoteClientPort = -1;
    history.mlngLocalServerPort = lngWasListeningOnPort;
    history.mlngWasListeningOnPort = lngWasListeningOnPort;
  });
}

void Logging::ConnectionAttemptToRemoteServer(SocketPair& objSocketPair, const QString& strRemoteServer,
                                              qint32 lngRemotePort, bool blnNextEventFollowOn) {
  const Facts facts{.words = ShownName(strRemoteServer) + u':' + QString::number(lngRemotePort),
                    .followOn = blnNextEventFollowOn};
  Record(
      kAttempt, objSocketPair, facts, [](SocketPairHistory&) {},
      [&](SocketPairHistory&, const SocketEvent&) {
        const QString name = objSocketPair.RemoteClientName();
        if (!mGeneral.IsIPAddress(name) && !name.isEmpty()) GotNameOfRemoteClient(objSocketPair, name);
      });
}

void Logging::ConnectionAttemptFailed(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                      const QString& strError, qint32 lngErrorNumber) {
  const Facts facts{.words = strError,
                    .followOn = blnNextEventFollowOn,
                    .errorString = strError,
                    .errorNumber = lngErrorNumber};
  Record(
      kAttemptFailed, objSocketPair, facts,
      [](SocketPairHistory& history) { history.mstrRemoteServerIP = kFailedServer; },
      [&](SocketPairHistory& history, const SocketEvent& event) {
        history.mstrErrorString = strError;
        history.mlngErrorNumber = lngErrorNumber;
        MoveToFailedBranch(history);
        UpdateAttempt(event, history);
      });
}

void Logging::ConnectionAttemptSuccessful(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                          const QString& strComment) {
  Record(
      kAttemptSuccessful, objSocketPair, {.words = strComment, .followOn = blnNextEventFollowOn},
      [&](SocketPairHistory& history) {
        history.mstrRemoteServerIP = objSocketPair.RemoteServerIP();
        history.mlngRemoteServerPort = objSocketPair.RemoteServerPort();
        history.mlngLocalClientPort = objSocketPair.LocalClientPort();
      },
      [&](SocketPairHistory& history, const SocketEvent& event) {
        MoveToServersBranch(history);
        UpdateAttempt(event, history);
        const QString name = objSocketPair.RemoteServerName();
        if (!mGeneral.IsIPAddress(name)) GotNameOfRemoteServer(objSocketPair, name);
      });
}

void Logging::RemoteServerDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                       const QString& strComment) {
  Record(kRemoteServerGone, objSocketPair, {.words = strComment, .followOn = blnNextEventFollowOn});
}

void Logging::LocalServerDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn) {
  Record(kLocalServerClosed, objSocketPair, {.words = {}, .followOn = blnNextEventFollowOn});
}

void Logging::RemoteClientDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn) {
  Record(kRemoteClientGone, objSocketPair, {.words = {}, .followOn = blnNextEventFollowOn});
}

void Logging::LocalClientDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn) {
  Record(kLocalClientClosed, objSocketPair, {.words = {}, .followOn = blnNextEventFollowOn});
}

void Logging::ClientBytesReceived(SocketPair& objSocketPair, const Payload& strData,
                                  bool blnNextEventFollowOn) {
  Record(kClientReceived, objSocketPair,
         {.words = CountOf(strData), .followOn = blnNextEventFollowOn, .data = strData});
}

void Logging::ServerBytesReceived(SocketPair& objSocketPair, const Payload& strData,
                                  bool blnNextEventFollowOn) {
  Record(kServerReceived, objSocketPair,
         {.words = CountOf(strData), .followOn = blnNextEventFollowOn, .data = strData});
}

void Logging::ClientBytesBuffered(SocketPair& objSocketPair, const Payload& strData,
                                  bool blnNextEventFollowOn, bool blnBufferedBecauseOfDangling) {
  Record(kClientBuffered[blnBufferedBecauseOfDangling ? 1 : 0], objSocketPair,
         {.words = CountOf(strData), .followOn = blnNextEventFollowOn, .data = strData});
}

void Logging::ServerBytesBuffered(SocketPair& objSocketPair, const Payload& strData,
                                  bool blnNextEventFollowOn, bool blnBufferedBecauseOfDangling) {
  Record(kServerBuffered[blnBufferedBecauseOfDangling ? 1 : 0], objSocketPair,
         {.words = CountOf(strData), .followOn = blnNextEventFollowOn, .data = strData});
}

void Logging::ServerBytesSendStart(SocketPair& objSocketPair, const Payload& strData,
                                   bool blnNextEventFollowOn, bool blnUsesThrottling) {
  Record(kServerSent[blnUsesThrottling ? 1 : 0], objSocketPair,
         {.words = CountOf(strData), .followOn = blnNextEventFollowOn, .data = strData});
}

void Logging::ClientBytesSendStart(SocketPair& objSocketPair, const Payload& strData,
                                   bool blnNextEventFollowOn, bool blnUsesThrottling) {
  Record(kClientSent[blnUsesThrottling ? 1 : 0], objSocketPair,
         {.words = CountOf(strData), .followOn = blnNextEventFollowOn, .data = strData});
}

void Logging::ServerBytesSendStop(SocketPair& objSocketPair) {
  EndSend(
      u"An error occurred while attempting to log the completion of data being sent through the local "
      u"server.  The operating system reports: ",
      objSocketPair, &SocketPairHistory::mLastServerSend);
}

void Logging::ClientBytesSendStop(SocketPair& objSocketPair) {
  EndSend(
      u"An error occurred while attempting to log the completion of data being sent through the local "
      u"client.  The operating system reports: ",
      objSocketPair, &SocketPairHistory::mLastClientSend);
}

// Start and end of a send are paired by looking for the latest unthrottled one, ended or not. A throttled
// send never gets an end.
void Logging::EndSend(const char16_t* failureText, SocketPair& pair,
                      std::weak_ptr<SocketEvent> SocketPairHistory::*lastSend) {
  Note(failureText, [&] {
    const SocketPairHistoryRef* const history = mobjSocketPairHistory.Find(pair.SocketPairKey());
    if (!history) return;
    if (const SocketEventRef event = ((**history).*lastSend).lock()) {
      event->mstrEventEndTime = TimeStamp();
    }
  });
}

void Logging::ServerInBadState(SocketPair& objSocketPair, qint32 lngError, const QString& strError,
                               bool blnNextEventFollowOn) {
  RecordBadState(kServerBadState, objSocketPair, lngError, strError, blnNextEventFollowOn);
}

void Logging::ClientInBadState(SocketPair& objSocketPair, qint32 lngError, const QString& strError,
                               bool blnNextEventFollowOn) {
  RecordBadState(kClientBadState, objSocketPair, lngError, strError, blnNextEventFollowOn);
}

void Logging::RecordBadState(const Happening& happening, SocketPair& pair, qint32 number, const QString& text,
                             bool followOn) {
  Record(
      happening, pair, {.words = QString::number(number) + QStringLiteral(", ") + text, .followOn = followOn},
      [&](SocketPairHistory& history) {
        history.mlngErrorNumber = number;
        history.mstrErrorString = text;
      },
      [](SocketPairHistory&, const SocketEvent&) {});
}

void Logging::GotNameOfRemoteServer(SocketPair& objSocketPair, const QString& strName) {
  Note(
      u"An error occurred while attempting to log the available of the remote server's name.  The operating "
      u"system reports: ",
      [&] {
        const SocketPairHistoryRef* const history = mobjSocketPairHistory.Find(objSocketPair.SocketPairKey());
        if (!history) return;
        (*history)->mstrRemoteServerName = ShownName(strName);
        RenameConnectionNode(**history);
        ShowServerName(**history);
      });
}

void Logging::GotNameOfRemoteClient(SocketPair& objSocketPair, const QString& strName) {
  Note(
      u"An error occurred while attempting to log the availability of the name of the remote client.  The "
      u"operating system reports: ",
      [&] {
        const SocketPairHistoryRef* const history = mobjSocketPairHistory.Find(objSocketPair.SocketPairKey());
        if (!history) return;
        (*history)->mstrRemoteClientName = ShownName(strName);
        RenameConnectionNode(**history);
        ShowClientName(**history);
      });
}

void Logging::GotProtocol(SocketPair& objSocketPair, const QString& strProtocol) {
  Note(
      u"An error occurred while attempting to log the availability of the protocol name.  The operating "
      u"system reports: ",
      [&] {
        SocketPairHistory& history = *mobjSocketPairHistory.Item(objSocketPair.SocketPairKey());
        history.mstrProtocol = strProtocol;
        ShowProtocol(history);
      });
}

void Logging::Dead(SocketPair& objSocketPair) {
  Note(
      u"An error occurred while attempting to indicate that the socket connection pair is dead.  The "
      u"operating system reports: ",
      [&] {
        if (const SocketPairHistoryRef* const found =
                mobjSocketPairHistory.Find(objSocketPair.SocketPairKey())) {
          const SocketPairHistoryRef history = *found;
          history->mblnDead = true;
          history->mstrTimeOfDeath = TimeStamp();
          mDead.try_emplace(history->mSerial, history);
          ShowDeath(*history);
        }
        // The last that happens to a pair, known to the history or not.
        objSocketPair.Terminate();
      });
}

// 1 is the client's side, 0 the server's, 2 both, the client's first.
void Logging::DanglingStatusChanged(SocketPair& objSocketPair, bool blnDanglingOn, qint16 intDataBeingDangled,
                                    qint32 lngTimeDuringDangle) {
  const QString time = blnDanglingOn ? QString::number(lngTimeDuringDangle) : QString();
  const int row = blnDanglingOn ? 1 : 0;
  const bool both = intDataBeingDangled == 2;
  if (both || intDataBeingDangled == 1) {
    Record(kClientSideDangle[row], objSocketPair, {.words = time, .followOn = both});
  }
  if (both || intDataBeingDangled == 0) {
    Record(kServerSideDangle[row], objSocketPair, {.words = time, .followOn = false});
  }
}

}  // namespace veltrane
