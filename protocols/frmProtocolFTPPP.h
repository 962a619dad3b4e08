// The page of an FTP port: how to set up the client; there is nothing to set here.
#pragma once

#include "protocols/PropertyPage.h"

namespace veltrane {

class frmProtocolFTPPP : public PropertyPage {
  Q_OBJECT

 public:
  explicit frmProtocolFTPPP(General& general);

  using PropertyPage::ReadNoSiteErrorFile;

  Label Label1{*this, QStringLiteral("Label1")};
};

}  // namespace veltrane
