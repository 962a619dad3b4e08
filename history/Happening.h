// What the recorder knows of each kind of happening: a row of the tables in Recording.cpp.
#pragma once

#include "history/Logging.h"

namespace veltrane {

struct Logging::Happening {
  SocketEventType kind = etLocalServerAcceptedConnection;
  // The description: what changes from event to event stands between the two.
  const char16_t* before = u"";
  const char16_t* after = u"";
  const char16_t* failureText = u"";
  /// A history that was purged is not revived: a late event of its pair is passed over. Without this a
  /// missing history is a failure.
  bool historyMayBeGone = true;
  /// The column of bytes that the event changes in the grid; 0 when it changes none.
  int byteColumn = 0;
};

/// What an event is made of beside its kind.
struct Logging::Facts {
  QString words;  // for the description
  bool followOn = false;
  Payload data = {};
  QString errorString = {};
  qint32 errorNumber = 0;
};

constexpr int kBytesC2SColumn = 6;
constexpr int kBytesS2CColumn = 7;

}  // namespace veltrane
