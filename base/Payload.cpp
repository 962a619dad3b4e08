#include "base/Payload.h"

#include <algorithm>
#include <utility>

namespace veltrane {

Payload Payload::Piece(qsizetype offset, qsizetype length) const {
  Payload piece(*this);
  const qsizetype start = std::clamp<qsizetype>(offset, 0, mSize);
  piece.mOffset += start;
  piece.mSize = std::clamp<qsizetype>(length, 0, mSize - start);
  return piece;
}

void PayloadBuffer::Append(Payload piece) {
  if (piece.IsEmpty()) return;
  mSize += piece.Size();
  mPieces.append(std::move(piece));
}

void PayloadBuffer::Prepend(const PayloadBuffer& front) {
  for (auto piece = front.mPieces.crbegin(); piece != front.mPieces.crend(); ++piece)
    mPieces.prepend(*piece);
  mSize += front.mSize;
}

Payload PayloadBuffer::Take(qsizetype bytes) {
  bytes = std::clamp<qsizetype>(bytes, 0, mSize);
  if (bytes == 0) return {};
  Payload& first = mPieces.first();
  if (bytes < first.Size()) {
    Payload piece = first.Piece(0, bytes);
    first = first.Piece(bytes, first.Size());
    mSize -= bytes;
    return piece;
  }
  if (bytes == first.Size()) {
    mSize -= bytes;
    return mPieces.takeFirst();
  }
  QByteArray joined;
  joined.reserve(bytes);
  while (joined.size() < bytes) {
    const Payload piece = Take(std::min(bytes - joined.size(), mPieces.first().Size()));
    joined.append(piece.View());
  }
  return joined;
}

void PayloadBuffer::Clear() {
  mPieces.clear();
  mSize = 0;
}

}  // namespace veltrane
