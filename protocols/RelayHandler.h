// The skeleton of all handlers: relays the bytes of one connection both ways, holds what cannot leave yet,
// and ends the pair when a side goes. A handler overrides the steps in which it differs.
//
// Each direction keeps two flags. The pending flag keeps a throttle timer from offering data before
// SendComplete of the previous piece; the throttle's own state keeps a SendComplete from sending before its
// period is over. Each piece goes out when both have happened, in either order.
#pragma once

#include <utility>

#include "engine/General.h"
#include "engine/ProtocolHandler.h"
#include "engine/Socket.h"

namespace veltrane {

/// What each operation was attempting when it failed, in the words of its report.
struct FailureTexts {
  const char16_t* protocol = nullptr;
  /// The protocol's name in the reports of the resumed sends.
  const char16_t* resumeProtocol = nullptr;
  const char16_t* localServerAcceptedConnection = nullptr;
  const char16_t* localServerRejectedConnection = nullptr;
  const char16_t* connectedToRemoteServer = nullptr;
  const char16_t* remoteServerInitiatedDisconnection = nullptr;
  const char16_t* clientBytesReceived = nullptr;
  const char16_t* clientBytesSent = nullptr;
  const char16_t* remoteClientInitiatedDisconnection = nullptr;
  const char16_t* serverBytesReceived = nullptr;
  const char16_t* serverError = nullptr;
  const char16_t* clientError = nullptr;
  const char16_t* serverBytesSent = nullptr;
  const char16_t* routeRequest = nullptr;
  // Of handlers that have texts of their own to send.
  const char16_t* sendDataToRemoteClient = nullptr;
  const char16_t* sendDataToRemoteServer = nullptr;
};

/// A report's text, put together only when there is something to report: "An error occurred while attempting
/// to ", what, the protocol in brackets, and "The operating system reports: ".
struct OperationText {
  const char16_t* what;
  const char16_t* protocol;
};
QString MessageText(const OperationText& text);

class RelayHandler : public ProtocolHandler {
 public:
  explicit RelayHandler(General& general) : mGeneral(general) {}

  void LocalServerAcceptedConnection() override;
  void LocalServerRejectedConnection() override;
  void ConnectedToRemoteServer(const QString& strComment) override;
  void RemoteServerInitiatedDisconnection(const QString& strComment) override;
  void ClientBytesReceived(const Payload& strData) override;
  void ClientBytesSent() override;
  void RemoteClientInitiatedDisconnection() override;
  void ServerBytesReceived(const Payload& strData) override;
  void ServerError(qint32 lngErrorNumber, const QString& strError) override;
  void ClientError(qint32 lngErrorNumber, const QString& strError) override;
  void ServerBytesSent() override;
  bool ResumeThrottledOrDangledClientSend(bool blnDiscardData) override;
  bool ResumeThrottledOrDangledServerSend(bool blnDiscardData) override;
  void DanglingStatusChanged(bool blnDanglingOn, qint16 intDataBeingDangled,
                             qint32 lngTimeDuringDangle) override;
  qsizetype BytesHeld(bool blnClientToServer) const override {
    return (blnClientToServer ? mvarClientBuffer : mvarServerBuffer).Cost();
  }

 protected:
  struct Lane;
  static const Lane kToServer;
  static const Lane kToClient;

  virtual const FailureTexts& Texts() const = 0;
  /// What an accepted connection does, after its client was recorded or before, as the handler needs.
  virtual void BeginConnection() = 0;
  /// The protocol's name as the history shows it for a rejected connection.
  virtual QString RejectedProtocolName() const = 0;
  /// The greatest number of bytes taken from a buffer in one send while it drains.
  virtual qsizetype DrainPiece() const { return kDrainPiece; }
  /// The outgoing connection stands and was recorded: sends what waits, or ends a pair whose client has left.
  virtual void BeginRelay();
  /// Data from the remote client that comes before the outgoing connection stands; recorded already.
  virtual void ClientSpokeEarly(const Payload& data) { Hold(kToServer, data, false); }
  /// Data from the remote client once the outgoing connection stands; recorded already.
  virtual void ClientSpoke(const Payload& data) { Relay(kToServer, data); }
  /// Data from the remote server, to be recorded here.
  virtual void ServerSpoke(const Payload& data);
  /// Whether what waits for the server is a login, and waits for the server's greeting.
  virtual bool LoginWaits() const { return false; }
  /// The remote client has left before the outgoing connection stood; recorded already.
  virtual void ClientLeftEarly() {}
  /// The outgoing socket has failed, or could not be connected at all; recorded already.
  virtual void OutgoingSocketFailed(bool blnAttemptFailed) { Q_UNUSED(blnAttemptFailed) }

