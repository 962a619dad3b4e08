#include "protocols/ProtocolHTTPS.h"

#include "protocols/frmProtocolHTTPSPP.h"

namespace veltrane {
namespace {

constexpr FailureTexts kTexts = SiteFailureTexts(u"HTTPS", u"Pass Through", u"route the HTTPS request");

// The blank at the end of the second line belongs to it.
constexpr const char* kEstablished =
    "HTTP/1.0 200 Connection established\r\nProxy-agent: Netscape -Proxy / 1.1 \r\n\r\n";

}  // namespace

const FailureTexts& ProtocolHTTPS::Texts() const {
  return kTexts;
}

void ProtocolHTTPS::ShowProperties(qint32 lngPort, Form* frmParent) {
  ShowPage<frmProtocolHTTPSPP>(lngPort, frmParent);
}

void ProtocolHTTPS::RouteRequest(Payload& data, QString& host, qint32& port) {
  RouteWebRequest("https://", PortSettings(), data, host, port);
}

// Only now: the browser's handshake cannot start before the connection stands.
void ProtocolHTTPS::BeginRelay() {
  SendDataToRemoteClient(QByteArray(kEstablished));
  ProtocolHTTP::BeginRelay();
}

}  // namespace veltrane
