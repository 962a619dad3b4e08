#include "history/FormattedText.h"

#include <algorithm>

#include "history/Formatter.h"

namespace veltrane {
namespace {

class Rows : public TextSource {
 public:
  Rows(Payload data, quint8 format, qint16 bytesPerRow)
      : mData(std::move(data)),
        mFormat(format),
        mBytesPerRow(bytesPerRow),
        mRowLength(FormatTextRequiredLength(1, format, bytesPerRow)) {}

  // The formatter fills every row up, so what it may need at most is what it writes.
  qsizetype Length() const override { return FormatTextRequiredLength(mData.Size(), mFormat, mBytesPerRow); }
  qsizetype RowLength() const override { return mRowLength; }

  QString Piece(qsizetype offset, qsizetype length) const override {
    const qsizetype first = offset / mRowLength;
    const qsizetype behind = (offset + length + mRowLength - 1) / mRowLength;
    const Payload data = mData.Piece(first * mBytesPerRow, (behind - first) * mBytesPerRow);
    const QByteArray rows = FormatRows(data.View(), mFormat, mBytesPerRow);
    return QString::fromLatin1(QByteArrayView(rows).sliced(offset - first * mRowLength, length));
  }

 private:
  Payload mData;
  quint8 mFormat;
  qint16 mBytesPerRow;
  qsizetype mRowLength;
};

}  // namespace

TextSourceRef FormattedText(const Payload& data, quint8 bytFormat, qint16 intBytesPerRow) {
  return std::make_shared<Rows>(data, bytFormat, intBytesPerRow);
}

}  // namespace veltrane
