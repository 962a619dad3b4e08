#include "protocols/frmProtocolPassThruPP.h"

namespace veltrane {
namespace {

// Not the name that the handler falls back on.
const QString kPlaceholder = QStringLiteral("enter-the-remote-server.invalid");

}  // namespace

frmProtocolPassThruPP::frmProtocolPassThruPP(General& general)
    : PropertyPage(general, QStringLiteral("frmProtocolPassThruPP"),
                   QStringLiteral("Pass Through Properties"),
                   {{txtPort, QStringLiteral("Port"), QStringLiteral("1000")},
                    {txtProxyServer, QStringLiteral("Server"), kPlaceholder}}) {
  Label1.SetCaption(QStringLiteral(
      "The pass through protocol connects a remote client to a remote server.  Veltrane mirrors all "
      "connection activity so that the client and the server behave as if VLT was not present."));
  Label2.SetCaption(QStringLiteral(
      "On receiving a connection request from a remote client, connect to the following computer on the "
      "specified port:"));
  lblProxyServer.SetCaption(QStringLiteral("Remote Server:"));
  lblPort.SetCaption(QStringLiteral("Port:"));
}

// A port that is rejected closes the page too, and saves nothing.
bool frmProtocolPassThruPP::Accept() {
  return !RequireNumber(txtPort) || PropertyPage::Accept();
}

}  // namespace veltrane
