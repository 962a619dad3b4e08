// A web proxy's port: reads the destination from the request line, puts that line into the form which a
// server expects, and relays. Only the first chunk of a connection is looked at; a later request goes to the
// same server, whatever it names.
#pragma once

#include "protocols/RoutedHandler.h"

namespace veltrane {

class ProtocolHTTP : public SiteHandler {
 public:
  using SiteHandler::SiteHandler;

  void ShowProperties(qint32 lngPort, Form* frmParent) override;

 protected:
  const FailureTexts& Texts() const override;
  QString RejectedProtocolName() const override;
  void RouteRequest(Payload& data, QString& host, qint32& port) override;
};

}  // namespace veltrane
