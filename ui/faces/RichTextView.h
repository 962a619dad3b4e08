// Shows a rich text of any length, read-only: only what is seen is made and drawn. Lines never wrap. It shows
// the text's end while the caret stands there, unless the user has scrolled away from it; otherwise a new
// text is shown from its beginning. What changes is shown a frame at a time. Behind a frame twenty times as
// long as it took goes by before the next one, but no more than 250 ms.
#pragma once

#include <QAbstractScrollArea>
#include <QElapsedTimer>
#include <QPixmap>
#include <QTimer>

#include <optional>

#include "forms/RichTextBox.h"
#include "forms/TextLines.h"
#include "ui/faces/CellFont.h"
#include "ui/faces/FramePace.h"

namespace veltrane {

class RichTextView : public QAbstractScrollArea {
  Q_OBJECT

 public:
  explicit RichTextView(QWidget* parent = nullptr);

  /// Shows that text from now on; borrowed for the life of the view.
  void Follow(const RichTextBox& box);

  bool HasSelection() const { return mAnchor != mCursor; }
  QString SelectedText() const;
  void SelectAll();
  void Copy() const;

  const CellFont& Cells() const { return *mCells; }
  /// Where the character at a position is drawn, in the viewport; wherever that is when it is not seen.
  QRect CellAt(qsizetype position) const;
  qsizetype FirstLine() const;
  /// Whether there is nothing that the next frame would show.
  bool IsSettled() const { return !mFrame.isActive(); }
  qsizetype LineCount() const { return mLines ? mLines->Count() : 0; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void changeEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  struct Inks;

  void NoteChange();
  void ShowFrame();
  bool TakeText();
  void MeasureCells();
  void RefreshScrollBars();
  bool EndIsWanted() const;

  int Rows() const;
  int Columns() const;
  void DrawPicture();
  void DrawLine(QPainter& painter, qsizetype line, Inks& inks) const;
  void DrawSelection(QPainter& painter, qsizetype line, qsizetype start, qsizetype end) const;

  int FirstColumn() const;
  /// Cells of a line in front of the character at a position.
  qsizetype ColumnOf(qsizetype line, qsizetype position) const;
  qsizetype PositionAt(qsizetype line, qsizetype column) const;
  qsizetype PositionAt(QPoint point) const;
  bool IsCut(qsizetype position) const;

  void Select(qsizetype anchor, qsizetype cursor);
  void SelectWordAt(qsizetype position);
  bool ExtendSelection(const QKeyEvent& event);
  void ScrollTo(qsizetype position);
  void DragOn();
  void OfferToPrimary() const;

  const RichTextBox* mBox = nullptr;
  std::optional<TextLines> mLines;
  std::optional<CellFont> mCells;
  QPixmap mPicture;  // what was drawn last
  QTimer mFrame;
  QTimer mDrag;
  FramePace mPace{250};
  quint64 mGeneration = 0;
  qsizetype mAnchor = 0;
  qsizetype mCursor = 0;
  bool mAtEnd = true;
  bool mSeeksEnd = false;  // End was pressed, and there are lines still to be counted
  bool mSelecting = false;
};

}  // namespace veltrane
