// The pictures of the connection diagram by file: read once, each picture decoded once for a size, and shared
// by all that show them. A file that cannot be used is told once, and has no pictures from then on.
#pragma once

#include <QHash>
#include <QImage>
#include <QList>
#include <QString>

#include <functional>

#include "base/Failure.h"

namespace veltrane {

class AnimationFiles {
 public:
  explicit AnimationFiles(std::function<void(const Failure&)> onFailure) : mOnFailure(std::move(onFailure)) {}

  /// How many pictures a file holds; 0 when it could not be used.
  int FrameCount(const QString& path) { return static_cast<int>(FileOf(path).encoded.size()); }
  /// A picture of a file, from 0, made to fit into room (in device pixels) without changing its proportions.
  /// A null image when the file could not be used. Decoded when it is first asked for.
  QImage Frame(const QString& path, int index, const QSize& room);
  /// How long a picture stands, in ms; 0 for a file with less than two.
  double FrameMs(const QString& path) { return FileOf(path).frameMs; }
  /// Which picture stands that many ms after the beginning, from 0.
  int FrameAt(const QString& path, qint64 elapsedMs);

 private:
  struct File {
    QList<QByteArray> encoded;
    double frameMs = 0;
    QSize room;            // that scaled was made for
    QList<QImage> scaled;  // null where it was not asked for yet
  };

  File& FileOf(const QString& path);
  static File Read(const QString& path);
  static QImage Decode(const QByteArray& encoded, const QSize& room);

  std::function<void(const Failure&)> mOnFailure;
  QHash<QString, File> mFiles;
};

}  // namespace veltrane
