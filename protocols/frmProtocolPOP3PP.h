// The page of a POP3 port: the port of all its mail servers.
#pragma once

#include "protocols/PropertyPage.h"

namespace veltrane {

class frmProtocolPOP3PP : public PropertyPage {
  Q_OBJECT

 public:
  explicit frmProtocolPOP3PP(General& general);

  Label Label1{*this, QStringLiteral("Label1")};
  Label Label2{*this, QStringLiteral("Label2")};
  Label lblPort{*this, QStringLiteral("lblPort")};
  Label lblUsualPort{*this, QStringLiteral("lblUsualPort")};
  TextBox txtPort{*this, QStringLiteral("txtPort")};

 protected:
  bool Accept() override;
};

}  // namespace veltrane
