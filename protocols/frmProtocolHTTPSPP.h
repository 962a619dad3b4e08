// The page of an HTTPS port: that of HTTP with other defaults, and a word on the browser's settings.
#pragma once

#include "protocols/frmProtocolHTTPPP.h"

namespace veltrane {

class frmProtocolHTTPSPP : public frmProtocolHTTPPP {
  Q_OBJECT

 public:
  explicit frmProtocolHTTPSPP(General& general);

  Label Label1{*this, QStringLiteral("Label1")};
};

}  // namespace veltrane
