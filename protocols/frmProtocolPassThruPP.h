// The page of a Pass Through port: the one server that it leads to.
#pragma once

#include "protocols/PropertyPage.h"

namespace veltrane {

class frmProtocolPassThruPP : public PropertyPage {
  Q_OBJECT

 public:
  explicit frmProtocolPassThruPP(General& general);

  Label Label1{*this, QStringLiteral("Label1")};
  Label Label2{*this, QStringLiteral("Label2")};
  Label lblProxyServer{*this, QStringLiteral("lblProxyServer")};
  Label lblPort{*this, QStringLiteral("lblPort")};
  TextBox txtProxyServer{*this, QStringLiteral("txtProxyServer")};
  TextBox txtPort{*this, QStringLiteral("txtPort")};

 protected:
  bool Accept() override;
};

}  // namespace veltrane
