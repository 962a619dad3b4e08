#include "ui/faces/RichTextView.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <limits>

#include "ui/faces/ColourNumber.h"

namespace veltrane {
namespace {

/// So many characters are looked at for their lines in one frame.
constexpr qsizetype kSlice = 4 * 1024 * 1024;
/// Tabulators of a longer line are one cell wide: it is not walked through at every drawing.
constexpr qsizetype kLongLine = 16384;
constexpr int kDragIntervalMs = 40;
/// What is selected with the mouse is offered to the middle button, unless it is very much.
constexpr qsizetype kPrimaryLimit = 1024 * 1024;
/// Characters, of two bytes each: 256 MB. A longer selection is not copied.
constexpr qsizetype kCopyLimit = 128 * 1024 * 1024;
constexpr int kMargin = 2;

qsizetype CellsOf(QChar character, qsizetype column) {
  return character == u'\t' ? TextLines::kTabCells - column % TextLines::kTabCells : 1;
}

int ToBar(qsizetype value) {
  return static_cast<int>(std::clamp<qsizetype>(value, 0, std::numeric_limits<int>::max()));
}

QColor ColourOf(Colour colour, const QPalette& palette) {
  return colour == 0 ? palette.color(QPalette::Text) : ToQColor(colour);
}

bool IsWordCharacter(QChar character) {
  return character.isLetterOrNumber() || character == u'_';
}

}  // namespace

/// What is to be drawn, by colour.
struct RichTextView::Inks {
  std::vector<CellFont::Ink> inks;

