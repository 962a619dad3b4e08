#include "forms/RichTextBox.h"

#include <algorithm>

namespace veltrane {
namespace {

/// Of a long source no more than so many characters are made beside the text that they go into.
constexpr qsizetype kMostMade = 1024 * 1024;

}  // namespace

QString RichTextBox::Mid(qsizetype position, qsizetype length) const {
  const qsizetype end = position + std::min(length, mLength - position);
  QString text;
  text.reserve(end - position);
  while (position < end) {
    const Run& run = mRuns[RunAt(position)];
    const qsizetype offset = position - run.start;
    const qsizetype taken = std::min({run.text->Length() - offset, end - position, kMostMade});
    text += run.text->Piece(offset, taken);
    position += taken;
  }
  return text;
}

void RichTextBox::SetText(const QString& text) {
  Clear();
  if (!text.isEmpty()) Append(PlainText(text), 0);
  Q_EMIT TextChanged();
}

void RichTextBox::SetText(const TextSourceRef& text) {
  Clear();
  Append(text, 0);
  Q_EMIT TextChanged();
}

void RichTextBox::Clear() {
  mRuns.clear();
  mLength = 0;
  mSelStart = 0;
  mSelColor = 0;
  mColourless = 0;
  ++mGeneration;
}

void RichTextBox::AppendToText(const TextSourceRef& text) {
  Append(text, 0);
  mColourless = mRuns.size();
  mSelStart = 0;
  mSelColor = 0;
  Q_EMIT TextChanged();
}

void RichTextBox::SetSelStart(qsizetype position) {
  mSelStart = std::clamp<qsizetype>(position, 0, mLength);
  mSelColor = mLength == 0 ? 0 : RunColour(RunAt(std::max<qsizetype>(0, mSelStart - 1)));
}

void RichTextBox::SetSelText(const TextSourceRef& text) {
  if (text->Length() == 0) return;
  if (mSelStart == mLength) {
    Append(text, mSelColor);
  } else {
    InsertInside(text);
  }
  mSelStart += text->Length();
  Q_EMIT TextChanged();
}

qsizetype RichTextBox::RunAt(qsizetype position) const {
  // The end is where the text grows and where most questions are about.
  if (!mRuns.isEmpty() && position >= mRuns.last().start) return mRuns.size() - 1;
  const auto next = std::upper_bound(mRuns.begin(), mRuns.end(), position,
                                     [](qsizetype at, const Run& run) { return at < run.start; });
  return next - mRuns.begin() - 1;
}

void RichTextBox::Append(const TextSourceRef& text, Colour colour) {
  if (text->Length() == 0) return;
  mRuns.append({text, colour, mLength});
  mLength += text->Length();
}

void RichTextBox::InsertInside(const TextSourceRef& text) {
  const QList<Run> runs = std::exchange(mRuns, {});
  const qsizetype colourless = std::exchange(mColourless, 0);
  const qsizetype at = mSelStart;
  mLength = 0;
  ++mGeneration;
  for (qsizetype i = 0; i < runs.size(); ++i) {
    const Run& run = runs[i];
    const Colour colour = i < colourless ? 0 : run.colour;
    const qsizetype head = at - run.start;
    if (head < 0 || head >= run.text->Length()) {
      Append(run.text, colour);
      continue;
    }
    Append(PlainText(run.text->Piece(0, head)), colour);
    Append(text, mSelColor);
    Append(PlainText(run.text->Piece(head, run.text->Length() - head)), colour);
  }
}

}  // namespace veltrane
