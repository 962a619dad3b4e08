#include "ui/frmError.h"

#include "engine/General.h"
#include "engine/MainWindow.h"

namespace veltrane {
namespace {

constexpr int kLeastHeight = 1800;
constexpr int kSideMargin = 160;
constexpr int kBottomMargin = 380;
constexpr Rect kDesignedText{60, 360, 6900, 3000};
/// The most that the log holds, in characters; what comes after it is full is dropped.
constexpr qsizetype kLimit = 4 * 1024 * 1024;

}  // namespace

frmError::frmError(Desktop& desktop) : Form(desktop, QStringLiteral("frmError")) {
  SetCaption(QStringLiteral("Error"));
  // "encounted" is how it reads.
  Label1.SetCaption(QStringLiteral("The following error(s) were encounted:"));
  txtErrorMessage.SetPlace(kDesignedText);
}

void frmError::LogError(const QString& text) {
  PastFailures([&] {
    const QString time = mGeneral ? mGeneral->GetTimeString(true) : QString();
    const QString block = time + u'\n' + text + QStringLiteral("\n\n");
    if (block.size() + txtErrorMessage.Text().size() <= kLimit) {
      txtErrorMessage.SetText(block + txtErrorMessage.Text());
    }
    Show();
    Repaint();
    if (mGeneral && mGeneral->frmMain && mGeneral->frmMain->KeepOnTop()) {
      mGeneral->SetTopMostWindow(*this, true);
    }
  });
}

// Closing only hides the window, so that the log is still there at the next failure.
bool frmError::OnQueryUnload() {
  if (!mGeneral || mGeneral->gblnClosing) return true;
  Hide();
  return false;
}

void frmError::OnResize() {
  if (Geometry().height < kLeastHeight) {
    Rect geometry = Geometry();
    geometry.height = kLeastHeight;
    SetGeometry(geometry);
    return;
  }
  Rect place = txtErrorMessage.Place();
  place.width = Geometry().width - kSideMargin;
  place.height = Geometry().height - place.top - kBottomMargin;
  txtErrorMessage.SetPlace(place);
}

}  // namespace veltrane
