// The connection diagram's canvas: shows what the form says, tells it the clicks, and plays the animations
// with one timer for all of them, which runs only while something that plays is to be seen.
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

#include "ui/faces/AnimationFiles.h"
#include "ui/faces/FramePace.h"

class QScrollBar;

namespace veltrane {

class DiagramFigure;
class frmMain;

class DiagramFace : public QWidget {
  Q_OBJECT

 public:
  /// Builds the canvas and its scroll bars on outer.
  DiagramFace(frmMain& form, QWidget& outer);

  bool IsPlaying() const { return mFrames.isActive(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  bool event(QEvent* event) override;

 private:
  void FollowForm(QWidget& outer);
  void BuildScrollBars(QWidget& outer);
  void Ask();
  void Update();
  void FollowAnimations();
  void NextFrame();
  /// The surface's corner on the canvas, in pixels.
  QPoint Origin() const;
  std::shared_ptr<DiagramFigure> LinkAt(const QPoint& point) const;
  QString TextAt(const QPoint& point) const;

  frmMain& mForm;
  AnimationFiles mFiles;
  QScrollBar* mHorizontal = nullptr;
  QScrollBar* mVertical = nullptr;
  QRegion mDirty;  // on the surface
  bool mAllDirty = true;
  bool mShown = false;
  FramePace mPace{100};
  QTimer mUpdate;
  QTimer mFrames;
  QElapsedTimer mClock;
  qint64 mElapsed = 0;  // ms, of the frames that are to be seen
  std::weak_ptr<DiagramFigure> mPressed;
};

}  // namespace veltrane
