// What the connection diagram draws for each kind of event: one table.
#pragma once

#include "history/SocketEvent.h"
#include "ui/DiagramGeometry.h"

namespace veltrane {

/// A computer, a link or the cloud with its file. A link without one only has its label and can be clicked.
/// A null file stands for nothing at all.
struct DiagramItem {
  DiagramArray array = DiagramArray::pctInternet;
  const char* file = nullptr;
};

struct DiagramKind {
  /// Where the step begins. A step that continues the row of the event before leaves it out: it stands there.
  DiagramItem begin;
  /// Always drawn, in this order. One of them is the link.
  DiagramItem items[2];
};

/// The picture of a computer that failed; its label stays empty.
constexpr char kFailedPicture[] = "Error.avi";

/// nullptr for a kind that has no picture.
const DiagramKind* DrawingOf(SocketEventType kind);

}  // namespace veltrane
