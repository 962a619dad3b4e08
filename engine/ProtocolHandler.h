// A protocol handler is the brain of one connection: it decides where the connection goes, when bytes are
// forwarded or held and when the pair dies, and tells the recorder all that it does. One further instance of
// each class serves the dialogs, for its name and its property page.
#pragma once

#include <QString>

#include <functional>
#include <memory>
#include <vector>

#include "base/Payload.h"

namespace veltrane {

class Form;
class General;
class Recorder;
class SocketPair;

class ProtocolHandler {
 public:
  virtual ~ProtocolHandler() = default;

  // Written from outside before any operation runs.
  SocketPair* mobjSocketPair = nullptr;  // the pair holds the handler
  Recorder* mobjLogging = nullptr;
  qint32 mlngWasListeningOnPort = 0;

  /// The name in the settings store and in the list of protocols.
  virtual QString GetProtocolName() const = 0;
  virtual void ShowProperties(qint32 lngPort, Form* frmParent) = 0;
  virtual void LocalServerAcceptedConnection() = 0;
  virtual void LocalServerRejectedConnection() = 0;
  virtual void ConnectedToRemoteServer(const QString& strComment) = 0;
  virtual void RemoteServerInitiatedDisconnection(const QString& strComment) = 0;
  /// Data from the remote server, which arrived on sckClient.
  virtual void ClientBytesReceived(const Payload& strData) = 0;
  virtual void ClientBytesSent() = 0;
  virtual void RemoteClientInitiatedDisconnection() = 0;
  /// Data from the remote client, which arrived on sckServer.
  virtual void ServerBytesReceived(const Payload& strData) = 0;
  virtual void ServerError(qint32 lngErrorNumber, const QString& strError) = 0;
  virtual void ClientError(qint32 lngErrorNumber, const QString& strError) = 0;
  virtual void ServerBytesSent() = 0;
  /// False stops the throttle timer that asked.
  virtual bool ResumeThrottledOrDangledClientSend(bool blnDiscardData) = 0;
  virtual bool ResumeThrottledOrDangledServerSend(bool blnDiscardData) = 0;
  /// intDataBeingDangled is 0 for client to server, 1 for server to client, 2 for both.
  virtual void DanglingStatusChanged(bool blnDanglingOn, qint16 intDataBeingDangled,
                                     qint32 lngTimeDuringDangle) = 0;
  /// How many bytes of memory hold what waits here for the remote server (client to server) or for the remote
  /// client.
  virtual qsizetype BytesHeld(bool blnClientToServer) const {
    Q_UNUSED(blnClientToServer)
    return 0;
  }
};

using ProtocolHandlerRef = std::shared_ptr<ProtocolHandler>;

/// Which handler serves a port whose row in "Protocols" reads value.
struct ProtocolRow {
  QString value;
  std::function<ProtocolHandlerRef(General&)> create;
};
using ProtocolTable = std::vector<ProtocolRow>;

}  // namespace veltrane
