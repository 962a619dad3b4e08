#include "protocols/ProtocolTable.h"

#include "engine/PortTable.h"
#include "protocols/ProtocolFTP.h"
#include "protocols/ProtocolHTTP.h"
#include "protocols/ProtocolHTTPS.h"
#include "protocols/ProtocolPOP3.h"
#include "protocols/ProtocolPassThru.h"

namespace veltrane {
namespace {

template <class Handler>
ProtocolHandlerRef Make(General& general) {
  return std::make_shared<Handler>(general);
}

}  // namespace

ProtocolTable AllProtocols() {
  return {
      {QStringLiteral("HTTP"), Make<ProtocolHTTP>}, {QStringLiteral("Pass Through"), Make<ProtocolPassThru>},
      {kEphemeralProtocol, Make<ProtocolPassThru>}, {QStringLiteral("FTP"), Make<ProtocolFTP>},
      {QStringLiteral("POP3"), Make<ProtocolPOP3>}, {QStringLiteral("HTTPS"), Make<ProtocolHTTPS>},
  };
}

std::vector<std::function<ProtocolHandlerRef(General&)>> ListedProtocols() {
  return {Make<ProtocolHTTP>, Make<ProtocolPassThru>, Make<ProtocolHTTPS>, Make<ProtocolPOP3>,
          Make<ProtocolFTP>};
}

}  // namespace veltrane
