// The skeleton of all handlers: relays the bytes of one connection both ways, holds what cannot leave yet,
// and ends the pair when a side goes. A handler overrides the steps in which it differs.
//
// Each direction keeps two flags. The pending flag keeps a throttle timer from offering data before
// SendComplete of the previous piece; the throttle's own state keeps a SendComplete from sending before its
// period is over. Each piece goes out when both have happened, in either order.
#pragma once

#include "engine/ProtocolHandler.h"
#include "engine/Socket.h"

namespace veltrane {

/// The text under which each operation reports its failures.
struct FailureTexts {
  const char16_t* localServerAcceptedConnection;
  const char16_t* localServerRejectedConnection;
  const char16_t* connectedToRemoteServer;
  const char16_t* remoteServerInitiatedDisconnection;
  const char16_t* clientBytesReceived;
  const char16_t* clientBytesSent;
  const char16_t* remoteClientInitiatedDisconnection;
  const char16_t* serverBytesReceived;
  const char16_t* serverError;
  const char16_t* clientError;
  const char16_t* serverBytesSent;
  const char16_t* resumeClientSend;
  const char16_t* resumeServerSend;
};

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

  SocketPair& Pair() const { return *mobjSocketPair; }
  Recorder& Log() const { return *mobjLogging; }
  /// Records the name of the remote client where it is known.
  void RecordNameOfRemoteClient();
  /// Starts the outgoing connection; ends the pair when it cannot even start. False then.
  bool AttemptConnection(const QString& server, qint32 port);
  /// Sends, or holds, data that has just arrived; the connection to where it goes stands.
  void Relay(const Lane& lane, const Payload& data);
  void Hold(const Lane& lane, const Payload& data, bool becauseOfDangling);
  /// Offers the whole buffer; the throttle's rest is the new buffer.
  void SendBuffer(const Lane& lane);
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

 private:
  void BytesSent(const Lane& lane);
  void SendPiece(const Lane& lane);
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
  bool (SocketPair::*sendData)(const PayloadBuffer&, Payload&, PayloadBuffer&);
  void (Recorder::*disconnected)(SocketPair&, bool);
  void (Recorder::*bytesBuffered)(SocketPair&, const Payload&, bool, bool);
  void (Recorder::*sendStart)(SocketPair&, const Payload&, bool, bool);
  void (Recorder::*sendStop)(SocketPair&);
  void (RelayHandler::*endBadSocket)();
  void (RelayHandler::*endBadSocketWhileDraining)();
};

}  // namespace veltrane
