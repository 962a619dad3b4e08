// Bytes of the wire. A Payload is a piece of a received chunk that shares the chunk's memory with all other
// pieces of it: the event that records a chunk, the event that records its sending and the socket's queue
// hold the same bytes. One that was taken across many chunks is a run of such pieces. A PayloadBuffer is a
// queue of pieces.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <memory>

namespace veltrane {

class Payload {
 public:
  Payload() = default;
  Payload(QByteArray bytes)
      : mBytes(std::move(bytes)), mSize(mBytes.size()) {}  // NOLINT: a byte string is one
  /// Text with one character per byte (characters 0 to 255).
  static Payload FromText(const QString& text) { return Payload(text.toLatin1()); }

  qsizetype Size() const { return mSize; }
  bool IsEmpty() const { return mSize == 0; }
  /// The memory that it takes where nobody else holds it, in bytes: many small pieces cost far more than what
  /// is in them.
  qsizetype Cost() const { return mSize + kPieceCost * (mRun ? mRun->size() : mSize > 0 ? 1 : 0); }
  /// A run is joined by this, for good but in this copy of it only.
  const char* Data() const {
    if (mRun) Join();
    return mBytes.constData() + mOffset;
  }
  QByteArrayView View() const { return {Data(), mSize}; }

  /// length bytes from a 0-based offset, cut to what is there; shares the memory.
  Payload Piece(qsizetype offset, qsizetype length) const;

  /// The bytes on their own; costs nothing when this is a whole chunk.
  QByteArray Bytes() const {
    const QByteArrayView view = View();
    return mSize == mBytes.size() ? mBytes : view.toByteArray();
  }

  /// Whether both are the very same bytes, not just equal ones.
  bool IsSameAs(const Payload& other) const {
    return mBytes.constData() == other.mBytes.constData() && mRun == other.mRun && mOffset == other.mOffset &&
           mSize == other.mSize;
  }

  /// Appends the pieces, none of which is a run, to a list of pieces.
  void AppendTo(QList<Payload>& pieces) const;

  friend bool operator==(const Payload& left, const Payload& right) { return left.View() == right.View(); }

  /// Of a piece, besides its bytes: its place in a list that grows by doubling, and the block that they stand
  /// in. From 88 to 152 were measured.
  static constexpr qsizetype kPieceCost = 152;

 private:
  friend class PayloadBuffer;
  /// pieces: none is empty or a run. Small ones are joined: a list of them would take more than their bytes.
  static Payload Run(QList<Payload> pieces, qsizetype size);
  Payload PieceOfRun(qsizetype offset, qsizetype length) const;
  void Join() const;

  // Of one piece, the bytes; of a run, the pieces.
  mutable QByteArray mBytes;
  mutable std::shared_ptr<const QList<Payload>> mRun;
  qsizetype mOffset = 0;
  qsizetype mSize = 0;
};

/// Takes the first piece out of the list, which keeps no room for many pieces that have left: no limit would
/// count that.
Payload TakeFirst(QList<Payload>& pieces);

/// Appending, and taking from the front, cost nothing that grows with what the buffer holds.
class PayloadBuffer {
 public:
  PayloadBuffer() = default;
  explicit PayloadBuffer(Payload piece) { Append(std::move(piece)); }

  qsizetype Size() const { return mSize; }
  bool IsEmpty() const { return mSize == 0; }
  /// As of a Payload.
  qsizetype Cost() const { return mSize + Payload::kPieceCost * mPieces.size(); }
  void Append(Payload piece);
  /// Puts all of front before what is held.
  void Prepend(const PayloadBuffer& front);
  /// Takes the first bytes (at most all) out. Where they span several chunks, few are copied into one piece
  /// and many stay a run.
  Payload Take(qsizetype bytes);
  Payload TakeAll() { return Take(mSize); }
  void Clear();

 private:
  Payload TakeJoined(qsizetype bytes);
  Payload TakeRun(qsizetype bytes);

  QList<Payload> mPieces;
  qsizetype mSize = 0;
};

}  // namespace veltrane

Q_DECLARE_TYPEINFO(veltrane::Payload, Q_RELOCATABLE_TYPE);
