#include "ui/frmError.h"

#include <utility>

#include "engine/General.h"
#include "engine/MainWindow.h"

namespace veltrane {
namespace {

constexpr int kLeastHeight = 1800;
constexpr int kSideMargin = 160;
constexpr int kBottomMargin = 380;
constexpr Rect kDesignedText{60, 360, 6900, 3000};
/// The most that the log holds, in characters; what comes after it is full is dropped.
constexpr qsizetype kLimit = 1024 * 1024;

}  // namespace

frmError::frmError(Desktop& desktop) : Form(desktop, QStringLiteral("frmError")) {
  SetCaption(QStringLiteral("Error"));
  // "encounted" is how it reads.
  Label1.SetCaption(QStringLiteral("The following error(s) were encounted:"));
  txtErrorMessage.SetPlace(kDesignedText);
}

void frmError::LogError(const QString& text) {
  // Reading the clock and putting the window on top report their own failures, and these reports come here:
  // they are kept, but begin no such steps of their own.
  const bool nested = std::exchange(mReporting, true);
  PastFailures([&] { Q_EMIT Reported(text); });
  QString time;
  if (!std::exchange(mReadingClock, true)) {
    PastFailures([&] { time = mGeneral->GetTimeString(true); });
    mReadingClock = false;
  }
  PastFailures([&] { Add(time + u'\n' + text + QStringLiteral("\n\n")); });
  PastFailures([&] { Show(); });
  PastFailures([&] { Repaint(); });
  if (nested) return;
  PastFailures([&] {
    if (mGeneral->frmMain->KeepOnTop()) mGeneral->SetTopMostWindow(*this, true);
  });
  mReporting = false;
}

// Newest on top. Nothing is ever cut: what no longer fits is left out.
void frmError::Add(const QString& block) {
  if (block.size() + txtErrorMessage.Text().size() <= kLimit) {
    txtErrorMessage.SetText(block + txtErrorMessage.Text());
  }
}

// Closing only hides the window, so that the log is still there at the next failure.
bool frmError::OnQueryUnload() {
  if (mGeneral->gblnClosing) return true;
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