  CellFont::Ink& Of(const QColor& colour) {
    for (CellFont::Ink& ink : inks) {
      if (ink.colour == colour) return ink;
    }
    inks.push_back({colour, {}, {}});
    return inks.back();
  }
};

RichTextView::RichTextView(QWidget* parent) : QAbstractScrollArea(parent) {
  setFocusPolicy(Qt::StrongFocus);
  viewport()->setCursor(Qt::IBeamCursor);
  mFrame.setSingleShot(true);
  mDrag.setInterval(kDragIntervalMs);
  connect(&mFrame, &QTimer::timeout, this, &RichTextView::ShowFrame);
  connect(&mDrag, &QTimer::timeout, this, &RichTextView::DragOn);
  connect(verticalScrollBar(), &QScrollBar::valueChanged, this, [this](int value) {
    mAtEnd = value == verticalScrollBar()->maximum();
    if (!mAtEnd) mSeeksEnd = false;
  });
  for (QScrollBar* bar : {verticalScrollBar(), horizontalScrollBar()})
    connect(bar, &QScrollBar::valueChanged, viewport(), qOverload<>(&QWidget::update));
  MeasureCells();
}

void RichTextView::Follow(const RichTextBox& box) {
  mBox = &box;
  mLines.emplace(box);
  connect(&box, &RichTextBox::TextChanged, this, &RichTextView::NoteChange);
  TakeText();
}

// What is not seen is taken up when it comes into view. Of a text that has gone nothing is kept until then:
// the user may draw, press and scroll before the next frame.
void RichTextView::NoteChange() {
  if (mLines->ForgetFormerText()) {
    mSelecting = false;
    mDrag.stop();
    Select(0, 0);
  }
  if (mFrame.isActive() || !isVisible()) return;
  mFrame.start(mPace.Pause());
}

void RichTextView::ShowFrame() {
  bool complete = true;
  mPace.Draw(*this, [&] {
    complete = TakeText();
    viewport()->update();
  });
  if (!complete) NoteChange();
}

bool RichTextView::TakeText() {
  if (!mBox) return true;
  const bool isNew = mGeneration != mBox->Generation();
  mGeneration = mBox->Generation();
  // Of an earlier text there is no place to stay at.
  if (isNew) {
    mAtEnd = true;
    mSeeksEnd = false;
  }
  const bool complete = mLines->Update(kSlice);
  RefreshScrollBars();
  if (complete) mSeeksEnd = false;
  if (isNew && !EndIsWanted()) {
    verticalScrollBar()->setValue(0);
    horizontalScrollBar()->setValue(0);
  }
  return complete;
}

bool RichTextView::EndIsWanted() const {
  return mSeeksEnd || (mAtEnd && mBox && mBox->SelStart() == mBox->TextLength());
}

void RichTextView::RefreshScrollBars() {
  if (!mLines) return;
  const bool toEnd = EndIsWanted();
  QScrollBar& vertical = *verticalScrollBar();
  QScrollBar& horizontal = *horizontalScrollBar();
  vertical.setPageStep(std::max(1, Rows()));
  vertical.setRange(0, ToBar(mLines->Count() - Rows()));
  horizontal.setPageStep(std::max(1, Columns()));
  horizontal.setRange(0, ToBar(mLines->LongestLine() - Columns()));
  if (toEnd) vertical.setValue(vertical.maximum());
}

void RichTextView::MeasureCells() {
  mCells.emplace(font(), devicePixelRatioF());
  RefreshScrollBars();
  viewport()->update();
}

int RichTextView::Rows() const {
  return static_cast<int>((viewport()->height() - 2 * kMargin) / mCells->LineHeight());
}

int RichTextView::Columns() const {
  return static_cast<int>((viewport()->width() - 2 * kMargin) / mCells->CellWidth());
}

qsizetype RichTextView::FirstLine() const {
  return verticalScrollBar()->value();
}

int RichTextView::FirstColumn() const {
  return horizontalScrollBar()->value();
}

// Of a text that has gone the picture stays until the frame that shows what came after it.
void RichTextView::paintEvent(QPaintEvent*) {
  if (!mLines) return;
  if (mGeneration == mBox->Generation()) DrawPicture();
  QPainter(viewport()).drawPixmap(0, 0, mPicture);
}

void RichTextView::DrawPicture() {
  const qreal pixelRatio = devicePixelRatioF();
  const QSize size = viewport()->size() * pixelRatio;
  if (mPicture.size() != size) mPicture = QPixmap(size);
  mPicture.setDevicePixelRatio(pixelRatio);
  mPicture.fill(palette().color(QPalette::Base));
  QPainter painter(&mPicture);
  Inks inks;
  // One more than fits, for the part of a line at the bottom.
  const qsizetype behind = std::min<qsizetype>(FirstLine() + Rows() + 2, mLines->Count());
  for (qsizetype line = FirstLine(); line < behind; ++line)
    DrawLine(painter, line, inks);
  for (const CellFont::Ink& ink : inks.inks)
    mCells->Draw(painter, ink);
}

void RichTextView::DrawLine(QPainter& painter, qsizetype line, Inks& inks) const {
  const qsizetype start = mLines->Start(line);
  const qsizetype end = mLines->End(line);
  DrawSelection(painter, line, start, end);
  const qsizetype firstColumn = FirstColumn();
  const qsizetype behindColumn = firstColumn + Columns() + 2;
  const bool isLong = end - start > kLongLine;
  qsizetype column = isLong ? firstColumn : 0;
  qsizetype position = start + column;
  if (position >= end) return;
  const QString text = mBox->Mid(position, std::min(end - position, behindColumn - column));
  const qreal baseline =
      kMargin + static_cast<qreal>(line - FirstLine()) * mCells->LineHeight() + mCells->Ascent();
  const qsizetype selectedFrom = std::min(mAnchor, mCursor);
  const qsizetype selectedTo = std::max(mAnchor, mCursor);
  qsizetype run = mBox->RunAt(position);
  for (const QChar character : text) {
    while (run + 1 < mBox->RunCount() && mBox->RunStart(run + 1) <= position)
      ++run;
    if (column >= firstColumn && column < behindColumn && character != u'\t') {
      const bool selected = position >= selectedFrom && position < selectedTo;
      const QColor colour = selected      ? palette().color(QPalette::HighlightedText)
                            : isEnabled() ? ColourOf(mBox->RunColour(run), palette())
                                          : palette().color(QPalette::Text);
      const qreal left = kMargin + static_cast<qreal>(column - firstColumn) * mCells->CellWidth();
      mCells->Put(inks.Of(colour), character, {left, baseline});
    }
    column += isLong ? 1 : CellsOf(character, column);
    ++position;
  }
}

void RichTextView::DrawSelection(QPainter& painter, qsizetype line, qsizetype start, qsizetype end) const {
  const qsizetype from = std::max(start, std::min(mAnchor, mCursor));
  const qsizetype to = std::max(mAnchor, mCursor);
  if (from >= to || from > end) return;
  const qsizetype left = ColumnOf(line, from) - FirstColumn();
  // A line end that is selected takes a cell as well.
  const qsizetype right = ColumnOf(line, std::min(to, end)) - FirstColumn() + (to > end ? 1 : 0);
  const qreal width = mCells->CellWidth();
  const qreal height = mCells->LineHeight();
  const QRectF place(kMargin + static_cast<qreal>(left) * width,
                     kMargin + static_cast<qreal>(line - FirstLine()) * height,
                     static_cast<qreal>(right - left) * width, height);
  painter.fillRect(place.intersected(viewport()->rect()), palette().color(QPalette::Highlight));
}

qsizetype RichTextView::ColumnOf(qsizetype line, qsizetype position) const {
  const qsizetype start = mLines->Start(line);
  // Text that has not been looked at counts as one line.
  if (std::max(mLines->End(line), position) - start > kLongLine) return position - start;
  qsizetype column = 0;
  for (const QChar character : mBox->Mid(start, position - start))
    column += CellsOf(character, column);
  return column;
}

qsizetype RichTextView::PositionAt(qsizetype line, qsizetype column) const {
  const qsizetype start = mLines->Start(line);
  const qsizetype end = mLines->End(line);
  if (end - start > kLongLine) return std::min(start + column, end);
  qsizetype position = start;
  qsizetype at = 0;
  for (const QChar character : mBox->Mid(start, std::min(end - start, column))) {
    const qsizetype next = at + CellsOf(character, at);
    // The nearer edge of a wide one.
    if (next > column && column - at < next - column) break;
    at = next;
    ++position;
    if (at >= column) break;
  }
  return position;
}

qsizetype RichTextView::PositionAt(QPoint point) const {
  const auto row = static_cast<qsizetype>(std::floor((point.y() - kMargin) / mCells->LineHeight()));
  const qsizetype line = std::clamp<qsizetype>(FirstLine() + row, 0, mLines->Count() - 1);
  const auto cell = static_cast<qsizetype>(std::lround((point.x() - kMargin) / mCells->CellWidth()));
  return PositionAt(line, std::max<qsizetype>(0, FirstColumn() + cell));
}

QRect RichTextView::CellAt(qsizetype position) const {
  const qsizetype line = mLines->LineAt(position);
  const qsizetype column = ColumnOf(line, position) - FirstColumn();
  return QRectF(kMargin + static_cast<qreal>(column) * mCells->CellWidth(),
                kMargin + static_cast<qreal>(line - FirstLine()) * mCells->LineHeight(), mCells->CellWidth(),
                mCells->LineHeight())
      .toRect();
}

void RichTextView::resizeEvent(QResizeEvent* event) {
  QAbstractScrollArea::resizeEvent(event);
  RefreshScrollBars();
}

void RichTextView::showEvent(QShowEvent* event) {
  QAbstractScrollArea::showEvent(event);
  MeasureCells();
  if (!TakeText()) NoteChange();
}

void RichTextView::changeEvent(QEvent* event) {
  QAbstractScrollArea::changeEvent(event);
  if (event->type() == QEvent::FontChange) MeasureCells();
  if (event->type() == QEvent::PaletteChange || event->type() == QEvent::EnabledChange) viewport()->update();
}

QString RichTextView::SelectedText() const {
  const qsizetype from = std::min(mAnchor, mCursor);
  return mBox ? mBox->Mid(from, std::max(mAnchor, mCursor) - from) : QString();
}

void RichTextView::Select(qsizetype anchor, qsizetype cursor) {
  const bool hadSelection = HasSelection();
  mAnchor = anchor;
  mCursor = cursor;
  if (hadSelection || HasSelection()) viewport()->update();
}

void RichTextView::SelectAll() {
  if (mBox) Select(0, mBox->TextLength());
}

void RichTextView::Copy() const {
  if (!HasSelection()) return;
  if (std::abs(mAnchor - mCursor) > kCopyLimit) {
    QToolTip::showText(mapToGlobal(rect().center()),
                       QStringLiteral("The selection is too long to be copied: it takes more than 256 MB."));
    return;
  }
  QApplication::clipboard()->setText(SelectedText());
}

void RichTextView::OfferToPrimary() const {
  QClipboard& clipboard = *QApplication::clipboard();
  if (!HasSelection() || !clipboard.supportsSelection()) return;
  if (std::abs(mAnchor - mCursor) <= kPrimaryLimit) clipboard.setText(SelectedText(), QClipboard::Selection);
}

void RichTextView::keyPressEvent(QKeyEvent* event) {
  if (!mLines) return QAbstractScrollArea::keyPressEvent(event);
  QScrollBar& vertical = *verticalScrollBar();
  mSeeksEnd = false;
  if (event->matches(QKeySequence::Copy)) {
    Copy();
  } else if (event->matches(QKeySequence::SelectAll)) {
    SelectAll();
  } else if (event->modifiers().testFlag(Qt::ShiftModifier) && ExtendSelection(*event)) {
    ScrollTo(mCursor);
  } else if (event->key() == Qt::Key_Home) {
    vertical.setValue(0);
    horizontalScrollBar()->setValue(0);
  } else if (event->key() == Qt::Key_End) {
    vertical.setValue(vertical.maximum());
    mSeeksEnd = mLines->Known() < mBox->TextLength();
  } else {
    QAbstractScrollArea::keyPressEvent(event);
  }
}

/// Whether a position stands between CR and LF.
bool RichTextView::IsCut(qsizetype position) const {
  return position > 0 && mBox->Mid(position - 1, 2) == u"\r\n";
}

bool RichTextView::ExtendSelection(const QKeyEvent& event) {
  const bool whole = event.modifiers().testFlag(Qt::ControlModifier);
  const qsizetype line = mLines->LineAt(mCursor);
  const auto lines = [&](qsizetype by) {
    const qsizetype to = std::clamp<qsizetype>(line + by, 0, mLines->Count() - 1);
    return PositionAt(to, ColumnOf(line, mCursor));
  };
  const auto step = [&](qsizetype by) {
    const qsizetype to = std::clamp<qsizetype>(mCursor + by, 0, mBox->TextLength());
    return IsCut(to) ? to + by : to;
  };
  switch (event.key()) {
    case Qt::Key_Left:
      Select(mAnchor, step(-1));
      return true;
    case Qt::Key_Right:
      Select(mAnchor, step(1));
      return true;
    case Qt::Key_Up:
      Select(mAnchor, lines(-1));
      return true;
    case Qt::Key_Down:
      Select(mAnchor, lines(1));
      return true;
    case Qt::Key_PageUp:
      Select(mAnchor, lines(-Rows()));
      return true;
    case Qt::Key_PageDown:
      Select(mAnchor, lines(Rows()));
      return true;
    case Qt::Key_Home:
      Select(mAnchor, whole ? 0 : mLines->Start(line));
      return true;
    case Qt::Key_End:
      Select(mAnchor, whole ? mBox->TextLength() : mLines->End(line));
      return true;
    default:
      return false;
  }
}

void RichTextView::ScrollTo(qsizetype position) {
  const qsizetype line = mLines->LineAt(position);
  const qsizetype column = ColumnOf(line, position);
  const auto show = [](QScrollBar& bar, qsizetype at, int room) {
    if (at < bar.value()) bar.setValue(ToBar(at));
    if (at >= bar.value() + room) bar.setValue(ToBar(at - room + 1));
  };
  show(*verticalScrollBar(), line, std::max(1, Rows()));
  show(*horizontalScrollBar(), column, std::max(1, Columns()));
}

void RichTextView::mousePressEvent(QMouseEvent* event) {
  mSeeksEnd = false;
  if (!mLines || event->button() != Qt::LeftButton) return;
  const qsizetype position = PositionAt(event->pos());
  Select(event->modifiers().testFlag(Qt::ShiftModifier) ? mAnchor : position, position);
  mSelecting = true;
}

void RichTextView::mouseMoveEvent(QMouseEvent* event) {
  if (!mSelecting) return;
  Select(mAnchor, PositionAt(event->pos()));
  if (viewport()->rect().contains(event->pos())) {
    mDrag.stop();
  } else if (!mDrag.isActive()) {
    mDrag.start();
  }
}

// The mouse is held outside: the text goes by under it.
void RichTextView::DragOn() {
  const QPoint point = viewport()->mapFromGlobal(QCursor::pos());
  const qsizetype position = PositionAt(point);
  Select(mAnchor, position);
  ScrollTo(position);
}

void RichTextView::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || !mSelecting) return;
  mSelecting = false;
  mDrag.stop();
  OfferToPrimary();
}

