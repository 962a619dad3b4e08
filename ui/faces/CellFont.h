// A fixed-pitch font whose glyphs stand in cells of one width. What the font cannot show, or what cannot be
// printed at all, stands as the font's placeholder, so every character has its cell.
#pragma once

#include <QColor>
#include <QFont>
#include <QList>
#include <QPainter>
#include <QRawFont>

#include <array>

namespace veltrane {

class CellFont {
 public:
  /// The font itself where the desktop has its family and it is of fixed pitch, else the desktop's fixed font
  /// in the same size. pixelRatio: of the screen, so that cells begin at whole pixels.
  CellFont(const QFont& font, qreal pixelRatio);

  qreal CellWidth() const { return mCellWidth; }
  qreal LineHeight() const { return mLineHeight; }
  qreal Ascent() const { return mAscent; }
  const QFont& Font() const { return mFont; }

  /// Whether the character stands as the placeholder.
  bool IsPlaceheld(QChar character) const { return Glyph(character) == mPlaceholder; }

  /// Characters of one colour that are drawn together.
  struct Ink {
    QColor colour;
    QList<quint32> glyphs;
    QList<QPointF> places;
  };
  void Put(Ink& ink, QChar character, QPointF baseline) const;
  void Draw(QPainter& painter, const Ink& ink) const;

 private:
  quint32 Glyph(QChar character) const;
  quint32 FindGlyph(QChar character) const;
  quint32 FindPlaceholder() const;

  QFont mFont;
  QRawFont mRaw;
  qreal mCellWidth;
  qreal mLineHeight;
  qreal mAscent;
  quint32 mPlaceholder;
  std::array<quint32, 256> mGlyphs{};  // of the characters that bytes are
};

}  // namespace veltrane
