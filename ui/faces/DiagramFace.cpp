#include "ui/faces/DiagramFace.h"

#include <QCoreApplication>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QProgressBar>
#include <QScrollBar>
#include <QToolTip>

#include <cmath>

#include "ui/faces/DiagramPainter.h"
#include "ui/faces/FrameUpdate.h"
#include "ui/faces/Twips.h"
#include "ui/frmMain.h"

namespace veltrane {
namespace {

/// A picture's change is told no more often than a frame of the screen.
constexpr int kLeastFrameMs = FramePace::kFrameMs;

QColor ColourOf(Colour colour, const QWidget& widget) {
  if (colour == kButtonFace) return widget.palette().color(QPalette::Button);
  return {static_cast<int>(colour & 0xff), static_cast<int>((colour >> 8) & 0xff),
          static_cast<int>((colour >> 16) & 0xff)};
}

QScrollBar* BuildScrollBar(ScrollBar& bar, Qt::Orientation orientation, const char* name, QWidget& parent) {
  auto* widget = new QScrollBar(orientation, &parent);
  widget->setObjectName(bar.Name());
  widget->setAccessibleName(QLatin1String(name));
  widget->setFocusPolicy(Qt::NoFocus);
  const auto show = [&bar, widget] {
    widget->setRange(0, bar.Max());
    widget->setSingleStep(bar.SmallChange());
    widget->setPageStep(bar.LargeChange());
    widget->setValue(bar.Value());
  };
  show();
  QObject::connect(&bar, &Control::Changed, widget, show);
  QObject::connect(widget, &QScrollBar::valueChanged, &bar, [&bar](int value) { bar.SetValue(value); });
  return widget;
}

}  // namespace

DiagramFace::DiagramFace(frmMain& form, QWidget& outer)
    : QWidget(&outer), mForm(form), mFiles([this](const Failure& failure) {
        // Found out while painting, and the error window is not to come up in the middle of that.
        QMetaObject::invokeMethod(
            this,
            [this, failure] {
              // The file may have been playing until then.
              Ask();
              mForm.ReportPicture(failure);
            },
            Qt::QueuedConnection);
      }) {
  setObjectName(form.panDiagram.Name());
  setAccessibleName(QStringLiteral("Connection diagram"));
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  BuildScrollBars(outer);
  auto* progress = new QProgressBar(this);
  progress->setObjectName(form.pgrRefresh.Name());
  new FrameUpdate(form.pgrRefresh, *progress, progress, [&form, progress] {
    progress->setMaximum(static_cast<int>(form.pgrRefresh.Max()));
    progress->setValue(static_cast<int>(form.pgrRefresh.Value()));
  });
  mUpdate.setSingleShot(true);
  connect(&mUpdate, &QTimer::timeout, this, [this] { mPace.Draw(*this, [this] { Update(); }); });
  mFrames.setTimerType(Qt::PreciseTimer);
  connect(&mFrames, &QTimer::timeout, this, &DiagramFace::NextFrame);
  mClock.start();
  FollowForm(outer);
}

void DiagramFace::BuildScrollBars(QWidget& outer) {
  mHorizontal =
      BuildScrollBar(mForm.scrConnectionPanelHoriz, Qt::Horizontal, "Scroll the diagram sideways", outer);
  mVertical = BuildScrollBar(mForm.scrConnectionPanelVert, Qt::Vertical, "Scroll the diagram", outer);
}

// What the form changes is shown at the next frame, however much it was.
void DiagramFace::FollowForm(QWidget& outer) {
  const auto all = [this] {
    mAllDirty = true;
    Ask();
  };
  for (const Control* control : {static_cast<const Control*>(&mForm.fraConnectionPanel),
                                 static_cast<const Control*>(&mForm.shpHighlight)}) {
    connect(control, &Control::Changed, this, all);
    connect(control, &Control::Placed, this, all);
  }
  connect(&mForm.fraConnectionPanel, &DiagramPanel::Cleared, this, all);
  connect(&mForm.fraConnectionPanel, &DiagramPanel::CellPut, this, [this](const Rect& place) {
    mDirty += PixelRect(place).adjusted(0, 0, 0, DiagramPainter::kSpareHeight);
    Ask();
  });
  outer.setAutoFillBackground(true);
  outer.setBackgroundRole(QPalette::Window);
  new FrameUpdate(mForm.panDiagramOuter, *this, this, [this, &outer] {
    QPalette palette = outer.palette();
    palette.setColor(QPalette::Window, ColourOf(mForm.panDiagramOuter.BackColor(), *this));
    outer.setPalette(palette);
  });
}

void DiagramFace::Ask() {
  if (!mUpdate.isActive()) mUpdate.start(mPace.Pause());
}

void DiagramFace::Update() {
  if (mAllDirty) {
    update();
  } else {
    update(mDirty.translated(Origin()));
  }
  mAllDirty = false;
  mDirty = {};
  FollowAnimations();
}

void DiagramFace::FollowAnimations() {
  double shortest = 0;
  if (mShown && mForm.fraConnectionPanel.Visible()) {
    for (const auto& cells : mForm.fraConnectionPanel.Cells()) {
      for (const auto& [row, cell] : cells) {
        const double ms = cell.playing ? mFiles.FrameMs(cell.file) : 0;
        if (ms > 0 && (shortest <= 0 || ms < shortest)) shortest = ms;
      }
    }
  }
  if (shortest <= 0) {
    mFrames.stop();
    return;
  }
  const int interval = std::max(kLeastFrameMs, static_cast<int>(std::lround(shortest)));
  if (!mFrames.isActive() || mFrames.interval() != interval) mFrames.start(interval);
}

// Draws the cells that show another picture than before, and nothing else.
void DiagramFace::NextFrame() {
  const qint64 before = mElapsed;
  mElapsed = mClock.elapsed();
  const QPoint origin = Origin();
  QRegion changed;
  for (const auto& cells : mForm.fraConnectionPanel.Cells()) {
    for (const auto& [row, cell] : cells) {
      const QRect place = PixelRect(cell.place).translated(origin);
      if (cell.playing && place.intersects(rect()) &&
          mFiles.FrameAt(cell.file, before) != mFiles.FrameAt(cell.file, mElapsed))
        changed += place;
    }
  }
  update(changed);
}

QPoint DiagramFace::Origin() const {
  const Rect& surface = mForm.fraConnectionPanel.Place();
  return {Pixels(surface.left), Pixels(surface.top)};
}

void DiagramFace::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  painter.fillRect(event->rect(), ColourOf(mForm.panDiagram.BackColor(), *this));
  if (!mForm.fraConnectionPanel.Visible()) return;
  const QPoint origin = Origin();
  painter.translate(origin);
  DiagramPainter diagram(painter, mFiles, event->rect().translated(-origin));
  for (const Label* heading : {&mForm.lblClientHeading, &mForm.lblVLTHeading, &mForm.lblServerHeading})
    diagram.PaintHeading(heading->Place(), heading->Caption());
  if (mForm.shpHighlight.Visible()) diagram.PaintHighlight(mForm.shpHighlight.Place());
  diagram.Paint(mForm.fraConnectionPanel.Cells(), mElapsed);
}

