#include "ui/faces/CellFont.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QGlyphRun>

#include <cmath>

namespace veltrane {
namespace {

QFont FixedFont(const QFont& wanted) {
  if (QFontDatabase::hasFamily(wanted.family()) && QFontInfo(wanted).fixedPitch()) return wanted;
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  if (wanted.pointSizeF() > 0) font.setPointSizeF(wanted.pointSizeF());
  return font;
}

}  // namespace

CellFont::CellFont(const QFont& font, qreal pixelRatio)
    : mFont(FixedFont(font)), mRaw(QRawFont::fromFont(mFont)) {
  const QFontMetricsF metrics(mFont);
  mCellWidth = std::max(1.0, std::round(metrics.horizontalAdvance(u'x') * pixelRatio) / pixelRatio);
  mLineHeight = std::max(1.0, std::ceil(metrics.height()));
  mAscent = std::round(metrics.ascent());
  mPlaceholder = FindPlaceholder();
  for (std::size_t code = 0; code < mGlyphs.size(); ++code)
    mGlyphs[code] = FindGlyph(QChar(static_cast<char16_t>(code)));
}

// Glyph 0 is what a font shows for what it does not have. In some it is blank.
quint32 CellFont::FindPlaceholder() const {
  if (!mRaw.boundingRect(0).isEmpty()) return 0;
  for (const char16_t stand : {u'\uFFFD', u'\u25A1', u'?'}) {
    const QList<quint32> glyphs = mRaw.glyphIndexesForString(QString(QChar(stand)));
    if (!glyphs.isEmpty() && glyphs.first() != 0) return glyphs.first();
  }
  return 0;
}

quint32 CellFont::FindGlyph(QChar character) const {
  if (!character.isPrint()) return mPlaceholder;
  const QList<quint32> glyphs = mRaw.glyphIndexesForString(QString(character));
  return glyphs.isEmpty() || glyphs.first() == 0 ? mPlaceholder : glyphs.first();
}

quint32 CellFont::Glyph(QChar character) const {
  const char16_t code = character.unicode();
  return code < mGlyphs.size() ? mGlyphs[code] : FindGlyph(character);
}

void CellFont::Put(Ink& ink, QChar character, QPointF baseline) const {
  if (character == u' ') return;
  ink.glyphs.append(Glyph(character));
  ink.places.append(baseline);
}

void CellFont::Draw(QPainter& painter, const Ink& ink) const {
  if (ink.glyphs.isEmpty()) return;
  QGlyphRun run;
  run.setRawFont(mRaw);
  run.setGlyphIndexes(ink.glyphs);
  run.setPositions(ink.places);
  painter.setPen(ink.colour);
  painter.drawGlyphRun(QPointF(), run);
}

}  // namespace veltrane