void RichTextView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (!mLines || event->button() != Qt::LeftButton) return;
  const auto cell = static_cast<int>(mCells->CellWidth() / 2);
  SelectWordAt(PositionAt(event->pos() - QPoint(cell, 0)));
  OfferToPrimary();
}

void RichTextView::SelectWordAt(qsizetype position) {
  const qsizetype line = mLines->LineAt(position);
  // No word is longer.
  const qsizetype first = std::max(mLines->Start(line), position - kLongLine);
  const qsizetype last = std::min(mLines->End(line), position + kLongLine);
  const QString text = mBox->Mid(first, last - first);
  qsizetype from = position - first;
  qsizetype to = from;
  while (from > 0 && from <= text.size() && IsWordCharacter(text[from - 1]))
    --from;
  while (to < text.size() && IsWordCharacter(text[to]))
    ++to;
  Select(first + from, first + to);
}

void RichTextView::contextMenuEvent(QContextMenuEvent* event) {
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->setObjectName(QStringLiteral("mnuText"));
  QAction* copy = menu->addAction(QStringLiteral("&Copy"), this, &RichTextView::Copy);
  copy->setShortcut(QKeySequence::Copy);
  copy->setEnabled(HasSelection());
  QAction* all = menu->addAction(QStringLiteral("Select &All"), this, &RichTextView::SelectAll);
  all->setShortcut(QKeySequence::SelectAll);
  all->setEnabled(mBox && mBox->TextLength() > 0);
  menu->popup(event->globalPos());
}

}  // namespace veltrane
