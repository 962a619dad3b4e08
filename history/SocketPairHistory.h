// What is known of one connection, and all its events.
#pragma once

#include <QString>

#include <deque>
#include <memory>

#include "history/SocketEvent.h"

namespace veltrane {

/// The events of a connection in the order of their arrival, by 1-based position and by the key "KEY" and
/// the number of events that were added before. Old ones are only ever taken from the front, so key and
/// position differ by a constant and nothing is kept for the look-up.
class EventList {
 public:
  qsizetype Count() const { return static_cast<qsizetype>(mEvents.size()); }
  bool IsEmpty() const { return mEvents.empty(); }
  /// How many were taken from the front: the number of an event, counted from 1 since the first, less these
  /// is its position.
  qint64 Removed() const { return mRemoved; }
  bool Contains(const QString& key) const { return PositionOf(key) > 0; }

  /// By position or key; fails when there is none.
  const SocketEventRef& Item(qsizetype position) const;
  const SocketEventRef& Item(const QString& key) const;
  QString KeyAt(qsizetype position) const;

  void Add(SocketEventRef event);
  /// Fails when the list is empty.
  void RemoveFirst();

 private:
  /// 0 when there is no such key.
  qsizetype PositionOf(const QString& key) const;

  std::deque<SocketEventRef> mEvents;
  qint64 mRemoved = 0;
};

struct SocketPairHistory {
  EventList mobjSocketPairEvents;
  // The sums are kept in 64 bits: a connection may well move more than 2 GiB.
  qint64 mlngMemoryAllocated = 0;  // bytes of data in all events ever added
  qint64 mlngEventCount = 0;       // events ever added; purging lowers neither of the two
  QString mstrRemoteClientName;
  QString mstrRemoteClientIP;
  qint32 mlngRemoteClientPort = 0;
  QString mstrRemoteServerName;
  QString mstrRemoteServerIP;  // empty until the connection stands, "<Error>" after a failed attempt
  qint32 mlngRemoteServerPort = 0;
  qint32 mlngLocalClientPort = 0;
  qint32 mlngLocalServerPort = 0;
  QString mstrSocketPairKey;
  qint32 mlngWasListeningOnPort = 0;
  bool mblnDead = false;
  QString mstrTimeOfDeath;
  QString mstrProtocol;
  // The counters are uneven, on purpose: the first takes what came in from the client and what was buffered
  // toward it, the second only what was buffered toward the server. They are shown and exported like that.
  qint64 mlngBytesC2S = 0;
  qint64 mlngBytesS2C = 0;
  bool mblnPreviousEventFollowOn = false;
  QString mstrErrorString;
  qint32 mlngErrorNumber = 0;  // other than 0, the connection counts as one that died with an error

  // The latest unthrottled sends, for their ends to find.
  std::weak_ptr<SocketEvent> mLastServerSend;
  std::weak_ptr<SocketEvent> mLastClientSend;
  /// Grows with every history that is made: orders them when only some are looked at.
  quint64 mSerial = 0;

  /// Files an event and gives the length of its data in bytes.
  qsizetype AddEvent(const SocketEventRef& objEvent);
};

using SocketPairHistoryRef = std::shared_ptr<SocketPairHistory>;

}  // namespace veltrane
