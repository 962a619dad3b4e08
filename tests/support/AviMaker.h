// Makes AVI files for tests, piece by piece, so that any piece can be wrong.
#pragma once

#include <QByteArray>
#include <QList>
#include <QtEndian>

#include <vector>

namespace veltrane::avi {

inline QByteArray Number(quint32 value) {
  QByteArray bytes(4, '\0');
  qToLittleEndian(value, bytes.data());
  return bytes;
}

inline QByteArray Chunk(const char* id, const QByteArray& data) {
  return QByteArray(id) + Number(static_cast<quint32>(data.size())) + data +
         (data.size() % 2 == 1 ? QByteArray(1, '\0') : QByteArray());
}

inline QByteArray List(const char* kind, const QByteArray& data) {
  return Chunk("LIST", kind + data);
}

struct Header {
  quint32 width = 64;
  quint32 height = 56;
  quint32 microseconds = 125000;
  quint32 scale = 1;
  quint32 rate = 8;
};

inline QByteArray MainHeader(const Header& header) {
  QByteArray bytes = Number(header.microseconds) + QByteArray(28, '\0');
  return Chunk("avih", bytes + Number(header.width) + Number(header.height) + QByteArray(16, '\0'));
}

inline QByteArray Stream(const Header& header, const char* kind = "vids") {
  return List("strl", Chunk("strh", kind + QByteArray("MPNG") + QByteArray(12, '\0') + Number(header.scale) +
                                        Number(header.rate) + QByteArray(28, '\0')));
}

inline QByteArray Frames(const QList<QByteArray>& frames, const char* id = "00dc") {
  QByteArray data;
  for (const QByteArray& frame : frames)
    data += Chunk(id, frame);
  return data;
}

inline QByteArray Riff(const QByteArray& data) {
  return Chunk("RIFF", "AVI " + data);
}

inline QByteArray File(const QList<QByteArray>& frames, const Header& header = {}) {
  return Riff(List("hdrl", MainHeader(header) + Stream(header)) + List("movi", Frames(frames)));
}

}  // namespace veltrane::avi
