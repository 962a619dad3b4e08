// Text that is made only where somebody looks at it: a control may hold far more of it than is ever shown.
#pragma once

#include <QString>

#include <memory>

#include "base/Payload.h"

namespace veltrane {

class TextSource {
 public:
  virtual ~TextSource() = default;

  /// In characters; known without making the text.
  virtual qsizetype Length() const = 0;
  /// length characters from a 0-based offset; both lie within the text.
  virtual QString Piece(qsizetype offset, qsizetype length) const = 0;
  /// When all lines have the same number of characters, CR LF at their ends included: that number. 0 when it
  /// takes a look at the text to find its lines.
  virtual qsizetype RowLength() const { return 0; }
};

using TextSourceRef = std::shared_ptr<const TextSource>;

/// Text as it stands.
TextSourceRef PlainText(const QString& text);
/// Bytes as they stand, each a character from 0 to 255. Shares their memory.
TextSourceRef BytesAsText(const Payload& bytes);

}  // namespace veltrane
