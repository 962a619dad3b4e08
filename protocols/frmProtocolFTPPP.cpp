#include "protocols/frmProtocolFTPPP.h"

namespace veltrane {

frmProtocolFTPPP::frmProtocolFTPPP(General& general)
    : PropertyPage(general, QStringLiteral("frmProtocolFTPPP"), QStringLiteral("FTP Properties"), {}) {
  Label1.SetCaption(
      QStringLiteral("To configure your FTP Client, set it to use a Proxy Server of the format UserId = "
                     "UserId@FTPSite.  Set "
                     "the name of the Proxy Server to be the name of this computer."));
}

}  // namespace veltrane
