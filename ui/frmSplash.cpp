#include "ui/frmSplash.h"

namespace veltrane {

frmSplash::frmSplash(Desktop& desktop, const ProductVersion& version)
    : Form(desktop, QStringLiteral("frmSplash")), mVersion(version) {}

void frmSplash::OnLoad() {
  lblVersion.SetCaption(mVersion.Text());
}

}  // namespace veltrane
