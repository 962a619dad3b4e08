#include "ui/faces/AnimationFiles.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>

#include <cerrno>

#include "base/FileFailure.h"
#include "ui/AviFile.h"

namespace veltrane {
namespace {

constexpr qint64 kLargestFile = 16 << 20;

QByteArray Contents(const QString& path) {
  QFile file(path);
  errno = 0;
  if (!file.open(QIODevice::ReadOnly)) throw FileFailure(errno == 0 ? EIO : errno, path);
  if (file.size() > kLargestFile)
    throw Failure(FailureNumber::kBadArgument, QStringLiteral("The file is too large"));
  return file.readAll();
}

}  // namespace

QImage AnimationFiles::Frame(const QString& path, int index, const QSize& room) {
  File& file = FileOf(path);
  if (index >= file.encoded.size()) return {};
  if (file.room != room) {
    file.room = room;
    file.scaled = QList<QImage>(file.encoded.size());
  }
  QImage& frame = file.scaled[index];
  if (!frame.isNull()) return frame;
  try {
    return frame = Decode(file.encoded.at(index), room);
  } catch (...) {
    const Failure failure = CurrentFailure();
    file = {};
    mOnFailure({failure.Number(), failure.Text() + QStringLiteral(": ") + path});
    return {};
  }
}

int AnimationFiles::FrameAt(const QString& path, qint64 elapsedMs) {
  const File& file = FileOf(path);
  if (file.frameMs <= 0) return 0;
  return static_cast<int>(static_cast<qint64>(static_cast<double>(elapsedMs) / file.frameMs) %
                          file.encoded.size());
}

AnimationFiles::File& AnimationFiles::FileOf(const QString& path) {
  const auto found = mFiles.find(path);
  if (found != mFiles.end()) return *found;
  File& file = *mFiles.insert(path, {});
  try {
    file = Read(path);
  } catch (...) {
    const Failure failure = CurrentFailure();
    mOnFailure({failure.Number(), failure.Text() + QStringLiteral(": ") + path});
  }
  return file;
}

AnimationFiles::File AnimationFiles::Read(const QString& path) {
  const QByteArray bytes = Contents(path);
  if (!path.endsWith(u".avi", Qt::CaseInsensitive))
    return {.encoded = {bytes}, .frameMs = 0, .room = {}, .scaled = {}};
  AviFile avi = ReadAvi(bytes);
  return {
      .encoded = avi.frames, .frameMs = avi.frames.size() > 1 ? avi.frameMs : 0, .room = {}, .scaled = {}};
}

QImage AnimationFiles::Decode(const QByteArray& encoded, const QSize& room) {
  QBuffer buffer;
  buffer.setData(encoded);
  buffer.open(QIODevice::ReadOnly);
  QImageReader reader(&buffer);
  const QSize size = reader.size();
  if (size.width() > kMostAviPixels || size.height() > kMostAviPixels)
    throw Failure(FailureNumber::kBadArgument, QStringLiteral("A picture is too large"));
  const QImage picture = reader.read();
  if (picture.isNull())
    throw Failure(FailureNumber::kBadArgument, QStringLiteral("A picture cannot be read"));
  return picture.convertToFormat(QImage::Format_ARGB32_Premultiplied)
      .scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

}  // namespace veltrane
