#include "forms/TextLines.h"

#include <algorithm>

namespace veltrane {
namespace {

constexpr qsizetype kBlockLength = 16384;
constexpr qsizetype kLineEndLength = 2;  // CR LF
constexpr char16_t kLastOfInterest = u'\r';

/// A CR ends its line only when it is known that no LF follows.
bool StartsLine(QChar before, QChar at) {
  return before == u'\n' || (before == u'\r' && at != u'\n');
}

}  // namespace

bool TextLines::ForgetFormerText() {
  if (mGeneration == mBox.Generation()) return false;
  mBlocks.clear();
  mKnown = mStarts = mLineStart = mTabs = mLongest = 0;
  mLast = QChar();
  mFoundBlock = -1;
  mGeneration = mBox.Generation();
  return true;
}

bool TextLines::Update(qsizetype characters) {
  ForgetFormerText();
  mFoundBlock = -1;
  while (mKnown < mBox.TextLength() && characters > 0) {
    const qsizetype run = mBox.RunAt(mKnown);
    const TextSource& text = mBox.RunText(run);
    const qsizetype before = mKnown;
    if (text.RowLength() > 0) {
      TakeRows(text);
      --characters;
    } else {
      Scan(run, characters);
      characters -= mKnown - before;
    }
  }
  return mKnown == mBox.TextLength();
}

void TextLines::TakeRows(const TextSource& rows) {
  const qsizetype length = rows.RowLength();
  const bool startsLine = mKnown == 0 || mLast == u'\n' || mLast == u'\r';
  mBlocks.append({mKnown, mStarts, length, startsLine});
  if (startsLine) BeginLine(mKnown);
  mLongest = std::max(mLongest, mKnown - mLineStart + mTabs * (kTabCells - 1) + length - kLineEndLength);
  mStarts += rows.Length() / length - 1;
  mKnown += rows.Length();
  mLineStart = mKnown - length;
  mTabs = 0;
  mLast = u'\n';
}

void TextLines::Scan(qsizetype run, qsizetype characters) {
  const bool goesOn = !mBlocks.isEmpty() && mBlocks.last().rowLength == 0;
  qsizetype room = goesOn ? kBlockLength - (mKnown - mBlocks.last().start) : 0;
  if (room <= 0) {
    mBlocks.append({mKnown, mStarts, 0, false});
    room = kBlockLength;
  }
  const qsizetype offset = mKnown - mBox.RunStart(run);
  const TextSource& text = mBox.RunText(run);
  const QString piece = text.Piece(offset, std::min({room, text.Length() - offset, characters}));
  QChar before = mLast;
  if (mKnown == 0) BeginLine(0);
  for (qsizetype i = 0; i < piece.size(); ++i) {
    const QChar at = piece[i];
    // Few are line ends or tabulators.
    if (before <= kLastOfInterest && StartsLine(before, at)) BeginLine(mKnown + i);
    if (at == u'\t') ++mTabs;
    before = at;
  }
  mLast = before;
  mKnown += piece.size();
  mLongest = std::max(mLongest, mKnown - mLineStart + mTabs * (kTabCells - 1));
}

void TextLines::BeginLine(qsizetype position) {
  mLongest = std::max(mLongest, position - mLineStart + mTabs * (kTabCells - 1));
  mLineStart = position;
  mTabs = 0;
  ++mStarts;
}

qsizetype TextLines::Count() const {
  return mStarts + (mKnown == 0 || mLast == u'\n' ? 1 : 0);
}

qsizetype TextLines::BlockEnd(qsizetype block) const {
  return block + 1 < mBlocks.size() ? mBlocks[block + 1].start : mKnown;
}

const QList<qsizetype>& TextLines::StartsIn(qsizetype block) const {
  Q_ASSERT(mGeneration == mBox.Generation());
  if (mFoundBlock == block) return mFound;
  mFoundBlock = block;
  mFound.clear();
  const qsizetype start = mBlocks[block].start;
  const QString text = mBox.Mid(start, BlockEnd(block) - start);
  QChar before = start == 0 ? QChar(u'\n') : mBox.Mid(start - 1, 1).front();
  for (qsizetype i = 0; i < text.size(); ++i) {
    if (before <= kLastOfInterest && StartsLine(before, text[i])) mFound.append(start + i);
    before = text[i];
  }
  return mFound;
}

qsizetype TextLines::Start(qsizetype line) const {
  if (line >= mStarts) return mKnown;
  const auto next = std::upper_bound(mBlocks.begin(), mBlocks.end(), line,
                                     [](qsizetype at, const Block& block) { return at < block.linesBefore; });
  const qsizetype index = next - mBlocks.begin() - 1;
  const Block& block = mBlocks[index];
  const qsizetype nth = line - block.linesBefore;
  if (block.rowLength == 0) return StartsIn(index)[nth];
  return block.start + (block.startsLine ? nth : nth + 1) * block.rowLength;
}

qsizetype TextLines::End(qsizetype line) const {
  const qsizetype start = Start(line);
  qsizetype end = Start(line + 1);
  const QString last = mBox.Mid(std::max(start, end - kLineEndLength), std::min(end - start, kLineEndLength));
  if (last.endsWith(u"\r\n")) return end - kLineEndLength;
  if (last.endsWith(u'\n') || last.endsWith(u'\r')) --end;
  return end;
}

qsizetype TextLines::LineAt(qsizetype position) const {
  if (position >= mKnown) return Count() - 1;
  const auto next = std::upper_bound(mBlocks.begin(), mBlocks.end(), position,
                                     [](qsizetype at, const Block& block) { return at < block.start; });
  const qsizetype index = next - mBlocks.begin() - 1;
  const Block& block = mBlocks[index];
  if (block.rowLength > 0) {
    return block.linesBefore + (position - block.start) / block.rowLength - (block.startsLine ? 0 : 1);
  }
  const QList<qsizetype>& starts = StartsIn(index);
  return block.linesBefore + (std::upper_bound(starts.begin(), starts.end(), position) - starts.begin()) - 1;
}

}  // namespace veltrane
