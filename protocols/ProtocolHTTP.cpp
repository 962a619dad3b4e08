#include "protocols/ProtocolHTTP.h"

#include "protocols/ProtocolPassThru.h"
#include "protocols/frmProtocolHTTPPP.h"

namespace veltrane {
namespace {

constexpr FailureTexts kTexts = SiteFailureTexts(u"HTTP", u"Pass Through", u"route the HTTP request");

}  // namespace

const FailureTexts& ProtocolHTTP::Texts() const {
  return kTexts;
}

// A rejected connection never got as far as its protocol.
QString ProtocolHTTP::RejectedProtocolName() const {
  return kPassThruShownName;
}

void ProtocolHTTP::ShowProperties(qint32 lngPort, Form* frmParent) {
  ShowPage<frmProtocolHTTPPP>(lngPort, frmParent);
}

void ProtocolHTTP::RouteRequest(Payload& data, QString& host, qint32& port) {
  RouteWebRequest("http://", PortSettings(), data, host, port);
}

}  // namespace veltrane
