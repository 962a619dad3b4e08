// The skeleton of the handlers that learn their destination from the first bytes of the remote client. The
// first chunk that the socket delivers, whatever it holds, is routed once; what it becomes waits for the
// outgoing connection. From then on the handler relays, without the limit on a buffer's pieces.
#pragma once

#include <limits>

#include "protocols/RelayHandler.h"
#include "protocols/Routing.h"

namespace veltrane {

class RoutedHandler : public RelayHandler {
 public:
  using RelayHandler::RelayHandler;

  QString GetProtocolName() const override;
  /// Only records: a side that left during a dangle is finished by the next completed send.
  void DanglingStatusChanged(bool blnDanglingOn, qint16 intDataBeingDangled,
                             qint32 lngTimeDuringDangle) override;

 protected:
  void BeginConnection() override;
  void ClientSpokeEarly(const Payload& data) override;
  QString RejectedProtocolName() const override { return GetProtocolName(); }
  qsizetype DrainPiece() const override { return kWholeBuffer; }

  /// What the proxy says first.
  virtual void Greet() {}
  /// Computes the destination and replaces data by what the remote server is to get. Fails leaving all three
  /// as they stand.
  virtual void RouteRequest(Payload& data, QString& host, qint32& port) = 0;
  /// Whether the remote server gets what routing made of the first chunk.
  virtual bool ForwardsFirstChunk() const { return true; }

  /// Reads this protocol's settings for the port on which the connection was accepted.
  SettingReader PortSettings() const;
  void SendDataToRemoteClient(const Payload& text);
  bool IsRouted() const { return mblnRouted; }
  /// words in lower case; the letters' case in data does not matter.
  static bool BeginsWith(const Payload& data, QByteArrayView words);

 private:
  static constexpr qsizetype kWholeBuffer = std::numeric_limits<qsizetype>::max();

  bool mblnRouted = false;  // set before the connection attempt and never cleared
};

/// Tells its client when the server's name cannot be found, and ends a client that leaves without a word.
class SiteHandler : public RoutedHandler {
 public:
  using RoutedHandler::RoutedHandler;

 protected:
  void ClientLeftEarly() override;
  void OutgoingSocketFailed(bool blnAttemptFailed) override;
};

/// The texts of a SiteHandler, which differ in the names alone.
constexpr FailureTexts SiteFailureTexts(const char16_t* protocol, const char16_t* resumeProtocol,
                                        const char16_t* routeRequest) {
  return {
      .protocol = protocol,
      .resumeProtocol = resumeProtocol,
      .localServerAcceptedConnection = u"process the local server accepting the connection request",
      .localServerRejectedConnection = u"process the rejected connection request",
      .connectedToRemoteServer = u"process the successful connection to the remote server",
      .remoteServerInitiatedDisconnection = u"process the remote server's disconnection",
      .clientBytesReceived = u"process the data arriving on the local client",
      .clientBytesSent = u"process the data sent by the local client",
      .remoteClientInitiatedDisconnection = u"process the disconnection by the remote client",
      .serverBytesReceived = u"process the data received by the local server",
      .serverError = u"process the local server error",
      .clientError = u"process the local client error",
      .serverBytesSent = u"process the data sent through the local server",
      .routeRequest = routeRequest,
      .sendDataToRemoteClient = u"send data to the remote client",
  };
}

}  // namespace veltrane
