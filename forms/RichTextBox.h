// The rich text control: one text in runs of colour. SelText inserts at the caret, SelStart, in the colour
// SelColor; assigning Text drops all colours. What is appended is kept as its source, so neither its length
// nor that of the whole text decides what appending costs.
#pragma once

#include <QList>

#include "forms/Controls.h"
#include "forms/TextSource.h"

namespace veltrane {

class RichTextBox : public Control {
  Q_OBJECT

 public:
  using Control::Control;

  /// All of it, which for a long text takes its time.
  QString Text() const { return Mid(0, mLength); }
  /// At most length characters from a 0-based position; none beyond the end.
  QString Mid(qsizetype position, qsizetype length) const;
  void SetText(const QString& text);
  void SetText(const TextSourceRef& text);
  /// What assigning Text and text behind it does, at the cost of text alone: all colours go.
  void AppendToText(const TextSourceRef& text);
  qsizetype TextLength() const { return mLength; }

  /// The caret, 0-based, cut to the length of the text. Assigning it takes the colour at that place.
  qsizetype SelStart() const { return mSelStart; }
  void SetSelStart(qsizetype position);
  /// 0 is the palette's text colour.
  Colour SelColor() const { return mSelColor; }
  void SetSelColor(Colour colour) { mSelColor = colour; }
  /// Inserts text at the caret and moves the caret behind it.
  void SetSelText(const QString& text) { SetSelText(PlainText(text)); }
  void SetSelText(const TextSourceRef& text);

  // The text in runs, each of one source and one colour.
  qsizetype RunCount() const { return mRuns.size(); }
  const TextSource& RunText(qsizetype run) const { return *mRuns[run].text; }
  qsizetype RunStart(qsizetype run) const { return mRuns[run].start; }
  Colour RunColour(qsizetype run) const { return run < mColourless ? 0 : mRuns[run].colour; }
  /// The run that holds the character at a position within the text.
  qsizetype RunAt(qsizetype position) const;
  /// Another number whenever the text has changed otherwise than by growing at its end.
  quint64 Generation() const { return mGeneration; }

  /// Where a line would have to wrap, in twips. It is set so far out that none does.
  int RightMargin() const { return mRightMargin; }
  void SetRightMargin(int margin) { Assign(mRightMargin, margin); }

 Q_SIGNALS:
  /// The text, or a part of it. Changed is told of everything else.
  void TextChanged();

 private:
  struct Run {
    TextSourceRef text;
    Colour colour = 0;
    qsizetype start = 0;
  };

  void Clear();
  void Append(const TextSourceRef& text, Colour colour);
  void InsertInside(const TextSourceRef& text);

  QList<Run> mRuns;
  qsizetype mColourless = 0;  // so many runs have lost their colour
  qsizetype mLength = 0;
  qsizetype mSelStart = 0;
  Colour mSelColor = 0;
  quint64 mGeneration = 0;
  int mRightMargin = 0;
};

}  // namespace veltrane