  /// Shows a property page of this handler and returns when it is closed.
  template <class Page>
  void ShowPage(qint32 lngPort, Form* frmParent) {
    Page page(mGeneral);
    page.mlngPort = lngPort;
    page.mobjParent = this;
    ShowPage(page, frmParent);
  }

  /// Runs one operation's body; a failure in it is reported under the operation's text.
  template <class Body>
  bool Attempt(const char16_t* FailureTexts::*operation, Body&& body) {
    return mGeneral.Guard(OperationText{Texts().*operation, Texts().protocol}, std::forward<Body>(body));
  }

  SocketPair& Pair() const { return *mobjSocketPair; }
  Recorder& Log() const { return *mobjLogging; }
  /// Records the name of the remote client where it is known.
  void RecordNameOfRemoteClient();
  /// Starts the outgoing connection; ends the pair when it cannot even start. False then.
  bool AttemptConnection(const QString& server, qint32 port);
  /// Sends, or holds, data that has just arrived; the connection to where it goes stands.
  void Relay(const Lane& lane, const Payload& data);
  void Hold(const Lane& lane, const Payload& data, bool becauseOfDangling);
  /// Sends, or holds while a send is out, a text of the proxy's own or one that waited. Takes no notice of a
  /// dangle.
  void SendOwn(const Lane& lane, const Payload& text);
  /// Offers the whole buffer; the throttle's rest is the new buffer.
  virtual void SendBuffer(const Lane& lane);
  void DisconnectIfConnected(const Lane& lane);
  /// Marks the pair dead and closes both sides, the local client first.
  void FinishPair();

  // The three ends after a send that found its socket closed. They differ in what they close; the
  // operations that use them rely on it.
  void EndBadServerSocket();
  void EndBadClientSocketClosing();
  /// Leaves sckClient alone: it can still be connecting.
  void EndBadClientSocket();

  static constexpr qsizetype kDrainPiece = 8192;

  General& mGeneral;
  PayloadBuffer mvarClientBuffer;  // waits to go to the remote server
  PayloadBuffer mvarServerBuffer;  // waits to go to the remote client
  bool mblnServerSending = false;  // a run of sends has begun and has not run dry
  bool mblnClientSending = false;
  bool mblnClientSendPending = false;  // one send is out and its SendComplete has not come
  bool mblnServerSendPending = false;
  bool mblnRemoteServerGone = false;  // die as soon as the other side has what is held for it
  bool mblnRemoteClientGone = false;
  /// A login waits for its greeting, and the server has said something else: what the client answers passes
  /// it.
  bool mLoginIsPassed = false;

 private:
  void ShowPage(Form& page, Form* frmParent);
  void SendNow(const Lane& lane, const Payload& data);
  void BytesSent(const Lane& lane);
  void SendPiece(const Lane& lane);
  void RecordSend(const Lane& lane, const Payload& sent, bool throttled);
  bool Resume(const Lane& lane, bool discard);
};

/// One direction of the relay, told by its members: the buffer, the flags, the socket that data leaves by.
struct RelayHandler::Lane {
  bool clientToServer;
  PayloadBuffer RelayHandler::*buffer;
  bool RelayHandler::*sending;
  bool RelayHandler::*sendPending;
  bool RelayHandler::*senderGone;
  /// A direct send of arriving data sets the pending flag only toward the client. The difference is wanted.
  bool directSendIsPending;
  SocketState (SocketPair::*state)() const;
  void (SocketPair::*disconnect)();
  bool (SocketPair::*isThrottled)() const;
  bool (SocketPair::*isThrottleTimerDue)() const;
  bool (SocketPair::*sendData)(const PayloadBuffer&, Payload&, PayloadBuffer&);
  void (Recorder::*disconnected)(SocketPair&, bool);
  void (Recorder::*bytesBuffered)(SocketPair&, const Payload&, bool, bool);
  void (Recorder::*sendStart)(SocketPair&, const Payload&, bool, bool);
  void (Recorder::*sendStop)(SocketPair&);
  void (RelayHandler::*endBadSocket)();
  void (RelayHandler::*endBadSocketWhileDraining)();
};

}  // namespace veltrane
