// An FTP client's port. The user name carries the real server, "UserId@FTPSite": the handler greets the
// client itself, takes the server out of the first line, swallows the real server's greeting, and hands the
// login on. It then watches for PORT commands and 227 replies, which carry the address of a data connection:
// it opens a listening port of its own for each, serves it as a Pass Through port to that address, and puts
// its own address in.
#pragma once

#include "protocols/RoutedHandler.h"

namespace veltrane {

class ProtocolFTP : public RoutedHandler {
 public:
  using RoutedHandler::RoutedHandler;

  void ShowProperties(qint32 lngPort, Form* frmParent) override;

  /// Listens on a port between 1024 and 5000 drawn at random, up to ten of them while they are in use, for
  /// one connection to the remote address. True gives the port. False gives the last port, and the failure's
  /// number and text. Reported here are ten ports in use, and what fails in the store. Serves the message
  /// loop once, but not inside 16 such services: sockets of this pair or any other may be told events before
  /// it returns.
  bool StartListeningOnRandomPort(qint32& lngPort, const QString& strDescription, qint32& lngError,
                                  QString& strError, const QString& strProtocol, qint32 lngRemotePort,
                                  const QString& strRemoteServer);

 protected:
  const FailureTexts& Texts() const override;
  void Greet() override;
  void RouteRequest(Payload& data, QString& host, qint32& port) override;
  void BeginRelay() override;
  void ClientSpoke(const Payload& data) override;
  void ServerSpoke(const Payload& data) override;
  bool LoginWaits() const override { return !mLoginHasLeft; }
  void SendBuffer(const Lane& lane) override;

 private:
  struct AddressLine;
  static const AddressLine kPortCommand;
  static const AddressLine kPasvReply;

  /// Opens a data port for the address in data and puts the port's own address in its place. False leaves the
  /// refusal in data, or, when data names no address, data as it was.
  bool RoutePortCommand(Payload& data);
  bool RoutePasvReply(Payload& data);
  bool RouteDataAddress(const AddressLine& line, Payload& data);
  bool OpenDataPort(qint32& lngPort, const QString& strDescription, qint32& lngError, QString& strError,
                    const QString& strProtocol, const DataAddress& remote);
  bool IsTaken(qint32 lngPort) const;
  bool ListenOnce(qint32 lngPort, qint32& lngError, QString& strError);
  void SaveDataPort(qint32 lngPort, const QString& strDescription, const QString& strProtocol,
                    const DataAddress& remote);
  void ShowDataPort(qint32 lngPort);
  void Yield();
  void SendDataToRemoteServer(const Payload& text);

  /// The server's "220 " has let it go, or the end of a dangle, or what passed it.
  bool mLoginHasLeft = false;
  /// The data port that is opened next is that of an active transfer.
  bool mSiteConnects = false;
};

}  // namespace veltrane
