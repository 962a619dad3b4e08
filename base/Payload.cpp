#include "base/Payload.h"

#include <algorithm>
#include <utility>

namespace veltrane {
namespace {

/// Up to here, copying costs less than keeping a list. Not more in one block either: its memory is free again
/// only when all of it has left.
constexpr qsizetype kMostJoined = 64 * 1024;
/// Pieces that any list may keep room for.
constexpr qsizetype kMostKept = 64;

/// The same bytes in as few pieces as that allows.
QList<Payload> Joined(const QList<Payload>& pieces) {
  QList<Payload> blocks;
  QByteArray block;
  const auto end = [&] {
    if (!block.isEmpty()) blocks.append(std::exchange(block, {}));
  };
  for (const Payload& piece : pieces) {
    if (block.size() + piece.Size() > kMostJoined) end();
    if (piece.Size() > kMostJoined) {
      blocks.append(piece);
    } else {
      if (block.isEmpty()) block.reserve(kMostJoined);
      block.append(piece.View());
    }
  }
  block.squeeze();
  end();
  return blocks;
}

}  // namespace

Payload Payload::Run(QList<Payload> pieces, qsizetype size) {
  if (size < kPieceCost * pieces.size()) pieces = Joined(pieces);
  if (pieces.size() == 1) return pieces.first();
  Payload run;
  run.mSize = size;
  if (size > 0) run.mRun = std::make_shared<const QList<Payload>>(std::move(pieces));
  return run;
}

Payload Payload::Piece(qsizetype offset, qsizetype length) const {
  const qsizetype start = std::clamp<qsizetype>(offset, 0, mSize);
  const qsizetype size = std::clamp<qsizetype>(length, 0, mSize - start);
  if (mRun) return PieceOfRun(start, size);
  Payload piece(*this);
  piece.mOffset += start;
  piece.mSize = size;
  return piece;
}

Payload Payload::PieceOfRun(qsizetype offset, qsizetype length) const {
  QList<Payload> pieces;
  qsizetype missing = length;
  for (const Payload& piece : *mRun) {
    if (missing == 0) break;
    if (offset < piece.Size()) {
      pieces.append(piece.Piece(offset, missing));
      missing -= pieces.last().Size();
      offset = 0;
    } else {
      offset -= piece.Size();
    }
  }
  return Run(std::move(pieces), length);
}

void Payload::Join() const {
  QByteArray joined;
  joined.reserve(mSize);
  for (const Payload& piece : *mRun)
    joined.append(piece.View());
  mBytes = std::move(joined);
  mRun.reset();
}

void Payload::AppendTo(QList<Payload>& pieces) const {
  if (mRun) {
    pieces.append(*mRun);
  } else if (!IsEmpty()) {
    pieces.append(*this);
  }
}

Payload TakeFirst(QList<Payload>& pieces) {
  Payload first = pieces.takeFirst();
  if (pieces.capacity() > kMostKept && pieces.capacity() > 4 * pieces.size()) pieces.squeeze();
  return first;
}

void PayloadBuffer::Append(Payload piece) {
  mSize += piece.Size();
  if (piece.mRun || piece.IsEmpty()) {
    piece.AppendTo(mPieces);
  } else {
    mPieces.append(std::move(piece));
  }
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
    return TakeFirst(mPieces);
  }
  return bytes <= kMostJoined ? TakeJoined(bytes) : TakeRun(bytes);
}

Payload PayloadBuffer::TakeJoined(qsizetype bytes) {
  QByteArray joined;
  joined.reserve(bytes);
  while (joined.size() < bytes)
    joined.append(Take(std::min(bytes - joined.size(), mPieces.first().Size())).View());
  return joined;
}

Payload PayloadBuffer::TakeRun(qsizetype bytes) {
  if (bytes == mSize) return Payload::Run(std::exchange(mPieces, {}), std::exchange(mSize, 0));
  QList<Payload> pieces;
  for (qsizetype missing = bytes; missing > 0; missing -= pieces.last().Size())
    pieces.append(Take(std::min(missing, mPieces.first().Size())));
  return Payload::Run(std::move(pieces), bytes);
}

void PayloadBuffer::Clear() {
  mPieces = {};
  mSize = 0;
}

}  // namespace veltrane