std::shared_ptr<DiagramFigure> DiagramFace::LinkAt(const QPoint& point) const {
  const QPoint place = (point - Origin()) * kTwipsPerPixel;
  return mForm.fraConnectionPanel.FigureAt(place.x(), place.y());
}

QString DiagramFace::TextAt(const QPoint& point) const {
  const QPoint place = point - Origin();
  for (const DiagramArray array : {DiagramArray::lblClient2VLT, DiagramArray::lblVLT2Server,
                                   DiagramArray::lblClient, DiagramArray::lblVLT, DiagramArray::lblServer}) {
    for (const auto& [row, cell] : mForm.fraConnectionPanel.Cells(array)) {
      if (PixelRect(cell.place).contains(place)) return cell.text;
    }
  }
  return {};
}

void DiagramFace::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) mPressed = LinkAt(event->pos());
}

void DiagramFace::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const std::shared_ptr<DiagramFigure> link = LinkAt(event->pos());
  if (link && link == mPressed.lock()) mForm.fraConnectionPanel.ClickLink(link);
  mPressed.reset();
}

// The pointer tells what can be clicked.
void DiagramFace::mouseMoveEvent(QMouseEvent* event) {
  setCursor(LinkAt(event->pos()) ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

void DiagramFace::wheelEvent(QWheelEvent* event) {
  const QPoint turned = event->angleDelta();
  QCoreApplication::sendEvent(std::abs(turned.x()) > std::abs(turned.y()) ? mHorizontal : mVertical, event);
}

void DiagramFace::keyPressEvent(QKeyEvent* event) {
  const struct {
    int key;
    QScrollBar* bar;
    QAbstractSlider::SliderAction action;
  } rows[] = {{Qt::Key_Up, mVertical, QAbstractSlider::SliderSingleStepSub},
              {Qt::Key_Down, mVertical, QAbstractSlider::SliderSingleStepAdd},
              {Qt::Key_Home, mVertical, QAbstractSlider::SliderToMinimum},
              {Qt::Key_End, mVertical, QAbstractSlider::SliderToMaximum},
              {Qt::Key_Left, mHorizontal, QAbstractSlider::SliderSingleStepSub},
              {Qt::Key_Right, mHorizontal, QAbstractSlider::SliderSingleStepAdd}};
  for (const auto& row : rows) {
    if (row.key == event->key()) return row.bar->triggerAction(row.action);
  }
  // A page of keys is one that is seen, less a row.
  const int page = (mForm.panDiagramOuter.Place().height - kRowHeight) / 10;
  if (event->key() == Qt::Key_PageUp) return mVertical->setValue(mVertical->value() - page);
  if (event->key() == Qt::Key_PageDown) return mVertical->setValue(mVertical->value() + page);
  QWidget::keyPressEvent(event);
}

void DiagramFace::showEvent(QShowEvent*) {
  mShown = true;
  Ask();
}

void DiagramFace::hideEvent(QHideEvent*) {
  mShown = false;
  FollowAnimations();
}

bool DiagramFace::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QWidget::event(event);
  const auto* help = static_cast<QHelpEvent*>(event);
  QToolTip::showText(help->globalPos(),
                     TextAt(help->pos()).toHtmlEscaped().replace(u'\n', QStringLiteral("<br>")), this);
  return true;
}

}  // namespace veltrane
