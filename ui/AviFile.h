// Reads the animations of the program: AVI files whose frames are PNG pictures, which keep their
// transparency. Follows the RIFF container and the AVI headers "avih", "strh" and "strf". Nothing that the
// file says of its own lengths is believed: every chunk is checked against what is there.
#pragma once

#include <QByteArray>
#include <QList>

namespace veltrane {

struct AviFile {
  int width = 0;  // of a frame, in pixels, as the header tells
  int height = 0;
  double frameMs = 0;        // how long a frame stands
  QList<QByteArray> frames;  // PNG files, at least one
};

/// The animation in bytes. Fails, with a text that says what is wrong, when they are no AVI file, end too
/// early, hold frames in another format than PNG or none at all, or go beyond the limits below.
AviFile ReadAvi(const QByteArray& bytes);

constexpr int kMostAviFrames = 1000;
constexpr int kMostAviPixels = 4096;  // in width and in height
/// Frames stand at least and at most that long; a header without a rate gets the usual one.
constexpr double kLeastFrameMs = 10;
constexpr double kMostFrameMs = 60000;
constexpr double kUsualFrameMs = 100;

}  // namespace veltrane
