#include "engine/SocketPair.h"

#include <algorithm>
#include <utility>

#include "engine/FailureSchedule.h"
#include "engine/General.h"
#include "engine/Recorder.h"

namespace veltrane {
namespace {

/// The shortest time, in ms, between two questions to a throttle that cannot be read, or that lets nothing
/// through and names no time.
constexpr qint32 kAskAgain = 100;
/// A direction that holds no more than this is read from whatever the others hold: it keeps up.
constexpr qsizetype kAlwaysRead = 256 * 1024;

QString StateNumber(SocketState state) {
  return QString::number(static_cast<int>(state));
}

}  // namespace

class SocketPair::ServerEvents : public SocketEvents {
 public:
  explicit ServerEvents(SocketPair& pair) : mPair(pair) {}

  void DataArrival(qsizetype) override {
    mPair.Tell([this](ProtocolHandler& handler) {
      const SocketState state = mPair.ServerState();
      if (state != SocketState::kConnected && state != SocketState::kPeerClosing) {
        mPair.mGeneral.LogError(QStringLiteral("Data arrival on server state ") + StateNumber(state));
        return;
      }
      const Payload data = mPair.Read(*mPair.sckServer, true);
      if (!data.IsEmpty()) handler.ServerBytesReceived(data);
    });
  }

  void Close() override {
    mPair.Tell([this](ProtocolHandler& handler) {
      if (!mPair.Dead()) handler.RemoteClientInitiatedDisconnection();
    });
  }

  void Error(qint32 number, const QString& description) override {
    mPair.Tell([&](ProtocolHandler& handler) { handler.ServerError(number, description); });
  }

  void SendComplete() override {
    mPair.mToClient.leaving = 0;
    mPair.Tell([](ProtocolHandler& handler) { handler.ServerBytesSent(); });
  }

 private:
  SocketPair& mPair;
};

class SocketPair::ClientEvents : public SocketEvents {
 public:
  explicit ClientEvents(SocketPair& pair) : mPair(pair) {}

  void Connect() override {
    mPair.Tell([this](ProtocolHandler& handler) { mPair.OutgoingConnectionStands(handler); });
  }

  void DataArrival(qsizetype) override {
    mPair.Tell([this](ProtocolHandler& handler) {
      const SocketState state = mPair.ClientState();
      // One state more than on the other socket, on purpose: data may come before Connect has been told.
      if (state != SocketState::kConnecting && state != SocketState::kConnected &&
          state != SocketState::kPeerClosing) {
        mPair.mGeneral.LogError(QStringLiteral("Data arrival on client state ") + StateNumber(state));
        return;
      }
      const Payload data = mPair.Read(*mPair.sckClient, false);
      if (!data.IsEmpty()) handler.ClientBytesReceived(data);
    });
  }

  void Close() override {
    mPair.Tell([this](ProtocolHandler& handler) {
      if (!mPair.Dead()) handler.RemoteServerInitiatedDisconnection(QString());
    });
  }

  void Error(qint32 number, const QString& description) override {
    mPair.Tell([&](ProtocolHandler& handler) { handler.ClientError(number, description); });
  }

  void SendComplete() override {
    mPair.mToServer.leaving = 0;
    mPair.Tell([](ProtocolHandler& handler) { handler.ClientBytesSent(); });
  }

