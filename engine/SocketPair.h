// One proxied connection: the accepted socket, the outgoing socket, and the five timers that carry out
// throttling, dangling and scheduled termination. It knows no protocol and holds no payload: each event
// becomes one call on its handler, which calls back to send, to close and to read state.
//
// The words, used the same way in the whole system: the remote client is the program that connected in, the
// remote server the host connected to. sckServer, "the local server", faces the remote client; sckClient,
// "the local client", faces the remote server. So ClientSendData sends toward the remote server. This
// crossing of words is the convention of all names and texts, and is not to be tidied away.
//
// Listening owns the pairs. One may be let go of while one of its own events runs; it lives until that
// event has returned.
#pragma once

#include <memory>

#include "base/Timer.h"
#include "engine/PayloadLimit.h"
#include "engine/ProtocolHandler.h"
#include "engine/Socket.h"

namespace veltrane {

class General;

class SocketPair : public std::enable_shared_from_this<SocketPair> {
 public:
  explicit SocketPair(General& general);
  ~SocketPair();
  SocketPair(const SocketPair&) = delete;
  SocketPair& operator=(const SocketPair&) = delete;

  ProtocolHandlerRef mobjProtocolHandler;
  /// Set at the end of Terminate; the main window's sweep unloads such pairs.
  bool mblnTerminated = false;

  /// Closes what is connected. A socket whose peer is closing is left open. Can run more than once.
  void Terminate();
  /// Lets go of the sockets, the timers and the handler; what is left is an entry in a list.
  void Unload();

  /// Binds the handler and accepts the request.
  void ServerConnected(qint32 lngRequestId, ProtocolHandlerRef objProtocolHandler);
  /// Binds the handler and leaves the request alone.
  void ConnectionRejected(qint32 lngRequestId, ProtocolHandlerRef objProtocolHandler);
  /// False when the attempt could not even start, with the failure in the out arguments.
  bool AttemptConnectionToRemoteServer(const QString& strServerIP, qint32 lngServerPort, QString& strError,
                                       qint32& lngErrorCode);

  qint32 RemoteServerPort() const { return sckClient->RemotePort(); }
  QString RemoteServerIP() const { return sckClient->RemoteHostIP(); }
  QString RemoteServerName() const { return sckClient->RemoteHost(); }
  qint32 RemoteClientPort() const { return sckServer->RemotePort(); }
  QString RemoteClientIP() const { return sckServer->RemoteHostIP(); }
  QString RemoteClientName() const { return sckServer->RemoteHost(); }
  qint32 LocalServerPort() const { return sckServer->LocalPort(); }
  QString LocalServerIP() const { return sckServer->LocalIP(); }
  QString LocalServerName() const { return sckServer->LocalHostName(); }
  qint32 LocalClientPort() const { return sckClient->LocalPort(); }
  QString LocalClientIP() const { return sckClient->LocalIP(); }
  QString LocalClientName() const { return sckClient->LocalHostName(); }

  /// While it is set, a Close event on either socket is ignored. Writing it does nothing else.
  bool Dead() const { return mDead; }
  void SetDead(bool blnDead) { mDead = blnDead; }
  const QString& SocketPairKey() const { return mKey; }
  void SetSocketPairKey(const QString& strKey) { mKey = strKey; }

  SocketState ServerState() const { return sckServer->State(); }
  SocketState ClientState() const { return sckClient->State(); }
  void ServerDisconnect() { sckServer->Close(); }
  void ClientDisconnect() { sckClient->Close(); }
  /// A throttled send is under way in that direction.
  bool IsClientSendingData() const { return tmrC2SThrottleDataRequest.Enabled(); }
  bool IsServerSendingData() const { return tmrS2CThrottleDataRequest.Enabled(); }
  /// Whether the throttle timer will fire; after a send that was less than the throttle allows, it has
  /// nothing to wait for and its interval is 0.
  bool IsClientThrottleTimerDue() const { return IsDue(tmrC2SThrottleDataRequest); }
  bool IsServerThrottleTimerDue() const { return IsDue(tmrS2CThrottleDataRequest); }

  /// Offers data to sckClient. When it is not connected or the data is empty, the result is false and the
  /// out arguments stay as they were. Otherwise strDataSent is what went to the socket and
  /// strDataStillToBeSent what the throttle keeps back; the result says whether it throttles.
  /// strDataStillToBeSent may be data itself. When the throttle cannot be read, all is still to be sent, and
  /// the direction's timer asks again; a throttle that stays unreadable is reported once.
  bool ClientSendData(const PayloadBuffer& data, Payload& strDataSent, PayloadBuffer& strDataStillToBeSent);
  bool ServerSendData(const PayloadBuffer& data, Payload& strDataSent, PayloadBuffer& strDataStillToBeSent);

  /// True from the first time that the outgoing connection stood.
  bool ClientInitialised() const { return mClientInitialised; }
  bool IsDanglingCurrentlyOn(bool blnClientToServer) const;

  // The failure window fires these two for all pairs at once.
  void tmrDangleStartTimer_Timer();
  void tmrTerminationTime_Timer();

  Timer tmrC2SThrottleDataRequest;
  Timer tmrS2CThrottleDataRequest;
  Timer tmrDangleStartTimer;
  Timer tmrDangleStopTimer;
  Timer tmrTerminationTime;

 private:
  class ServerEvents;
  class ClientEvents;
  struct SendRoad;
  /// What one direction holds in its socket, whether its sender waits until it holds less, and its place
  /// among those to whom the limit will say when the others do.
  struct Backlog {
    qsizetype leaving = 0;
    bool senderWaits = false;
    PayloadLimit::Place place = PayloadLimit::kNowhere;
  };
  static const SendRoad kClientRoad;
  static const SendRoad kServerRoad;

  static void AskAgain(Timer& timer);
  static bool IsDue(const Timer& timer) { return timer.Enabled() && timer.Interval() > 0; }
  template <class Call>
  void Tell(Call&& call);
  void Bind(ProtocolHandlerRef objProtocolHandler);
  void OutgoingConnectionStands(ProtocolHandler& handler);
  void ScheduleTermination(const QString& comment);
  void ScheduleDangle(QString& comment);
  void tmrDangleStopTimer_Timer();
  void EndDangle(ProtocolHandler& handler);
  void ResumeThrottled(Timer& timer, bool (ProtocolHandler::*resume)(bool));
  bool Send(const SendRoad& road, const PayloadBuffer& data, Payload& sent, PayloadBuffer& stillToBeSent);
  Payload Read(Socket& socket, bool clientToServer);
  qsizetype BytesHeld(bool clientToServer) const;
  void CountHeld();
  void StopWaiting();
  void EndOrphan();
  void ReadOn(bool clientToServer);

  General& mGeneral;
  std::unique_ptr<SocketEvents> mServerEvents;
  std::unique_ptr<SocketEvents> mClientEvents;
  std::unique_ptr<Socket> sckServer;
  std::unique_ptr<Socket> sckClient;
  QString mKey;
  Backlog mToServer;
  Backlog mToClient;
  qint64 mHeldAsCounted = 0;
  qint32 mlngTimeDuringDangle = 0;
  /// What a dangle holds back: 0 client to server, 1 server to client, 2 both.
  qint16 mintDataBeingDangled = 0;
  bool mC2SThrottleUnreadable = false;
  bool mS2CThrottleUnreadable = false;
  bool mDead = false;
  bool mClientInitialised = false;
};

}  // namespace veltrane
