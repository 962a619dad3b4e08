// The pictures that are delivered beside the program, read back with no help of the program's own reader:
// RIFF AVI after the AVI RIFF File Reference, PNG after RFC 2083.
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QtEndian>

#include <gtest/gtest.h>
#include <stdexcept>

namespace veltrane {
namespace {

constexpr int kRate = 12;  // frames a second
constexpr qint64 kMostBytes = 2'000'000;
const QString kRoot = QStringLiteral(VELTRANE_SOURCE_FOLDER "/");

struct Expected {
  const char* name;
  quint32 width;
  quint32 height;
  quint32 frames;
};

constexpr Expected kAnimations[] = {
    {"C2SBuffer", 256, 96, 32},       {"C2SDangleBuffer", 256, 96, 32},   {"C2SData", 256, 96, 12},
    {"C2SThrottle", 256, 96, 28},     {"ComputerComingOn", 128, 112, 36}, {"ComputerGoingOff", 128, 112, 36},
    {"ComputerOn", 128, 112, 1},      {"DangleStart", 256, 96, 36},       {"DangleStop", 256, 96, 36},
    {"Error", 128, 160, 16},          {"LightningBolt", 256, 96, 18},     {"LightningBoltGrey", 256, 96, 20},
    {"LightningBoltX", 256, 96, 14},  {"Processing", 174, 150, 14},       {"S2CBuffer", 256, 96, 32},
    {"S2CDangleBuffer", 256, 96, 32}, {"S2CData", 256, 96, 12},           {"S2CThrottle", 256, 96, 28},
};

/// A piece of a file; reading past its end fails.
class Bytes {
 public:
  explicit Bytes(QByteArray content) : mContent(std::move(content)) {}

  quint32 Number(qsizetype at) const { return qFromLittleEndian<quint32>(Part(at, 4).constData()); }
  quint32 BigNumber(qsizetype at) const { return qFromBigEndian<quint32>(Part(at, 4).constData()); }
  quint16 Short(qsizetype at) const { return qFromLittleEndian<quint16>(Part(at, 2).constData()); }
  QByteArray Part(qsizetype at, qsizetype length) const {
    if (at < 0 || length < 0 || at + length > mContent.size()) throw std::runtime_error("cut");
    return mContent.mid(at, length);
  }
  qsizetype Size() const { return mContent.size(); }

 private:
  QByteArray mContent;
};

struct Chunk {
  QByteArray name;  // of a list, its kind
  qsizetype at;     // of the content
  qsizetype length;
};

QList<Chunk> Chunks(const Bytes& file, qsizetype begin, qsizetype end) {
  QList<Chunk> chunks;
  for (qsizetype at = begin; at < end;) {
    const qsizetype length = file.Number(at + 4);
    const QByteArray name = file.Part(at, 4);
    const bool isList = name == "LIST" || name == "RIFF";
    (void)file.Part(at + 8, length);
    chunks.append({isList ? file.Part(at + 8, 4) : name, at + (isList ? 12 : 8), length - (isList ? 4 : 0)});
    at += 8 + length + length % 2;
  }
  return chunks;
}

Chunk Find(const QList<Chunk>& chunks, const char* name) {
  for (const Chunk& chunk : chunks) {
    if (chunk.name == name) return chunk;
  }
  throw std::runtime_error(std::string("no ") + name);
}

/// Notes every value that is not what it should be.
class Findings {
 public:
  template <class Value, class Wanted>
  void Same(const char* what, const Value& value, const Wanted& wanted) {
    if (!(value == static_cast<Value>(wanted))) mTexts.append(QLatin1String(what));
  }
  void Add(const QString& text) { mTexts.append(text); }
  const QStringList& Texts() const { return mTexts; }

