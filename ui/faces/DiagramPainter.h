// Paints the cells of a connection diagram. Needs a painter alone, so a window, a picture and a printed page
// are all the same to it. Lengths are pixels of the painter, 15 twips each; the paper is white.
#pragma once

#include <QRect>
#include <QString>

#include "ui/DiagramPanel.h"

class QPainter;

namespace veltrane {

class AnimationFiles;

class DiagramPainter {
 public:
  /// How far a label may reach below its place; nothing else begins there.
  static constexpr int kSpareHeight = 4;

  /// Only what lies in visible is painted, so that a frame of one cell costs no more than that cell.
  DiagramPainter(QPainter& painter, AnimationFiles& files, const QRect& visible)
      : mPainter(painter), mFiles(files), mVisible(visible) {}

  /// elapsedMs: since the animations began to play.
  void Paint(const DiagramCells& cells, qint64 elapsedMs);
  void PaintHeading(const Rect& place, const QString& text);
  void PaintHighlight(const Rect& place);

 private:
  void PaintPicture(DiagramArray array, const DiagramCell& cell, qint64 elapsedMs);
  void PaintLabel(const DiagramCell& cell);

  QPainter& mPainter;
  AnimationFiles& mFiles;
  QRect mVisible;
};

}  // namespace veltrane
