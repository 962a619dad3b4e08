#include "forms/RichTextBox.h"

#include <algorithm>

namespace veltrane {

QString RichTextBox::Text() const {
  QString text;
  text.reserve(mLength);
  for (const Run& run : mRuns)
    text += run.text;
  return text;
}

void RichTextBox::SetText(const QString& text) {
  mRuns.clear();
  if (!text.isEmpty()) mRuns.append({text, 0});
  mLength = text.size();
  mSelStart = 0;
  mSelColor = 0;
  Q_EMIT Changed();
}

void RichTextBox::SetSelStart(qsizetype position) {
  mSelStart = std::clamp<qsizetype>(position, 0, mLength);
  qsizetype start = 0;
  mSelColor = 0;
  for (const Run& run : mRuns) {
    mSelColor = run.colour;
    start += run.text.size();
    if (start >= mSelStart) break;
  }
}

void RichTextBox::SetSelText(const QString& text) {
  if (text.isEmpty()) return;
  Insert(text);
  mLength += text.size();
  mSelStart += text.size();
  Q_EMIT Changed();
}

void RichTextBox::Insert(const QString& text) {
  if (mSelStart == mLength) {
    if (!mRuns.isEmpty() && mRuns.last().colour == mSelColor) {
      mRuns.last().text += text;
    } else {
      mRuns.append({text, mSelColor});
    }
    return;
  }
  qsizetype start = 0;
  for (qsizetype i = 0; i < mRuns.size(); ++i) {
    const qsizetype end = start + mRuns[i].text.size();
    if (mSelStart < end) {
      const Run head{mRuns[i].text.left(mSelStart - start), mRuns[i].colour};
      mRuns[i].text.remove(0, mSelStart - start);
      mRuns.insert(i, {text, mSelColor});
      if (!head.text.isEmpty()) mRuns.insert(i, head);
      return;
    }
    start = end;
  }
}

}  // namespace veltrane
