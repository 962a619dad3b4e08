#include "protocols/ProtocolTable.h"

#include "engine/PortTable.h"
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
      {QStringLiteral("Pass Through"), Make<ProtocolPassThru>},
      {kEphemeralProtocol, Make<ProtocolPassThru>},
  };
}

std::vector<std::function<ProtocolHandlerRef(General&)>> ListedProtocols() {
  return {Make<ProtocolPassThru>};
}

}  // namespace veltrane
