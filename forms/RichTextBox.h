// The rich text control: one text in runs of colour. SelText inserts at the caret, SelStart, in the colour
// SelColor; assigning Text drops all colours.
#pragma once

#include <QList>

#include "forms/Controls.h"

namespace veltrane {

class RichTextBox : public Control {
  Q_OBJECT

 public:
  struct Run {
    QString text;
    Colour colour = 0;  // 0 is the palette's text colour
  };

  using Control::Control;

  QString Text() const;
  void SetText(const QString& text);
  qsizetype TextLength() const { return mLength; }
  const QList<Run>& Runs() const { return mRuns; }

  /// The caret, 0-based, cut to the length of the text. Assigning it takes the colour at that place.
  qsizetype SelStart() const { return mSelStart; }
  void SetSelStart(qsizetype position);
  Colour SelColor() const { return mSelColor; }
  void SetSelColor(Colour colour) { mSelColor = colour; }
  /// Inserts text at the caret and moves the caret behind it.
  void SetSelText(const QString& text);

  /// Where lines wrap, in twips; 0 wraps at the window's edge.
  int RightMargin() const { return mRightMargin; }
  void SetRightMargin(int margin) { Assign(mRightMargin, margin); }

 private:
  void Insert(const QString& text);

  QList<Run> mRuns;
  qsizetype mLength = 0;
  qsizetype mSelStart = 0;
  Colour mSelColor = 0;
  int mRightMargin = 0;
};

}  // namespace veltrane
