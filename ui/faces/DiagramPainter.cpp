#include "ui/faces/DiagramPainter.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QTextLayout>

#include <algorithm>

#include "ui/faces/AnimationFiles.h"
#include "ui/faces/Twips.h"

namespace veltrane {
namespace {

// On white, whatever the desktop's colours are.
constexpr QRgb kInk = 0xff1f2933;
constexpr QRgb kQuietInk = 0xff616e7c;
constexpr QRgb kMark = 0xff2f7fd1;
constexpr int kMarkFill = 28;

constexpr int kHeadingSize = 13;
/// Clear of the mark around a link.
constexpr int kLabelTop = 2;
/// A label takes the first of these sizes at which it has room, and is cut at the last: smaller is not read.
constexpr int kLabelSizes[] = {11, 10, 9};
/// Nobody reads more of a failure's text than fits here.
constexpr int kLongestLabel = 500;

/// A label's words, the first part in ink, the last line of several in a quieter one, broken into lines.
struct Lines {
  struct Line {
    QString text;
    bool quiet = false;
  };
  QFont font;
  QList<Line> lines;
};

QStringList Break(const QString& text, const QFont& font, int width) {
  QTextLayout layout(text, font);
  QTextOption option;
  option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  layout.setTextOption(option);
  QStringList lines;
  layout.beginLayout();
  for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
    line.setLineWidth(width);
    lines.append(text.mid(line.textStart(), line.textLength()).trimmed());
  }
  layout.endLayout();
  return lines;
}

Lines Fit(const QString& text, QFont font, const QSize& room) {
  const qsizetype end = text.lastIndexOf(u'\n');
  const QString first = text.left(end < 0 ? text.size() : end).left(kLongestLabel);
  const QString last = end < 0 ? QString() : text.mid(end + 1);
  Lines fitted;
  for (const int size : kLabelSizes) {
    font.setPixelSize(size);
    const QFontMetricsF metrics(font);
    const int most = static_cast<int>((room.height() + DiagramPainter::kSpareHeight) / metrics.height());
    QStringList lines = Break(first, font, room.width());
    // A line of the first part is there even where the font is too tall for it.
    const qsizetype left = std::max(1, most - (last.isEmpty() ? 0 : 1));
    const bool cut = lines.size() > left;
    if ((cut || metrics.horizontalAdvance(last) > room.width()) &&
        size != kLabelSizes[std::size(kLabelSizes) - 1])
      continue;
    if (cut) {
      const QString rest = lines.mid(left - 1).join(u' ');
      lines = lines.first(left - 1) << metrics.elidedText(rest, Qt::ElideRight, room.width());
    }
    fitted.font = font;
    for (const QString& line : lines)
      fitted.lines.append({line, false});
    if (!last.isEmpty()) fitted.lines.append({metrics.elidedText(last, Qt::ElideMiddle, room.width()), true});
    break;
  }
  return fitted;
}

}  // namespace

void DiagramPainter::Paint(const DiagramCells& cells, qint64 elapsedMs) {
  mPainter.setRenderHint(QPainter::SmoothPixmapTransform);
  for (int index = 0; index < kDiagramArrays; ++index) {
    const auto array = static_cast<DiagramArray>(index);
    for (const auto& [row, cell] : cells[static_cast<std::size_t>(index)]) {
      if (!PixelRect(cell.place).adjusted(0, 0, 0, kSpareHeight).intersects(mVisible)) continue;
      if (IsLabel(array)) {
        PaintLabel(cell);
      } else {
        PaintPicture(array, cell, elapsedMs);
      }
    }
  }
}

// A computer stands at the upper edge of its cell, all else in the middle.
void DiagramPainter::PaintPicture(DiagramArray array, const DiagramCell& cell, qint64 elapsedMs) {
  if (cell.file.isEmpty()) return;
  const QRect place = PixelRect(cell.place);
  const double ratio = mPainter.device()->devicePixelRatioF();
  const int index = cell.playing ? mFiles.FrameAt(cell.file, elapsedMs) : 0;
  const QImage frame = mFiles.Frame(cell.file, index, (QSizeF(place.size()) * ratio).toSize());
  if (frame.isNull()) return;
  const QSizeF size = QSizeF(frame.size()) / ratio;
  const bool centred = IsLink(array) || array == DiagramArray::pctInternet;
  const QPointF corner(place.x() + (place.width() - size.width()) / 2,
                       place.y() + (centred ? (place.height() - size.height()) / 2 : 0));
  mPainter.drawImage(QRectF(corner, size), frame);
}

void DiagramPainter::PaintLabel(const DiagramCell& cell) {
  if (cell.text.isEmpty()) return;
  const QRect place = PixelRect(cell.place);
  const Lines fitted = Fit(cell.text, mPainter.font(), place.size());
  mPainter.save();
  mPainter.setFont(fitted.font);
  const QFontMetricsF metrics(fitted.font);
  double top = place.y() + kLabelTop;
  for (const Lines::Line& line : fitted.lines) {
    mPainter.setPen(QColor::fromRgba(line.quiet ? kQuietInk : kInk));
    mPainter.drawText(QRectF(place.x(), top, place.width(), metrics.height()),
                      static_cast<int>(Qt::AlignHCenter | Qt::AlignTop | Qt::TextSingleLine), line.text);
    top += metrics.height();
  }
  mPainter.restore();
}

void DiagramPainter::PaintHeading(const Rect& place, const QString& text) {
  mPainter.save();
  QFont font = mPainter.font();
  font.setPixelSize(kHeadingSize);
  font.setBold(true);
  mPainter.setFont(font);
  mPainter.setPen(QColor::fromRgba(kInk));
  mPainter.drawText(PixelRect(place), Qt::AlignCenter, text);
  mPainter.restore();
}

void DiagramPainter::PaintHighlight(const Rect& place) {
  mPainter.save();
  mPainter.setRenderHint(QPainter::Antialiasing);
  QColor fill = QColor::fromRgba(kMark);
  fill.setAlpha(kMarkFill);
  mPainter.setBrush(fill);
  mPainter.setPen(QPen(QColor::fromRgba(kMark), 2));
  mPainter.drawRoundedRect(QRectF(PixelRect(place)).adjusted(1, 1, -1, -1), 5, 5);
  mPainter.restore();
}

}  // namespace veltrane
