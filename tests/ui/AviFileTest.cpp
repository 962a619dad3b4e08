// The animation reader: what it takes, and what it does not let itself be told.
#include <gtest/gtest.h>

#include "base/Failure.h"
#include "tests/support/AviMaker.h"
#include "ui/AviFile.h"

namespace veltrane {
namespace {

const QByteArray kPng = QByteArrayLiteral("\x89PNG\r\n\x1a\n") + "picture";

QString FailureOf(const QByteArray& bytes) {
  try {
    (void)ReadAvi(bytes);
    return QStringLiteral("none");
  } catch (const Failure& failure) {
    return failure.Text();
  }
}

TEST(AviFileTest, Frames_size_and_rate_come_out_as_they_went_in) {
  const AviFile file = ReadAvi(avi::File({kPng, kPng + "x", kPng + "xy"}));
  EXPECT_EQ(file.frames, (QList<QByteArray>{kPng, kPng + "x", kPng + "xy"}));
  EXPECT_EQ(file.width, 64);
  EXPECT_EQ(file.height, 56);
  EXPECT_EQ(file.frameMs, 125);
}

TEST(AviFileTest, The_rate_is_the_streams_else_that_of_the_main_header_else_the_usual) {
  const struct {
    avi::Header header;
    double expected;
  } rows[] = {{{.microseconds = 1, .scale = 1001, .rate = 30000}, 1001 / 30.0},
              {{.microseconds = 40000, .scale = 0, .rate = 25}, 40},
              {{.microseconds = 40000, .scale = 1, .rate = 0}, 40},
              {{.microseconds = 0, .scale = 0, .rate = 0}, kUsualFrameMs},
              {{.microseconds = 0, .scale = 1, .rate = 4000000000}, kLeastFrameMs},
              {{.microseconds = 0, .scale = 4000000000, .rate = 1}, kMostFrameMs}};
  for (const auto& row : rows)
    EXPECT_DOUBLE_EQ(ReadAvi(avi::File({kPng}, row.header)).frameMs, row.expected);
}

TEST(AviFileTest, Other_streams_chunks_and_lists_are_passed_over) {
  const avi::Header header;
  const QByteArray file =
      avi::Riff(
          avi::Chunk("JUNK", "odd") +
          avi::List("hdrl", avi::MainHeader(header) + avi::Stream(header, "auds") + avi::Stream(header)) +
          avi::List("movi", avi::Chunk("00wb", "sound") + avi::Chunk("00dc", "of the sound's stream") +
                                avi::List("rec ", avi::Frames({kPng}, "01dc")) +
                                avi::Frames({kPng + "2"}, "01db")) +
          avi::Chunk("idx1", "index")) +
      "and what follows the file";
  EXPECT_EQ(ReadAvi(file).frames, (QList<QByteArray>{kPng, kPng + "2"}));
}

TEST(AviFileTest, An_empty_frame_repeats_the_one_before) {
  EXPECT_EQ(ReadAvi(avi::File({kPng, QByteArray()})).frames, (QList<QByteArray>{kPng, kPng}));
  EXPECT_NE(FailureOf(avi::File({QByteArray(), kPng})), QStringLiteral("none"));
}

TEST(AviFileTest, A_file_that_is_cut_anywhere_fails) {
  const QByteArray file = avi::File({kPng, kPng});
  for (qsizetype length = 0; length < file.size(); ++length)
    EXPECT_NE(FailureOf(file.left(length)), QStringLiteral("none")) << length;
}

TEST(AviFileTest, Foreign_files_and_impossible_ones_fail_with_what_is_wrong) {
  const struct {
    QByteArray bytes;
    const char* expected;
  } rows[] = {
      {"", "This is no animation"},
      {"GIF89a and so on and on", "This is no animation"},
      {avi::Chunk("RIFF", "WAVEfmt "), "This is no animation"},
      {avi::Chunk("RIFF", "AVI "), "The animation holds no pictures"},
      {QByteArray("RIFF\0\0\0\0AVI ", 12), "The animation is cut"},
      {avi::File({}), "The animation holds no pictures"},
      {avi::File({"BM picture"}), "The pictures of the animation are no PNG files"},
      {avi::File({kPng}, {.width = 0}), "The animation has an impossible size"},
      {avi::File({kPng}, {.height = 0xffffffff}), "The animation has an impossible size"},
      {avi::File(QList<QByteArray>(kMostAviFrames + 1, kPng)), "The animation is too long"},
      {avi::Riff(avi::Chunk("avih", "short")), "A header of the animation is too short"},
      {avi::Riff(avi::Chunk("strh", "vi")), "A header of the animation is too short"},
      {avi::Riff(avi::Chunk("LIST", "mo")), "The animation is cut"},
      {avi::Riff("LIST\xff\xff\xff\xff"
                 "movi"),
       "The animation is cut"},
  };
  for (const auto& row : rows)
    EXPECT_EQ(FailureOf(row.bytes), QLatin1String(row.expected));
  QByteArray nested = avi::Frames({kPng});
  for (int i = 0; i < 10000; ++i)
    nested = avi::List("rec ", nested);
  EXPECT_EQ(FailureOf(avi::Riff(nested)), QStringLiteral("The animation is nested too deeply"));
}

}  // namespace
}  // namespace veltrane
