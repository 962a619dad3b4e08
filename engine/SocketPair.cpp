#include "engine/SocketPair.h"

#include <utility>

#include "engine/FailureSchedule.h"
#include "engine/General.h"
#include "engine/Recorder.h"

namespace veltrane {
namespace {

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
      const Payload data = mPair.mServer->GetData();
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
      const Payload data = mPair.mClient->GetData();
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
    mPair.Tell([](ProtocolHandler& handler) { handler.ClientBytesSent(); });
  }

 private:
  SocketPair& mPair;
};

/// What differs between the two sends.
struct SocketPair::SendRoad {
  std::unique_ptr<Socket> SocketPair::*socket;
  Timer SocketPair::*throttleTimer;
  bool fromServerToClient;
  const char16_t* failureText;
};

const SocketPair::SendRoad SocketPair::kClientRoad{
    &SocketPair::mClient, &SocketPair::tmrC2SThrottleDataRequest, false,
    u"An error occurred while sending the data through the client (Low Level)"};
const SocketPair::SendRoad SocketPair::kServerRoad{
    &SocketPair::mServer, &SocketPair::tmrS2CThrottleDataRequest, true,
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
      mServer(general.mPlatform.sockets.CreateSocket(*mServerEvents)),
      mClient(general.mPlatform.sockets.CreateSocket(*mClientEvents)) {}

SocketPair::~SocketPair() = default;

// Holds the pair and the handler for the time of the event: what happens inside may let go of both. An
// unloaded pair has no handler and hears nothing.
template <class Call>
void SocketPair::Tell(Call&& call) {
  const auto keep = shared_from_this();
  const ProtocolHandlerRef handler = mobjProtocolHandler;
  if (handler) call(*handler);
}

void SocketPair::Terminate() {
  if (ServerState() == SocketState::kConnected) mServer->Close();
  if (ClientState() == SocketState::kConnected) mClient->Close();
  mblnTerminated = true;
}

void SocketPair::Unload() {
  for (Timer* timer : {&tmrC2SThrottleDataRequest, &tmrS2CThrottleDataRequest, &tmrDangleStartTimer,
                       &tmrDangleStopTimer, &tmrTerminationTime}) {
    timer->SetEnabled(false);
  }
  mServer->Close();
  mClient->Close();
  mobjProtocolHandler.reset();
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
    mServer->Accept(lngRequestId);
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
    mClient->Connect(strServerIP, lngServerPort);
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
  // A field of the schedule may be unusable; the connection goes on without that failure.
  mGeneral.Guard(
      u"An error occurred while attempting to schedule the failures of a connection.  The operating system "
      u"reports: ",
      [&] {
        ScheduleTermination(terminationComment);
        ScheduleDangle(danglingComment);
      });
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
  try {
    qint64 amount = 0;
    qint32 nextSendPeriod = 0;
    const bool throttled = mGeneral.frmProblemSimulation->IsThrottlingNeeded(
        road.fromServerToClient, data.Size(), amount, nextSendPeriod);
    if (throttled && amount < 0) throw Failure(FailureNumber::kBadArgument);
    if (&stillToBeSent != &data) stillToBeSent = data;
    if (!throttled) timer.SetEnabled(false);
    sent = throttled ? stillToBeSent.Take(static_cast<qsizetype>(amount)) : stillToBeSent.TakeAll();
    socket.SendData(sent);
    if (throttled) {
      timer.SetInterval(nextSendPeriod);
      timer.SetEnabled(true);
    }
    return throttled;
  } catch (...) {
    mGeneral.LogError(QString::fromUtf16(road.failureText));
    return false;
  }
}

void SocketPair::ResumeThrottled(Timer& timer, bool (ProtocolHandler::*resume)(bool)) {
  Tell([&](ProtocolHandler& handler) {
    if (!(handler.*resume)(false)) timer.SetEnabled(false);
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
  const int choice = mGeneral.frmProblemSimulation->optDangleClose();
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
    const int choice = mGeneral.frmProblemSimulation->optGracefulTermination();
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
  if (!tmrDangleStopTimer.Enabled() || tmrDangleStopTimer.Interval() <= 0) return false;
  return mintDataBeingDangled == 2 || mintDataBeingDangled == (blnClientToServer ? 0 : 1);
}

}  // namespace veltrane
