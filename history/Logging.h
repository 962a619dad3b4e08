// The one recorder: the engine and the handlers tell it all that happens.
#pragma once

#include "engine/Recorder.h"

namespace veltrane {

class General;
class Listening;

class Logging : public Recorder {
 public:
  explicit Logging(General& general) : mGeneral(general) {}

  /// Adds a node to the tree for each port of the table.
  void LoadAllProtocols(const Listening& mobjListening);

  void LocalServerAcceptedConnection(SocketPair&, bool, qint32) override {}
  void LocalServerRejectedConnection(SocketPair&, bool, qint32) override {}
  void ConnectionAttemptToRemoteServer(SocketPair&, const QString&, qint32, bool) override {}
  void ConnectionAttemptFailed(SocketPair&, bool, const QString&, qint32) override {}
  void ConnectionAttemptSuccessful(SocketPair&, bool, const QString&) override {}
  void RemoteServerDisconnected(SocketPair&, bool, const QString&) override {}
  void LocalServerDisconnected(SocketPair&, bool) override {}
  void RemoteClientDisconnected(SocketPair&, bool) override {}
  void LocalClientDisconnected(SocketPair&, bool) override {}
  void ClientBytesReceived(SocketPair&, const Payload&, bool) override {}
  void ClientBytesBuffered(SocketPair&, const Payload&, bool, bool) override {}
  void ServerBytesBuffered(SocketPair&, const Payload&, bool, bool) override {}
  void ServerBytesSendStart(SocketPair&, const Payload&, bool, bool) override {}
  void ServerBytesSendStop(SocketPair&) override {}
  void ServerBytesReceived(SocketPair&, const Payload&, bool) override {}
  void ClientBytesSendStart(SocketPair&, const Payload&, bool, bool) override {}
  void ClientBytesSendStop(SocketPair&) override {}
  void ServerInBadState(SocketPair&, qint32, const QString&, bool) override {}
  void ClientInBadState(SocketPair&, qint32, const QString&, bool) override {}
  void GotNameOfRemoteServer(SocketPair&, const QString&) override {}
  void GotNameOfRemoteClient(SocketPair&, const QString&) override {}
  void GotProtocol(SocketPair&, const QString&) override {}
  void Dead(SocketPair& objSocketPair) override;
  void DanglingStatusChanged(SocketPair&, bool, qint16, qint32) override {}

 private:
  General& mGeneral;
};

}  // namespace veltrane
