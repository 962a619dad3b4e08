// What the engine and the handlers tell the recorder. history/Logging keeps it; what each call records, and
// in which words, stands there. blnNextEventFollowOn says that the next event of this connection belongs to
// the same moment.
#pragma once

#include <QString>

#include "base/Payload.h"

namespace veltrane {

class SocketPair;

class Recorder {
 public:
  virtual ~Recorder() = default;

  virtual void LocalServerAcceptedConnection(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                             qint32 lngWasListeningOnPort) = 0;
  virtual void LocalServerRejectedConnection(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                             qint32 lngWasListeningOnPort) = 0;
  virtual void ConnectionAttemptToRemoteServer(SocketPair& objSocketPair, const QString& strRemoteServer,
                                               qint32 lngRemotePort, bool blnNextEventFollowOn) = 0;
  virtual void ConnectionAttemptFailed(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                       const QString& strError, qint32 lngErrorNumber) = 0;
  virtual void ConnectionAttemptSuccessful(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                           const QString& strComment) = 0;
  virtual void RemoteServerDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                        const QString& strComment) = 0;
  virtual void LocalServerDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn) = 0;
  virtual void RemoteClientDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn) = 0;
  virtual void LocalClientDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn) = 0;
  virtual void ClientBytesReceived(SocketPair& objSocketPair, const Payload& strData,
                                   bool blnNextEventFollowOn) = 0;
  virtual void ClientBytesBuffered(SocketPair& objSocketPair, const Payload& strData,
                                   bool blnNextEventFollowOn, bool blnBufferedBecauseOfDangling) = 0;
  virtual void ServerBytesBuffered(SocketPair& objSocketPair, const Payload& strData,
                                   bool blnNextEventFollowOn, bool blnBufferedBecauseOfDangling) = 0;
  virtual void ServerBytesSendStart(SocketPair& objSocketPair, const Payload& strData,
                                    bool blnNextEventFollowOn, bool blnUsesThrottling) = 0;
  virtual void ServerBytesSendStop(SocketPair& objSocketPair) = 0;
  virtual void ServerBytesReceived(SocketPair& objSocketPair, const Payload& strData,
                                   bool blnNextEventFollowOn) = 0;
  virtual void ClientBytesSendStart(SocketPair& objSocketPair, const Payload& strData,
                                    bool blnNextEventFollowOn, bool blnUsesThrottling) = 0;
  virtual void ClientBytesSendStop(SocketPair& objSocketPair) = 0;
  virtual void ServerInBadState(SocketPair& objSocketPair, qint32 lngError, const QString& strError,
                                bool blnNextEventFollowOn) = 0;
  virtual void ClientInBadState(SocketPair& objSocketPair, qint32 lngError, const QString& strError,
                                bool blnNextEventFollowOn) = 0;
  virtual void GotNameOfRemoteServer(SocketPair& objSocketPair, const QString& strName) = 0;
  virtual void GotNameOfRemoteClient(SocketPair& objSocketPair, const QString& strName) = 0;
  virtual void GotProtocol(SocketPair& objSocketPair, const QString& strProtocol) = 0;
  /// The last that is said of a pair; the recorder ends by calling Terminate on it.
  virtual void Dead(SocketPair& objSocketPair) = 0;
  virtual void DanglingStatusChanged(SocketPair& objSocketPair, bool blnDanglingOn,
                                     qint16 intDataBeingDangled, qint32 lngTimeDuringDangle) = 0;
};

}  // namespace veltrane
