// A mail client's POP3 port. The user name carries the real server, "Name#Server": the handler greets the
// client itself, takes the server out of the first line, swallows the real server's greeting, and hands the
// login on.
#pragma once

#include "protocols/RoutedHandler.h"

namespace veltrane {

class ProtocolPOP3 : public SiteHandler {
 public:
  using SiteHandler::SiteHandler;

  void ShowProperties(qint32 lngPort, Form* frmParent) override;

 protected:
  const FailureTexts& Texts() const override;
  void Greet() override;
  void RouteRequest(Payload& data, QString& host, qint32& port) override;
  void BeginRelay() override;
  void ServerSpoke(const Payload& data) override;
  bool LoginWaits() const override { return mblnAwaitingGreeting; }
  void SendBuffer(const Lane& lane) override;

 private:
  /// The proxy has greeted, and the login waits for the real server's greeting. A dangle or a send that has
  /// left may let the login go before that; what the server says then is no greeting any more.
  bool mblnAwaitingGreeting = false;
};

}  // namespace veltrane