 private:
  SocketPair& mPair;
};

/// What differs between the two sends.
struct SocketPair::SendRoad {
  std::unique_ptr<Socket> SocketPair::*socket;
  Timer SocketPair::*throttleTimer;
  bool SocketPair::*throttleUnreadable;
  Backlog SocketPair::*backlog;
  bool fromServerToClient;
  const char16_t* failureText;
};

const SocketPair::SendRoad SocketPair::kClientRoad{
    &SocketPair::sckClient,
    &SocketPair::tmrC2SThrottleDataRequest,
    &SocketPair::mC2SThrottleUnreadable,
    &SocketPair::mToServer,
    false,
    u"An error occurred while sending the data through the client (Low Level)"};
const SocketPair::SendRoad SocketPair::kServerRoad{
    &SocketPair::sckServer,
    &SocketPair::tmrS2CThrottleDataRequest,
    &SocketPair::mS2CThrottleUnreadable,
    &SocketPair::mToClient,
    true,
    u"An error occurred while sending the data through the server (Low Level)"};

SocketPair::SocketPair(General& general)
    : tmrC2SThrottleDataRequest(general.mPlatform.timers,
                                [this] {
                                  ResumeThrottled(tmrC2SThrottleDataRequest,
                                                  &ProtocolHandler::ResumeThrottledOrDangledClientSend);
                                }),
      tmrS2CThrottleDataRequest(general.mPlatform.timers,
                                [this] {
                                  ResumeThrottled(tmrS2CThrottleDataRequest,
                                                  &ProtocolHandler::ResumeThrottledOrDangledServerSend);
                                }),
      tmrDangleStartTimer(general.mPlatform.timers, [this] { tmrDangleStartTimer_Timer(); }),
      tmrDangleStopTimer(general.mPlatform.timers, [this] { tmrDangleStopTimer_Timer(); }),
      tmrTerminationTime(general.mPlatform.timers, [this] { tmrTerminationTime_Timer(); }),
      mGeneral(general),
      mServerEvents(std::make_unique<ServerEvents>(*this)),
      mClientEvents(std::make_unique<ClientEvents>(*this)),
      sckServer(general.mPlatform.sockets.CreateSocket(*mServerEvents)),
      sckClient(general.mPlatform.sockets.CreateSocket(*mClientEvents)) {}

SocketPair::~SocketPair() {
  StopWaiting();
  mGeneral.mPayloadLimit.Change(-mHeldAsCounted);
}

// Holds the pair and the handler for the time of the event: what happens inside may let go of both. An
// unloaded pair has no handler and hears nothing.
template <class Call>
void SocketPair::Tell(Call&& call) {
  const auto keep = shared_from_this();
  const ProtocolHandlerRef handler = mobjProtocolHandler;
  if (handler) call(*handler);
  EndOrphan();
  CountHeld();
}

// Both sides have closed while data for the other was on its way: each close waits for a completion that
// cannot come any more. The end of a dangle may still end the pair in its own way.
void SocketPair::EndOrphan() {
  const auto isClosed = [](SocketState state) {
    return state == SocketState::kClosed || state == SocketState::kError;
  };
  if (mDead || mblnTerminated || !mClientInitialised || !mobjProtocolHandler) return;
  if (!isClosed(ServerState()) || !isClosed(ClientState())) return;
  if (IsDue(tmrDangleStartTimer) || IsDue(tmrDangleStopTimer)) return;
  mDead = true;
  mGeneral.gobjLogging->Dead(*this);
}

void SocketPair::Terminate() {
  if (ServerState() == SocketState::kConnected) sckServer->Close();
  if (ClientState() == SocketState::kConnected) sckClient->Close();
  mblnTerminated = true;
}

void SocketPair::Unload() {
  for (Timer* timer : {&tmrC2SThrottleDataRequest, &tmrS2CThrottleDataRequest, &tmrDangleStartTimer,
                       &tmrDangleStopTimer, &tmrTerminationTime}) {
    timer->SetEnabled(false);
  }
  sckServer->Close();
  sckClient->Close();
  mobjProtocolHandler.reset();
  StopWaiting();
  CountHeld();
}

void SocketPair::StopWaiting() {
  for (Backlog* const backlog : {&mToServer, &mToClient})
    mGeneral.mPayloadLimit.Forget(std::exchange(backlog->place, PayloadLimit::kNowhere));
}

/// Leaves the bytes where they are, and so the sender waiting, while too much is held.
Payload SocketPair::Read(Socket& socket, bool clientToServer) {
  Backlog& backlog = clientToServer ? mToServer : mToClient;
  PayloadLimit& limit = mGeneral.mPayloadLimit;
  if (!limit.IsReached() || BytesHeld(clientToServer) <= kAlwaysRead) return socket.GetData();
  backlog.senderWaits = true;
  if (backlog.place == PayloadLimit::kNowhere) {
    backlog.place = limit.Wait([this, clientToServer] {
      (clientToServer ? mToServer : mToClient).place = PayloadLimit::kNowhere;
      ReadOn(clientToServer);
    });
  }
  return {};
}

qsizetype SocketPair::BytesHeld(bool clientToServer) const {
  if (!mobjProtocolHandler) return 0;
  const SocketState state = clientToServer ? ClientState() : ServerState();
  // What a closed socket still holds is the reactor's to count.
  const bool leaves = state == SocketState::kConnected || state == SocketState::kPeerClosing;
  return mobjProtocolHandler->BytesHeld(clientToServer) +
         (leaves ? (clientToServer ? mToServer : mToClient).leaving : 0);
}

void SocketPair::CountHeld() {
  const qsizetype toServer = BytesHeld(true);
  const qsizetype toClient = BytesHeld(false);
  mGeneral.mPayloadLimit.Change(toServer + toClient - std::exchange(mHeldAsCounted, toServer + toClient));
  if (toServer <= kAlwaysRead) ReadOn(true);
  if (toClient <= kAlwaysRead) ReadOn(false);
}

void SocketPair::ReadOn(bool clientToServer) {
  Backlog& backlog = clientToServer ? mToServer : mToClient;
  if (!std::exchange(backlog.senderWaits, false)) return;
  const SocketState state = clientToServer ? ServerState() : ClientState();
  if (state == SocketState::kConnected || state == SocketState::kPeerClosing)
    (clientToServer ? mServerEvents : mClientEvents)->DataArrival(0);
}

void SocketPair::Bind(ProtocolHandlerRef objProtocolHandler) {
  mobjProtocolHandler = std::move(objProtocolHandler);
  mobjProtocolHandler->mobjSocketPair = this;
  mobjProtocolHandler->mobjLogging = mGeneral.gobjLogging;
}

void SocketPair::ServerConnected(qint32 lngRequestId, ProtocolHandlerRef objProtocolHandler) {
  const ProtocolHandlerRef handler = objProtocolHandler;
  try {
    Bind(std::move(objProtocolHandler));
    sckServer->Accept(lngRequestId);
    handler->LocalServerAcceptedConnection();
  } catch (...) {
    const Failure failure = CurrentFailure();
    handler->ServerError(failure.Number(), failure.Text());
  }
}

void SocketPair::ConnectionRejected(qint32, ProtocolHandlerRef objProtocolHandler) {
  const ProtocolHandlerRef handler = objProtocolHandler;
  try {
    Bind(std::move(objProtocolHandler));
    handler->LocalServerRejectedConnection();
  } catch (...) {
    const Failure failure = CurrentFailure();
    handler->ServerError(failure.Number(), failure.Text());
  }
}

bool SocketPair::AttemptConnectionToRemoteServer(const QString& strServerIP, qint32 lngServerPort,
                                                 QString& strError, qint32& lngErrorCode) {
  try {
    sckClient->Connect(strServerIP, lngServerPort);
    return true;
  } catch (...) {
    const Failure failure = CurrentFailure();
    strError = failure.Text();
    lngErrorCode = failure.Number();
    return false;
  }
}

// The moment when a connection is fully up, and so the one at which its failures are scheduled.
void SocketPair::OutgoingConnectionStands(ProtocolHandler& handler) {
  mClientInitialised = true;
  // The termination's plan is worked out in a copy and lost, so the comment begins with a blank. Kept: the
  // recorded text of the connection depends on it.
  const QString terminationComment;
  QString danglingComment;
  // A field of the schedule may be unusable; the connection goes on without what that field plans. Left to
  // the message loop, the failure would keep the handler from ever hearing that its connection stands.
  const QString failureText = QStringLiteral(
      "An error occurred while attempting to schedule the failures of a connection.  The operating system "
      "reports: ");
  mGeneral.Guard(failureText, [&] { ScheduleTermination(terminationComment); });
  if (!mGeneral.Guard(failureText, [&] { ScheduleDangle(danglingComment); })) danglingComment.clear();
  handler.ConnectedToRemoteServer(terminationComment + u' ' + danglingComment);
  // Only from here on is this timer off; before, its interval of 0 says that no dangle is on.
  tmrDangleStopTimer.SetEnabled(false);
}

void SocketPair::ScheduleTermination(const QString& comment) {
  qint32 period = 0;
  const bool terminate = mGeneral.frmProblemSimulation->ShouldConnectionBeTerminated(period, comment);
  tmrTerminationTime.SetInterval(terminate ? period : 0);
  tmrTerminationTime.SetEnabled(terminate);
}

void SocketPair::ScheduleDangle(QString& comment) {
  qint32 timeBeforeDangle = 0;
  const bool dangle = mGeneral.frmProblemSimulation->ShouldConnectionBeDangled(
      timeBeforeDangle, mlngTimeDuringDangle, mintDataBeingDangled, comment);
  tmrDangleStartTimer.SetInterval(dangle ? timeBeforeDangle : 0);
  tmrDangleStartTimer.SetEnabled(dangle);
}

bool SocketPair::ClientSendData(const PayloadBuffer& data, Payload& strDataSent,
                                PayloadBuffer& strDataStillToBeSent) {
  return Send(kClientRoad, data, strDataSent, strDataStillToBeSent);
}

bool SocketPair::ServerSendData(const PayloadBuffer& data, Payload& strDataSent,
                                PayloadBuffer& strDataStillToBeSent) {
  return Send(kServerRoad, data, strDataSent, strDataStillToBeSent);
}

bool SocketPair::Send(const SendRoad& road, const PayloadBuffer& data, Payload& sent,
                      PayloadBuffer& stillToBeSent) {
  Socket& socket = *(this->*road.socket);
  if (socket.State() != SocketState::kConnected || data.IsEmpty()) return false;
  Timer& timer = this->*road.throttleTimer;
  bool& unreadable = this->*road.throttleUnreadable;
  const bool wasUnreadable = std::exchange(unreadable, true);
  if (&stillToBeSent != &data) stillToBeSent = data;
  try {
    // A throttle that says nothing lets all through.
    qint64 amount = stillToBeSent.Size();
    qint32 nextSendPeriod = 0;
    const bool throttled = mGeneral.frmProblemSimulation->IsThrottlingNeeded(
        road.fromServerToClient, stillToBeSent.Size(), amount, nextSendPeriod);
    if (throttled && amount < 0) throw Failure(FailureNumber::kBadArgument);
    unreadable = false;
    if (!throttled) timer.SetEnabled(false);
    sent = throttled ? stillToBeSent.Take(static_cast<qsizetype>(amount)) : stillToBeSent.TakeAll();
    socket.SendData(sent);
    (this->*road.backlog).leaving += sent.Cost();
    if (throttled) {
      timer.SetInterval(nextSendPeriod);
      timer.SetEnabled(true);
      // Nothing has gone, so no completion will come either, and an interval of 0 is silent.
      if (sent.IsEmpty() && nextSendPeriod <= 0) AskAgain(timer);
    }
    return throttled;
  } catch (...) {
    // A number that the user is typing is no number for a while: nothing is lost by it, and he is told once.
    if (unreadable) AskAgain(timer);
    if (!unreadable || !wasUnreadable) mGeneral.LogError(QString::fromUtf16(road.failureText));
    return false;
  }
}

void SocketPair::AskAgain(Timer& timer) {
  timer.SetInterval(std::max(timer.Interval(), kAskAgain));
  timer.SetEnabled(true);
}

void SocketPair::ResumeThrottled(Timer& timer, bool (ProtocolHandler::*resume)(bool)) {
  Tell([&](ProtocolHandler& handler) {
    // A timer that fires between the end of its pair and the sweep finds the sockets closed and says so;
    // once is enough.
    if (!(handler.*resume)(false) || mblnTerminated) timer.SetEnabled(false);
  });
}

void SocketPair::tmrDangleStartTimer_Timer() {
  Tell([this](ProtocolHandler& handler) {
    tmrDangleStartTimer.SetEnabled(false);
    handler.DanglingStatusChanged(true, mintDataBeingDangled, mlngTimeDuringDangle);
    tmrDangleStopTimer.SetInterval(mlngTimeDuringDangle);
    tmrDangleStopTimer.SetEnabled(true);
  });
}

void SocketPair::tmrDangleStopTimer_Timer() {
  Tell([this](ProtocolHandler& handler) {
    tmrDangleStopTimer.SetEnabled(false);
    handler.DanglingStatusChanged(false, mintDataBeingDangled, mlngTimeDuringDangle);
    EndDangle(handler);
  });
}

// By the choice as it stands now, not as it stood when the dangle began.
void SocketPair::EndDangle(ProtocolHandler& handler) {
  const int choice = mGeneral.frmProblemSimulation->DangleCloseChoice();
  if (choice == 0) {
    handler.RemoteServerInitiatedDisconnection(
        QStringLiteral("Connection terminated as per dangling schedule."));
  } else if (choice == 1 || choice == 2) {
    const bool discard = choice == 2;
    const bool both = mintDataBeingDangled == 2;
    if (both || mintDataBeingDangled == 0) handler.ResumeThrottledOrDangledClientSend(discard);
    if (both || mintDataBeingDangled == 1) handler.ResumeThrottledOrDangledServerSend(discard);
  }
}

void SocketPair::tmrTerminationTime_Timer() {
  Tell([this](ProtocolHandler& handler) {
    tmrTerminationTime.SetEnabled(false);
    const int choice = mGeneral.frmProblemSimulation->GracefulTerminationChoice();
    if (choice == 0) {
      // As if the remote server had closed in good order.
      handler.RemoteServerInitiatedDisconnection(QStringLiteral("Connection terminated as per schedule."));
    } else if (choice == 1) {
      // As if the outgoing socket had failed.
      handler.ClientError(0, QStringLiteral("Socket connection scheduled for termination by VLT."));
    }
  });
}

bool SocketPair::IsDanglingCurrentlyOn(bool blnClientToServer) const {
  if (!IsDue(tmrDangleStopTimer)) return false;
  return mintDataBeingDangled == 2 || mintDataBeingDangled == (blnClientToServer ? 0 : 1);
}

}  // namespace veltrane
