// A web proxy's port for secure sites: reads the destination from the CONNECT request (RFC 9110, 9.3.6),
// which goes no further, answers it when the connection stands, and is a blind tunnel from then on.
#pragma once

#include "protocols/ProtocolHTTP.h"

namespace veltrane {

class ProtocolHTTPS : public ProtocolHTTP {
 public:
  using ProtocolHTTP::ProtocolHTTP;

  void ShowProperties(qint32 lngPort, Form* frmParent) override;

 protected:
  const FailureTexts& Texts() const override;
  void RouteRequest(Payload& data, QString& host, qint32& port) override;
  bool ForwardsFirstChunk() const override { return false; }
  void BeginRelay() override;
};

}  // namespace veltrane
