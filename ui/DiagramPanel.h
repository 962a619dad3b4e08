// What stands on the scrolling surface of the connection diagram: cells by array and row, and the links that
// events are drawn as. Its owner is ConnectionDiagram, which fills it; faces and painters read it.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <vector>

#include "forms/WindowParts.h"
#include "history/SocketEvent.h"
#include "ui/DiagramGeometry.h"

namespace veltrane {

/// One cell. Places are in twips on the surface.
struct DiagramCell {
  Rect place;
  QString file;          // of a computer, a link or the cloud; empty where there is no picture
  QString text;          // of a label
  bool playing = false;  // else the first picture stands still
};

/// All cells, each array by row.
using DiagramCells = std::array<std::map<int, DiagramCell>, kDiagramArrays>;

/// A drawn link, which stands for its event. An event that continues the row of the one before may be drawn
/// over it on the same link; each keeps a figure of its own.
class DiagramFigure {
 public:
  Rect place;
  int tag = 0;  // position of the event, from 1
  std::weak_ptr<SocketEvent> event;
};

class DiagramPanel : public Area {
  Q_OBJECT

 public:
  using Area::Area;
  using FigureRef = std::shared_ptr<DiagramFigure>;

  const DiagramCells& Cells() const { return mCells; }
  const std::map<int, DiagramCell>& Cells(DiagramArray array) const { return mCells[Index(array)]; }

  /// Creates an element; what stood in its place goes.
  void Put(DiagramArray array, int row, DiagramCell cell);
  void PutLink(DiagramArray array, int row, DiagramCell cell, const FigureRef& figure);
  /// Takes all elements of an array away, and with links their figures.
  void Clear(DiagramArray array);
  void PlayAll(bool play);

  /// Whether a figure is among what is drawn.
  bool Has(const FigureRef& figure) const;
  /// The link at a point of the surface, or nullptr.
  FigureRef FigureAt(int x, int y) const;
  void ClickLink(const FigureRef& figure) {
    if (figure && OnLinkClick) OnLinkClick(figure);
  }

  std::function<void(const FigureRef& figure)> OnLinkClick;

 Q_SIGNALS:
  /// Another cell is to be seen at place.
  void CellPut(const Rect& place);
  void Cleared();

 private:
  static std::size_t Index(DiagramArray array) { return static_cast<std::size_t>(array); }

  DiagramCells mCells;
  /// By array; the last one drawn is on top.
  std::array<std::vector<FigureRef>, kDiagramArrays> mFigures;
};

}  // namespace veltrane
