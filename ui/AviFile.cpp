#include "ui/AviFile.h"

#include <QtEndian>

#include <algorithm>

#include "base/Failure.h"

namespace veltrane {
namespace {

constexpr int kDeepestList = 4;
constexpr qsizetype kChunkHeader = 8;
constexpr qsizetype kListHeader = 4;
constexpr char kPngSignature[] = "\x89PNG\r\n\x1a\n";

[[noreturn]] void Fail(const char* what) {
  throw Failure(FailureNumber::kBadArgument, QLatin1String(what));
}

quint32 Number(QByteArrayView data, qsizetype at) {
  if (at + 4 > data.size()) Fail("A header of the animation is too short");
  return qFromLittleEndian<quint32>(data.data() + at);
}

struct Chunk {
  QByteArrayView id;  // four characters
  QByteArrayView data;
};

/// Takes the chunk at the front of data off it. Chunks begin at even places.
Chunk TakeChunk(QByteArrayView& data) {
  if (data.size() < kChunkHeader) Fail("The animation is cut");
  const auto size = static_cast<qint64>(Number(data, 4));
  if (size > data.size() - kChunkHeader) Fail("The animation is cut");
  const Chunk chunk{data.first(4), data.sliced(kChunkHeader, static_cast<qsizetype>(size))};
  const qsizetype next = kChunkHeader + static_cast<qsizetype>(size) + static_cast<qsizetype>(size % 2);
  data = data.sliced(std::min(next, data.size()));
  return chunk;
}

/// What a list holds behind the four characters of its kind.
QByteArrayView TakeForm(QByteArrayView list) {
  if (list.size() < kListHeader) Fail("The animation is cut");
  return list.sliced(kListHeader);
}

class Reader {
 public:
  AviFile Read(QByteArrayView bytes) {
    if (!bytes.startsWith("RIFF") || bytes.size() < kChunkHeader + kListHeader ||
        bytes.sliced(kChunkHeader, kListHeader) != "AVI ")
      Fail("This is no animation");
    // What follows the first RIFF chunk is no concern of ours.
    Walk(TakeForm(TakeChunk(bytes).data), 0);
    if (mFile.frames.isEmpty()) Fail("The animation holds no pictures");
    if (mFile.width < 1 || mFile.height < 1 || mFile.width > kMostAviPixels || mFile.height > kMostAviPixels)
      Fail("The animation has an impossible size");
    mFile.frameMs = FrameMs();
    return std::move(mFile);
  }

 private:
  void Walk(QByteArrayView data, int depth) {
    if (depth > kDeepestList) Fail("The animation is nested too deeply");
    while (!data.isEmpty())
      Take(TakeChunk(data), depth);
  }

  void Take(const Chunk& chunk, int depth) {
    if (chunk.id == "LIST") {
      const QByteArrayView inside = TakeForm(chunk.data);
      if (chunk.data.startsWith("strl")) ++mStream;
      Walk(inside, depth + 1);
    } else if (chunk.id == "avih") {
      mMainHeaderMs = Number(chunk.data, 0) / 1000.0;
      mFile.width = static_cast<int>(std::min<quint32>(Number(chunk.data, 32), kMostAviPixels + 1));
      mFile.height = static_cast<int>(std::min<quint32>(Number(chunk.data, 36), kMostAviPixels + 1));
    } else if (chunk.id == "strh") {
      TakeStreamHeader(chunk.data);
    } else if (IsFrame(chunk.id)) {
      TakeFrame(chunk.data);
    }
  }

  void TakeStreamHeader(QByteArrayView header) {
    if (header.size() < 4) Fail("A header of the animation is too short");
    if (header.first(4) != "vids" || mVideoStream >= 0) return;
    mVideoStream = mStream;
    const quint32 scale = Number(header, 20);
    const quint32 rate = Number(header, 24);
    if (scale > 0 && rate > 0) mStreamMs = 1000.0 * scale / rate;
  }

  /// Frames are named by two digits of their stream and "dc" or "db".
  bool IsFrame(QByteArrayView id) const {
    if (mVideoStream < 0) return false;
    const QByteArray stream = QByteArray::number(mVideoStream).rightJustified(2, '0');
    return id.first(2) == stream && (id.sliced(2) == "dc" || id.sliced(2) == "db");
  }

  void TakeFrame(QByteArrayView data) {
    if (mFile.frames.size() >= kMostAviFrames) Fail("The animation is too long");
    // An empty chunk stands for the frame before once more.
    if (data.isEmpty() && !mFile.frames.isEmpty()) {
      mFile.frames.append(mFile.frames.last());
      return;
    }
    if (!data.startsWith(kPngSignature)) Fail("The pictures of the animation are no PNG files");
    mFile.frames.append(data.toByteArray());
  }

  double FrameMs() const {
    const double ms = mStreamMs > 0 ? mStreamMs : mMainHeaderMs;
    return ms > 0 ? std::clamp(ms, kLeastFrameMs, kMostFrameMs) : kUsualFrameMs;
  }

  AviFile mFile;
  int mStream = -1;
  int mVideoStream = -1;
  double mStreamMs = 0;
  double mMainHeaderMs = 0;
};

}  // namespace

AviFile ReadAvi(const QByteArray& bytes) {
  return Reader().Read(bytes);
}

}  // namespace veltrane
