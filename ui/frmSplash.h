// The picture that stands while the system comes up. The start shows it and takes it away.
#pragma once

#include "forms/Controls.h"
#include "forms/Form.h"
#include "ui/ProductVersion.h"

namespace veltrane {

class frmSplash : public Form {
  Q_OBJECT

 public:
  frmSplash(Desktop& desktop, const ProductVersion& version);

  Label lblVersion{*this, QStringLiteral("lblVersion")};

 protected:
  void OnLoad() override;

 private:
  const ProductVersion mVersion;
};

}  // namespace veltrane