 private:
  QStringList mTexts;
};

void CheckHeaders(const Bytes& file, const QList<Chunk>& header, const Expected& expected,
                  Findings& findings) {
  const qsizetype main = Find(header, "avih").at;
  findings.Same("frame time", file.Number(main), 83333U);
  findings.Same("frames", file.Number(main + 16), expected.frames);
  findings.Same("streams", file.Number(main + 24), 1U);
  findings.Same("width", file.Number(main + 32), expected.width);
  findings.Same("height", file.Number(main + 36), expected.height);

  const Chunk stream = Find(header, "strl");
  const QList<Chunk> parts = Chunks(file, stream.at, stream.at + stream.length);
  const qsizetype strh = Find(parts, "strh").at;
  findings.Same("kind of stream", file.Part(strh, 4), "vids");
  findings.Same("coding", file.Part(strh + 4, 4), "MPNG");
  const double seconds = static_cast<double>(file.Number(strh + 32)) * file.Number(strh + 20) /
                         static_cast<double>(file.Number(strh + 24));
  findings.Same("rate", file.Number(strh + 24), kRate * file.Number(strh + 20));
  findings.Same("length in seconds", seconds, static_cast<double>(expected.frames) / kRate);
  const qsizetype strf = Find(parts, "strf").at;
  findings.Same("width of the stream", file.Number(strf + 4), expected.width);
  findings.Same("height of the stream", file.Number(strf + 8), expected.height);
  findings.Same("depth", file.Short(strf + 14), 32);
}

void CheckFrames(const Bytes& file, const QList<Chunk>& whole, const Expected& expected, Findings& findings) {
  const Chunk movie = Find(whole, "movi");
  const QList<Chunk> frames = Chunks(file, movie.at, movie.at + movie.length);
  findings.Same("frames in the file", frames.size(), expected.frames);
  for (const Chunk& frame : frames) {
    findings.Same("signature", file.Part(frame.at, 8), QByteArray("\x89PNG\r\n\x1a\n"));
    findings.Same("frame's width", file.BigNumber(frame.at + 16), expected.width);
    findings.Same("frame's height", file.BigNumber(frame.at + 20), expected.height);
    findings.Same("frame's end", file.Part(frame.at + frame.length - 8, 4), "IEND");
    // Transparency stands in a palette's tRNS, or in each point of colour type 6.
    const bool hasAlpha =
        file.Part(frame.at + 25, 1) == "\6" || file.Part(frame.at, frame.length).contains("tRNS");
    findings.Same("frame's alpha", hasAlpha, true);
  }
  const Chunk index = Find(whole, "idx1");
  findings.Same("index", index.length, 16 * frames.size());
  for (qsizetype i = 0; i < frames.size(); ++i) {
    // Counted from the word "movi".
    findings.Same("index's place", file.Number(index.at + 16 * i + 8) + 8, frames[i].at - (movie.at - 4));
    findings.Same("index's length", file.Number(index.at + 16 * i + 12), frames[i].length);
  }
}

/// What is wrong with an animation; nothing when all is well.
QStringList Check(const QByteArray& content, const Expected& expected) {
  Findings findings;
  try {
    const Bytes file(content);
    const QList<Chunk> outside = Chunks(file, 0, file.Size());
    const Chunk riff = Find(outside, "AVI ");
    findings.Same("one chunk", outside.size(), 1);
    const QList<Chunk> whole = Chunks(file, riff.at, riff.at + riff.length);
    const Chunk header = Find(whole, "hdrl");
    CheckHeaders(file, Chunks(file, header.at, header.at + header.length), expected, findings);
    CheckFrames(file, whole, expected, findings);
  } catch (const std::runtime_error& error) {
    findings.Add(QString::fromLatin1(error.what()));
  }
  return findings.Texts();
}

QByteArray Read(const QString& name) {
  QFile file(kRoot + name);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray ReadAnimation(const Expected& expected) {
  return Read(QStringLiteral("res/%1.avi").arg(QLatin1String(expected.name)));
}

const Expected& Named(const char* name) {
  for (const Expected& row : kAnimations) {
    if (QLatin1String(row.name) == QLatin1String(name)) return row;
  }
  throw std::runtime_error(name);
}

TEST(PicturesTest, Every_animation_says_of_itself_what_is_in_it) {
  for (const Expected& expected : kAnimations)
    EXPECT_EQ(Check(ReadAnimation(expected), expected), QStringList()) << expected.name;
}

TEST(PicturesTest, There_is_no_animation_beside_those) {
  const QStringList files =
      QDir(kRoot + QStringLiteral("res")).entryList({QStringLiteral("*.avi")}, QDir::Files);
  EXPECT_EQ(files.size(), std::ssize(kAnimations));
}

TEST(PicturesTest, What_is_wrong_with_an_animation_is_found) {
  const Expected& expected = Named("C2SData");
  const QByteArray good = ReadAnimation(expected);
  const auto with = [&good](qsizetype at, char byte) {
    QByteArray bad = good;
    bad[at] = byte;
    return bad;
  };
  ASSERT_EQ(good.mid(24, 4), "avih");
  ASSERT_EQ(good.mid(100, 4), "strh");
  EXPECT_EQ(Check(with(32, 0), expected), QStringList{QStringLiteral("frame time")});
  EXPECT_EQ(Check(with(48, 13), expected), QStringList{QStringLiteral("frames")});
  EXPECT_EQ(Check(with(64, 1), expected), QStringList{QStringLiteral("width")});
  EXPECT_TRUE(Check(with(108 + 24, 25), expected).contains(QStringLiteral("rate")));
  EXPECT_EQ(Check(with(108 + 32, 11), expected), QStringList{QStringLiteral("length in seconds")});
  EXPECT_FALSE(Check(with(good.indexOf("IHDR") + 7, 1), expected).isEmpty());
  EXPECT_FALSE(Check(good.chopped(1), expected).isEmpty());
  EXPECT_FALSE(Check(good.left(200), expected).isEmpty());
  EXPECT_FALSE(Check(good + 'x', expected).isEmpty());
  EXPECT_FALSE(Check({}, expected).isEmpty());
  EXPECT_FALSE(Check(good, Named("S2CThrottle")).isEmpty());
}

// Frame 0 is all that shows while animation is off.
TEST(PicturesTest, No_two_animations_look_the_same_with_animation_off) {
  QSet<QByteArray> first;
  for (const Expected& expected : kAnimations) {
    const QByteArray file = ReadAnimation(expected);
    const qsizetype begin = file.indexOf("\x89PNG");
    first.insert(file.mid(begin, file.indexOf("IEND", begin) - begin));
  }
  EXPECT_EQ(first.size(), std::ssize(kAnimations));
}

TEST(PicturesTest, The_cloud_is_a_bitmap_with_alpha) {
  const Bytes file(Read(QStringLiteral("res/Cloud.bmp")));
  EXPECT_EQ(file.Part(0, 2), "BM");
  EXPECT_EQ(file.Number(2), static_cast<quint32>(file.Size()));
  EXPECT_EQ(file.Number(14), 108U);  // BITMAPV4HEADER
  EXPECT_EQ(file.Number(18), 224U);
  EXPECT_EQ(file.Number(22), 208U);
  EXPECT_EQ(file.Short(28), 32);
  EXPECT_EQ(file.Number(66), 0xFF000000U);  // the bits of alpha
  EXPECT_EQ(file.Number(10) + 224U * 208U * 4U, static_cast<quint32>(file.Size()));
}

TEST(PicturesTest, All_pictures_together_are_small) {
  qint64 bytes = 0;
  int files = 0;
  for (const char* folder : {"res", "Images", "ui/faces/pictures", "ui/faces/tray"}) {
    QDirIterator pictures(kRoot + QLatin1String(folder), QDir::Files);
    while (pictures.hasNext()) {
      pictures.next();
      bytes += pictures.fileInfo().size();
      ++files;
    }
  }
  EXPECT_GT(files, 80);
  EXPECT_GT(bytes, kMostBytes / 4);
  EXPECT_LT(bytes, kMostBytes);
}

}  // namespace
}  // namespace veltrane
