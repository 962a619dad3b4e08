// Where the lines of a rich text begin, for whoever shows a part of it. Follows the text as it grows, in
// slices, and keeps a mark for every few thousand characters, not for every line; of text whose lines are all
// alike it looks at nothing. Lines are counted from 0 and end at CR LF, LF or CR.
#pragma once

#include <QList>

#include "forms/RichTextBox.h"

namespace veltrane {

class TextLines {
 public:
  explicit TextLines(const RichTextBox& box) : mBox(box) {}

  /// Takes up what the text has become, looking at no more than about so many characters. False when there
  /// are more: what has not been looked at has no lines yet.
  bool Update(qsizetype characters);
  /// Forgets the lines of a text that is there no more, so that they are those of an empty one until the next
  /// Update; true when there were such. Nothing else may be asked between a change of the text's generation
  /// and this.
  bool ForgetFormerText();

  /// An empty text has one line, and a line end at the end of the text has an empty line behind it.
  qsizetype Count() const;
  /// The first character of a line.
  qsizetype Start(qsizetype line) const;
  /// Behind the last character of a line, its line end not counted.
  qsizetype End(qsizetype line) const;
  qsizetype LineAt(qsizetype position) const;
  /// Characters of the longest line, where a tabulator counts for as many as it can take.
  qsizetype LongestLine() const { return mLongest; }
  /// So many characters have been looked at.
  qsizetype Known() const { return mKnown; }

  static constexpr qsizetype kTabCells = 8;

 private:
  /// Characters of which the line starts are found together.
  struct Block {
    qsizetype start;
    qsizetype linesBefore;  // line starts in front of the block
    qsizetype rowLength;    // 0: they are found by looking
    bool startsLine;        // of rows: whether the first one is a line of its own
  };

  void TakeRows(const TextSource& rows);
  void Scan(qsizetype run, qsizetype characters);
  void BeginLine(qsizetype position);
  qsizetype BlockEnd(qsizetype block) const;
  const QList<qsizetype>& StartsIn(qsizetype block) const;

  const RichTextBox& mBox;
  QList<Block> mBlocks;
  qsizetype mKnown = 0;
  qsizetype mStarts = 0;  // line starts in what is known
  qsizetype mLineStart = 0;
  qsizetype mTabs = 0;  // in the last line
  qsizetype mLongest = 0;
  quint64 mGeneration = 0;
  QChar mLast;  // the last character that is known
  // The line starts of the block that was asked for last.
  mutable QList<qsizetype> mFound;
  mutable qsizetype mFoundBlock = -1;
};

}  // namespace veltrane
