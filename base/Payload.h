// Bytes of the wire. A Payload is a piece of a received chunk that shares the chunk's memory with all other
// pieces of it: the event that records a chunk, the event that records its sending and the socket's queue
// hold the same bytes. A PayloadBuffer is a queue of such pieces.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

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
  const char* Data() const { return mBytes.constData() + mOffset; }
  QByteArrayView View() const { return {Data(), mSize}; }

  /// length bytes from a 0-based offset, cut to what is there; shares the memory.
  Payload Piece(qsizetype offset, qsizetype length) const;

  /// The bytes on their own; costs nothing when this is a whole chunk.
  QByteArray Bytes() const { return mSize == mBytes.size() ? mBytes : View().toByteArray(); }

  friend bool operator==(const Payload& left, const Payload& right) { return left.View() == right.View(); }

 private:
  QByteArray mBytes;
  qsizetype mOffset = 0;
  qsizetype mSize = 0;
};

/// Appending, and taking from the front, cost nothing that grows with what the buffer holds.
class PayloadBuffer {
 public:
  PayloadBuffer() = default;
  explicit PayloadBuffer(Payload piece) { Append(std::move(piece)); }

  qsizetype Size() const { return mSize; }
  bool IsEmpty() const { return mSize == 0; }
  void Append(Payload piece);
  /// Puts all of front before what is held.
  void Prepend(const PayloadBuffer& front);
  /// Takes the first bytes (at most all) out, as one piece; copies only where they span several chunks.
  Payload Take(qsizetype bytes);
  Payload TakeAll() { return Take(mSize); }
  void Clear();

 private:
  QList<Payload> mPieces;
  qsizetype mSize = 0;
};

}  // namespace veltrane

Q_DECLARE_TYPEINFO(veltrane::Payload, Q_RELOCATABLE_TYPE);
