// The about box: which build this is, and where to read more.
#pragma once

#include "forms/Controls.h"
#include "forms/Form.h"
#include "forms/WindowParts.h"
#include "ui/ProductVersion.h"

namespace veltrane {

class General;

class frmAbout : public Form {
  Q_OBJECT

 public:
  frmAbout(General& general, const ProductVersion& version);

  Area panAniHolder{*this, QStringLiteral("panAniHolder")};
  Animation aniAnimation{*this, QStringLiteral("aniAnimation")};
  Label Label1{*this, QStringLiteral("Label1")};
  Label lblURL{*this, QStringLiteral("lblURL")};
  Label lblBuild{*this, QStringLiteral("lblBuild")};
  CommandButton cmdOK{*this, QStringLiteral("cmdOK")};

 protected:
  void OnLoad() override;
  void OnUnload() override;

 private:
  General& mGeneral;
  const ProductVersion mVersion;
};

}  // namespace veltrane
