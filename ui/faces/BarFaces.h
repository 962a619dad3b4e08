// Bars: buttons with pictures, panels with texts, and splitters.
#pragma once

#include <QLabel>
#include <QList>
#include <QWidget>

#include <initializer_list>

class QToolButton;

namespace veltrane {

class Splitter;
class StatusBar;
class ToolBar;

/// A text of one line. Where its font is too high for it, it is written in a smaller one; where it is too
/// long, it is cut with an ellipsis and stands whole in its tool tip.
class PanelLabel : public QLabel {
  Q_OBJECT

 public:
  explicit PanelLabel(QWidget* parent);
  /// As high as the smallest font that it is written in.
  QSize minimumSizeHint() const override;
  /// The one that it is written in.
  QFont FittingFont() const;
  /// At which its text is not cut, in pixels.
  int WholeWidth() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

/// pictureSize in pixels.
QWidget* BuildToolBar(ToolBar& bar, QWidget& parent, int pictureSize);

/// Panels share the width in proportion to stretches; one of 0 is as wide as its text. The panel with the
/// number clock (0 for none) shows the time of day.
QWidget* BuildStatusBar(StatusBar& bar, QWidget& parent, std::initializer_list<int> stretches, int clock);

/// Drags with the mouse.
class SplitterFace : public QWidget {
  Q_OBJECT

 public:
  SplitterFace(Splitter& splitter, QWidget& parent, Qt::CursorShape cursor);

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  Splitter& mSplitter;
  QPoint mStart;
};

}  // namespace veltrane
