#include "protocols/frmProtocolHTTPSPP.h"

namespace veltrane {

frmProtocolHTTPSPP::frmProtocolHTTPSPP(General& general)
    : frmProtocolHTTPPP(general, QStringLiteral("frmProtocolHTTPSPP"), QStringLiteral("HTTPS Properties"),
                        {QStringLiteral("443"), QStringLiteral("443")}) {
  // "In Internet Explorer's, this is dones be checking off" is how it reads.
  Label1.SetCaption(
      QStringLiteral("To use HTTPS ensure that your web browser is configured so that its secure socket port "
                     "(generally 443) "
                     "is different to its non-secure HTTP socket port (generally 80 or 8080). In Internet "
                     "Explorer's, this is "
                     "dones be checking off the 'Use the same proxy server for all protocols' option."));
}

}  // namespace veltrane
