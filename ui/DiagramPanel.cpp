#include "ui/DiagramPanel.h"

#include <algorithm>

namespace veltrane {

void DiagramPanel::Put(DiagramArray array, int row, DiagramCell cell) {
  const Rect place = cell.place;
  mCells[Index(array)].insert_or_assign(row, std::move(cell));
  Q_EMIT CellPut(place);
}

void DiagramPanel::PutLink(DiagramArray array, int row, DiagramCell cell, const FigureRef& figure) {
  mFigures[Index(array)].push_back(figure);
  Put(array, row, std::move(cell));
}

void DiagramPanel::Clear(DiagramArray array) {
  if (mCells[Index(array)].empty()) return;
  mCells[Index(array)].clear();
  mFigures[Index(array)].clear();
  Q_EMIT Cleared();
}

void DiagramPanel::PlayAll(bool play) {
  for (auto& array : mCells) {
    for (auto& [row, cell] : array)
      cell.playing = play && !cell.file.isEmpty();
  }
  Q_EMIT Changed();
}

bool DiagramPanel::Has(const FigureRef& figure) const {
  return std::any_of(mFigures.begin(), mFigures.end(), [&](const auto& figures) {
    return std::find(figures.begin(), figures.end(), figure) != figures.end();
  });
}

DiagramPanel::FigureRef DiagramPanel::FigureAt(int x, int y) const {
  for (const auto& figures : mFigures) {
    const auto found = std::find_if(figures.rbegin(), figures.rend(), [x, y](const FigureRef& figure) {
      const Rect& place = figure->place;
      return x >= place.left && x < place.Right() && y >= place.top && y < place.Bottom();
    });
    if (found != figures.rend()) return *found;
  }
  return nullptr;
}

}  // namespace veltrane
