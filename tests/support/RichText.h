// A rich text as a test reads it.
#pragma once

#include <QList>

#include <ostream>

#include "forms/RichTextBox.h"

namespace veltrane {

/// A stretch of text in one colour, as long as it goes.
struct Coloured {
  QString text;
  Colour colour = 0;
  friend bool operator==(const Coloured&, const Coloured&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Coloured& run) {
    return out << run.colour << " \"" << run.text.toStdString() << '"';
  }
};

inline QList<Coloured> ColouredText(const RichTextBox& box) {
  QList<Coloured> runs;
  for (qsizetype i = 0; i < box.RunCount(); ++i) {
    const TextSource& text = box.RunText(i);
    if (runs.isEmpty() || runs.last().colour != box.RunColour(i)) runs.append({QString(), box.RunColour(i)});
    runs.last().text += text.Piece(0, text.Length());
  }
  return runs;
}

}  // namespace veltrane
