// One thing that happened to a connection, as it is kept, shown and written to the log file.
#pragma once

#include <QString>

#include <memory>

#include "base/Payload.h"

namespace veltrane {

class DiagramFigure;

/// The kinds of events. The numbers stand in log files and reports, so they are fixed. The sides are named
/// from the proxy's point of view: the server is its listening side, which faces the remote client, the
/// client its outgoing side, which faces the remote server.
enum SocketEventType : qint32 {
  etLocalServerAcceptedConnection = 0,
  etLocalServerRejectedConnection = 1,
  etConnectionAttemptToRemoteServer = 2,
  etConnectionAttemptFailed = 3,
  etConnectionAttemptSuccessful = 4,
  etRemoteServerDisconnected = 5,
  etLocalServerDisconnected = 6,
  etRemoteClientDisconnected = 7,
  etLocalClientDisconnected = 8,
  etClientBytesReceived = 9,
  etClientBytesBuffered = 10,
  etClientBytesBufferedForDangling = 11,
  etServerBytesBuffered = 12,
  etServerBytesBufferedForDangling = 13,
  etServerBytesSent = 14,
  etServerBytesSentThrottled = 15,
  etServerBytesReceived = 16,
  etClientBytesSent = 17,
  etClientBytesSentThrottled = 18,
  etServerInBadState = 19,
  etClientInBadState = 20,
  etRemoteServerDanglingStarted = 21,
  etRemoteClientDanglingStarted = 22,
  etRemoteServerDanglingStopped = 23,
  etRemoteClientDanglingStopped = 24,
};
constexpr int kSocketEventTypes = 25;

struct SocketEvent {
  QString mstrEventTime;     // hh:mm:ss.mmm
  QString mstrEventEndTime;  // of an unthrottled send that has finished
  SocketEventType mobjEventType = etLocalServerAcceptedConnection;
  Payload mstrData;  // of the data kinds; shares the memory of the chunk that it came in
  QString mstrDescription;
  bool mblnNextEventFollowOn = false;  // the connection's next event is a direct consequence of this one
  QString mstrErrorString;             // of a failed attempt
  qint32 mlngErrorNumber = 0;          // of a failed attempt
  std::weak_ptr<DiagramFigure> mobjUIObject;  // what stands for it in the connection diagram
};

using SocketEventRef = std::shared_ptr<SocketEvent>;

}  // namespace veltrane
