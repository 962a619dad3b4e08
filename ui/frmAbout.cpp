#include "ui/frmAbout.h"

#include <QFileInfo>

#include "engine/General.h"
#include "engine/PortTable.h"

namespace veltrane {

frmAbout::frmAbout(General& general, const ProductVersion& version)
    : Form(general.mPlatform.desktop, QStringLiteral("frmAbout")), mGeneral(general), mVersion(version) {
  SetCaption(QStringLiteral("About Veltrane"));
  Label1.SetCaption(QStringLiteral("Veltrane \nTo learn more, please visit our web site:"));
  lblURL.SetCaption(kProductAddress);
  lblURL.OnClick = [this] {
    mGeneral.Guard(
        u"An error occurred while attempting to open the web site.  The operating system reports: ",
        [this] { GetDesktop().OpenDocument(kProductAddress); });
  };
  cmdOK.OnClick = [this] { Unload(); };
  SetDefaultButton(cmdOK);
  SetCancelButton(cmdOK);
}

// Reports nothing: a box without its animation still tells what it is there to tell.
void frmAbout::OnLoad() {
  PastFailures([this] { lblBuild.SetCaption(mVersion.Text()); });
  PastFailures([this] {
    const QString file = mGeneral.mPlatform.programFolder + QStringLiteral("/res/Processing.avi");
    if (!QFileInfo::exists(file)) return;
    aniAnimation.Open(file);
    aniAnimation.Play();
  });
}

void frmAbout::OnUnload() {
  aniAnimation.Stop();
}

}  // namespace veltrane
