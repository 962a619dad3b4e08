#include "protocols/RelayHandler.h"

#include <array>
#include <utility>

#include "engine/MainWindow.h"
#include "engine/Recorder.h"
#include "engine/SocketPair.h"

namespace veltrane {
namespace {

constexpr qint32 kBadState = -1;
const QString kNotConnected = QStringLiteral("Socket not connected");

constexpr const char16_t* kResumeClientSend =
    u"process the data during the throttled send through the local client";
constexpr const char16_t* kResumeServerSend =
    u"process the data during the throttled send through the local server";

/// Host not found, host not found but try again, connection timed out: the attempt failed, not the socket.
bool IsFailedAttempt(qint32 errorNumber) {
  return errorNumber == 11001 || errorNumber == 11002 || errorNumber == 10060;
}

}  // namespace

QString MessageText(const OperationText& text) {
  return QStringLiteral("An error occurred while attempting to ") + QString::fromUtf16(text.what) +
         QStringLiteral(" (") + QString::fromUtf16(text.protocol) +
         QStringLiteral(").  The operating system reports: ");
}

const RelayHandler::Lane RelayHandler::kToServer{
    .clientToServer = true,
    .buffer = &RelayHandler::mvarClientBuffer,
    .sending = &RelayHandler::mblnClientSending,
    .sendPending = &RelayHandler::mblnClientSendPending,
    .senderGone = &RelayHandler::mblnRemoteClientGone,
    .directSendIsPending = false,
    .state = &SocketPair::ClientState,
    .disconnect = &SocketPair::ClientDisconnect,
    .isThrottled = &SocketPair::IsClientSendingData,
    .isThrottleTimerDue = &SocketPair::IsClientThrottleTimerDue,
    .sendData = &SocketPair::ClientSendData,
    .disconnected = &Recorder::LocalClientDisconnected,
    .bytesBuffered = &Recorder::ClientBytesBuffered,
    .sendStart = &Recorder::ClientBytesSendStart,
    .sendStop = &Recorder::ClientBytesSendStop,
    .endBadSocket = &RelayHandler::EndBadClientSocket,
    .endBadSocketWhileDraining = &RelayHandler::EndBadClientSocketClosing,
};

const RelayHandler::Lane RelayHandler::kToClient{
    .clientToServer = false,
    .buffer = &RelayHandler::mvarServerBuffer,
    .sending = &RelayHandler::mblnServerSending,
    .sendPending = &RelayHandler::mblnServerSendPending,
    .senderGone = &RelayHandler::mblnRemoteServerGone,
    .directSendIsPending = true,
    .state = &SocketPair::ServerState,
    .disconnect = &SocketPair::ServerDisconnect,
    .isThrottled = &SocketPair::IsServerSendingData,
    .isThrottleTimerDue = &SocketPair::IsServerThrottleTimerDue,
    .sendData = &SocketPair::ServerSendData,
    .disconnected = &Recorder::LocalServerDisconnected,
    .bytesBuffered = &Recorder::ServerBytesBuffered,
    .sendStart = &Recorder::ServerBytesSendStart,
    .sendStop = &Recorder::ServerBytesSendStop,
    .endBadSocket = &RelayHandler::EndBadServerSocket,
    .endBadSocketWhileDraining = &RelayHandler::EndBadServerSocket,
};

void RelayHandler::LocalServerAcceptedConnection() {
  Attempt(&FailureTexts::localServerAcceptedConnection, [this] { BeginConnection(); });
}

void RelayHandler::LocalServerRejectedConnection() {
  Attempt(&FailureTexts::localServerRejectedConnection, [this] {
    Log().LocalServerRejectedConnection(Pair(), true, mlngWasListeningOnPort);
    Log().GotProtocol(Pair(), RejectedProtocolName());
    Log().Dead(Pair());
  });
}

void RelayHandler::RecordNameOfRemoteClient() {
  const QString name = Pair().RemoteClientName();
  if (!name.isEmpty()) Log().GotNameOfRemoteClient(Pair(), name);
}

bool RelayHandler::AttemptConnection(const QString& server, qint32 port) {
  Log().ConnectionAttemptToRemoteServer(Pair(), server, port, false);
  QString error;
  qint32 errorNumber = 0;
  if (Pair().AttemptConnectionToRemoteServer(server, port, error, errorNumber)) return true;
  Log().ConnectionAttemptFailed(Pair(), true, error, errorNumber);
  Pair().SetDead(true);
  DisconnectIfConnected(kToClient);
  Log().Dead(Pair());
  return false;
}

void RelayHandler::ConnectedToRemoteServer(const QString& strComment) {
  Attempt(&FailureTexts::connectedToRemoteServer, [&] {
    Log().ConnectionAttemptSuccessful(Pair(), false, strComment);
    BeginRelay();
  });
}

void RelayHandler::BeginRelay() {
  if (!mvarClientBuffer.IsEmpty()) {
    // The remote client spoke first.
    mblnClientSending = true;
    SendBuffer(kToServer);
  } else if (mblnRemoteClientGone) {
    FinishPair();
  }
}

void RelayHandler::FinishPair() {
  Pair().SetDead(true);
  DisconnectIfConnected(kToServer);
  DisconnectIfConnected(kToClient);
  Log().Dead(Pair());
}

void RelayHandler::ServerBytesReceived(const Payload& strData) {
  Attempt(&FailureTexts::serverBytesReceived, [&] {
    Log().ServerBytesReceived(Pair(), strData, true);
    if (Pair().ClientInitialised()) {
      ClientSpoke(strData);
    } else {
      ClientSpokeEarly(strData);
    }
  });
}

// No test of ClientInitialised: data can only come from a connection that stands.
void RelayHandler::ClientBytesReceived(const Payload& strData) {
  Attempt(&FailureTexts::clientBytesReceived, [&] { ServerSpoke(strData); });
}

void RelayHandler::ServerSpoke(const Payload& data) {
  Log().ClientBytesReceived(Pair(), data, true);
  Relay(kToClient, data);
}

void RelayHandler::Hold(const Lane& lane, const Payload& data, bool becauseOfDangling) {
  (this->*lane.buffer).Append(data);
  (Log().*lane.bytesBuffered)(Pair(), data, false, becauseOfDangling);
}

void RelayHandler::Relay(const Lane& lane, const Payload& data) {
  if (Pair().IsDanglingCurrentlyOn(lane.clientToServer)) {
    Hold(lane, data, true);
  } else if ((Pair().*lane.state)() != SocketState::kConnected) {
    (this->*lane.endBadSocket)();
  } else if (this->*lane.sending ||
             (!(this->*lane.buffer).IsEmpty() && !(lane.clientToServer && mLoginIsPassed))) {
    Hold(lane, data, false);
    // What waits without a run of sends is a login that waits for its server's greeting: what the client says
    // before the server has spoken belongs behind it. Or it is what a dangle has left that ended with no
    // choice made: that goes with the next data.
    if (!(this->*lane.sending) && !(lane.clientToServer && LoginWaits())) Resume(lane, false);
  } else {
    if (lane.directSendIsPending) this->*lane.sendPending = true;
    SendNow(lane, data);
  }
}

void RelayHandler::SendOwn(const Lane& lane, const Payload& text) {
  if ((Pair().*lane.state)() != SocketState::kConnected) {
    (this->*lane.endBadSocketWhileDraining)();
  } else if (this->*lane.sending) {
    Hold(lane, text, false);
  } else {
    this->*lane.sendPending = true;
    SendNow(lane, text);
  }
}

void RelayHandler::SendNow(const Lane& lane, const Payload& data) {
  this->*lane.sending = true;
  Payload sent;
  // What the throttle keeps back goes before what the buffer may hold: a text of the proxy's own passes a
  // dangle, or a login that waits.
  PayloadBuffer rest;
  const bool throttled = (Pair().*lane.sendData)(PayloadBuffer(data), sent, rest);
  (this->*lane.buffer).Prepend(rest);
  RecordSend(lane, sent, throttled);
}

void RelayHandler::RecordSend(const Lane& lane, const Payload& sent, bool throttled) {
  // All still waits, because the throttle lets nothing through now or cannot be read: no completion will
  // come, only the timer.
  if (sent.IsEmpty() && !(this->*lane.buffer).IsEmpty()) this->*lane.sendPending = false;
  (Log().*lane.sendStart)(Pair(), sent, false, throttled);
}

void RelayHandler::SendBuffer(const Lane& lane) {
  this->*lane.sendPending = true;
  PayloadBuffer& buffer = this->*lane.buffer;
  Payload sent;
  const bool throttled = (Pair().*lane.sendData)(buffer, sent, buffer);
  RecordSend(lane, sent, throttled);
}

void RelayHandler::SendPiece(const Lane& lane) {
  this->*lane.sendPending = true;
  PayloadBuffer& buffer = this->*lane.buffer;
  Payload sent;
  PayloadBuffer rest;
  const bool throttled = (Pair().*lane.sendData)(PayloadBuffer(buffer.Take(DrainPiece())), sent, rest);
  buffer.Prepend(rest);
  RecordSend(lane, sent, throttled);
}

void RelayHandler::ClientBytesSent() {
  Attempt(&FailureTexts::clientBytesSent, [this] { BytesSent(kToServer); });
}

void RelayHandler::ServerBytesSent() {
  Attempt(&FailureTexts::serverBytesSent, [this] { BytesSent(kToClient); });
}

void RelayHandler::BytesSent(const Lane& lane) {
  this->*lane.sendPending = false;
  (Log().*lane.sendStop)(Pair());
  const PayloadBuffer& buffer = this->*lane.buffer;
  if (!buffer.IsEmpty() && !Pair().IsDanglingCurrentlyOn(lane.clientToServer)) {
    if ((Pair().*lane.state)() != SocketState::kConnected) {
      (this->*lane.endBadSocketWhileDraining)();
    } else if ((Pair().*lane.isThrottleTimerDue)()) {
      // The throttle timer goes on with the buffer.
    } else if ((Pair().*lane.isThrottled)() || buffer.Size() < DrainPiece()) {
      // Under a throttle whose last send was less than it allows, the whole buffer is offered: the throttle
      // cuts it, and its timer runs again.
      SendBuffer(lane);
    } else {
      SendPiece(lane);
    }
    return;
  }
  // During a dangle the flag falls although the buffer holds data: new data is tested against the dangle
  // first, and after it the resume drains the buffer.
  this->*lane.sending = false;
  if (this->*lane.senderGone) {
    Pair().SetDead(true);
    DisconnectIfConnected(lane);
    Log().Dead(Pair());
  }
}

bool RelayHandler::ResumeThrottledOrDangledClientSend(bool blnDiscardData) {
  bool result = false;
  mGeneral.Guard(OperationText{kResumeClientSend, Texts().resumeProtocol},
                 [&] { result = Resume(kToServer, blnDiscardData); });
  return result;
}

bool RelayHandler::ResumeThrottledOrDangledServerSend(bool blnDiscardData) {
  bool result = false;
  mGeneral.Guard(OperationText{kResumeServerSend, Texts().resumeProtocol},
                 [&] { result = Resume(kToClient, blnDiscardData); });
  return result;
}

bool RelayHandler::Resume(const Lane& lane, bool discard) {
  PayloadBuffer& buffer = this->*lane.buffer;
  if (discard) {
    // Only the buffer: the flag of a run of sends keeps its value.
    buffer.Clear();
    return false;
  }
  if (buffer.IsEmpty() || Pair().IsDanglingCurrentlyOn(lane.clientToServer)) {
    this->*lane.sending = false;
    return false;
  }
  if ((Pair().*lane.state)() != SocketState::kConnected) {
    (this->*lane.endBadSocket)();
  } else {
    // After a dangle this begins a run of sends: what arrives before it has run dry goes behind the rest, and
    // a close waits for it.
    this->*lane.sending = true;
    if (!(this->*lane.sendPending)) SendBuffer(lane);
  }
  return true;
}

void RelayHandler::RemoteServerInitiatedDisconnection(const QString& strComment) {
  Attempt(&FailureTexts::remoteServerInitiatedDisconnection, [&] {
    if (Pair().IsDanglingCurrentlyOn(false) || mblnServerSending) {
      mblnRemoteServerGone = true;
      Pair().ClientDisconnect();
      Log().RemoteServerDisconnected(Pair(), false, strComment);
      return;
    }
    Pair().SetDead(true);
    Pair().ClientDisconnect();
    const bool serverConnected = Pair().ServerState() == SocketState::kConnected;
    Log().RemoteServerDisconnected(Pair(), serverConnected, strComment);
    if (serverConnected) DisconnectIfConnected(kToClient);
    Log().Dead(Pair());
  });
}

void RelayHandler::RemoteClientInitiatedDisconnection() {
  Attempt(&FailureTexts::remoteClientInitiatedDisconnection, [this] {
    const bool owesData = Pair().IsDanglingCurrentlyOn(true) || mblnClientSending;
    if (owesData || !Pair().ClientInitialised()) {
      // What the server side still owes, or the outcome of the attempt, finishes the pair.
      mblnRemoteClientGone = true;
      Pair().ServerDisconnect();
      Log().RemoteClientDisconnected(Pair(), false);
      if (!owesData) ClientLeftEarly();
      return;
    }
    Pair().SetDead(true);
    Pair().ServerDisconnect();
    const bool clientConnected = Pair().ClientState() == SocketState::kConnected;
    Log().RemoteClientDisconnected(Pair(), clientConnected);
    if (clientConnected) DisconnectIfConnected(kToServer);
    Log().Dead(Pair());
  });
}

void RelayHandler::ServerError(qint32 lngErrorNumber, const QString& strError) {
  Attempt(&FailureTexts::serverError, [&] {
    Log().ServerInBadState(Pair(), lngErrorNumber, strError, false);
    Pair().ServerDisconnect();
    Log().LocalServerDisconnected(Pair(), false);
    if (Pair().ClientState() == SocketState::kConnected) {
      DisconnectIfConnected(kToServer);
    } else if (!Pair().ClientInitialised()) {
      // A connection that comes up late is closed.
      mblnRemoteClientGone = true;
    }
    Pair().SetDead(true);
    Log().Dead(Pair());
  });
}

void RelayHandler::ClientError(qint32 lngErrorNumber, const QString& strError) {
  Attempt(&FailureTexts::clientError, [&] {
    const bool attemptFailed = IsFailedAttempt(lngErrorNumber);
    if (attemptFailed) {
      Log().ConnectionAttemptFailed(Pair(), false, strError, lngErrorNumber);
    } else {
      Log().ClientInBadState(Pair(), lngErrorNumber, strError, false);
    }
    OutgoingSocketFailed(attemptFailed);
    if (Pair().ClientInitialised()) {
      Pair().ClientDisconnect();
      Log().LocalClientDisconnected(Pair(), false);
    }
    DisconnectIfConnected(kToClient);
    Pair().SetDead(true);
    Log().Dead(Pair());
  });
}

void RelayHandler::DanglingStatusChanged(bool blnDanglingOn, qint16 intDataBeingDangled,
                                         qint32 lngTimeDuringDangle) {
  Log().DanglingStatusChanged(Pair(), blnDanglingOn, intDataBeingDangled, lngTimeDuringDangle);
  // A close that waits is carried out at the start of a dangle as well as at its end, and a dangle of both
  // directions may so end the pair twice. Both are meant.
  const bool both = intDataBeingDangled == 2;
  if (mblnRemoteClientGone && (both || intDataBeingDangled == 0)) FinishPair();
  if (mblnRemoteServerGone && (both || intDataBeingDangled == 1)) {
    Pair().SetDead(true);
    DisconnectIfConnected(kToClient);
    Log().Dead(Pair());
  }
}

void RelayHandler::ShowPage(Form& page, Form* frmParent) {
  if (mGeneral.frmMain && mGeneral.frmMain->KeepOnTop()) mGeneral.SetTopMostWindow(page, true);
  page.ShowModal(frmParent);
}

void RelayHandler::DisconnectIfConnected(const Lane& lane) {
  if ((Pair().*lane.state)() != SocketState::kConnected) return;
  (Pair().*lane.disconnect)();
  (Log().*lane.disconnected)(Pair(), false);
}

void RelayHandler::EndBadServerSocket() {
  Log().ServerInBadState(Pair(), kBadState, kNotConnected, false);
  Pair().ServerDisconnect();
  Log().LocalServerDisconnected(Pair(), false);
  DisconnectIfConnected(kToServer);
  Pair().SetDead(true);
  Log().Dead(Pair());
}

void RelayHandler::EndBadClientSocketClosing() {
  Log().ClientInBadState(Pair(), kBadState, kNotConnected, false);
  Pair().ClientDisconnect();
  Log().LocalClientDisconnected(Pair(), false);
  DisconnectIfConnected(kToClient);
  Pair().SetDead(true);
  Log().Dead(Pair());
}

void RelayHandler::EndBadClientSocket() {
  Log().ClientInBadState(Pair(), kBadState, kNotConnected, false);
  DisconnectIfConnected(kToClient);
  Pair().SetDead(true);
  Log().Dead(Pair());
}

}  // namespace veltrane
