#include "history/SocketPairHistory.h"

#include <utility>

#include "base/Failure.h"

namespace veltrane {
namespace {

const QString kKey = QStringLiteral("KEY");

}  // namespace

const SocketEventRef& EventList::Item(qsizetype position) const {
  if (position < 1 || position > Count()) throw Failure(FailureNumber::kOutOfRange);
  return mEvents[static_cast<std::size_t>(position - 1)];
}

const SocketEventRef& EventList::Item(const QString& key) const {
  const qsizetype position = PositionOf(key);
  if (position == 0) throw Failure(FailureNumber::kBadArgument);
  return Item(position);
}

QString EventList::KeyAt(qsizetype position) const {
  Item(position);
  return kKey + QString::number(mRemoved + position - 1);
}

void EventList::Add(SocketEventRef event) {
  mEvents.push_back(std::move(event));
}

void EventList::RemoveFirst() {
  Item(1);
  mEvents.pop_front();
  ++mRemoved;
}

qsizetype EventList::PositionOf(const QString& key) const {
  if (!key.startsWith(kKey)) return 0;
  bool isNumber = false;
  const qint64 position = QStringView(key).mid(kKey.size()).toLongLong(&isNumber) - mRemoved + 1;
  return isNumber && position >= 1 && position <= Count() ? position : 0;
}

qsizetype SocketPairHistory::AddEvent(const SocketEventRef& objEvent) {
  const qsizetype length = objEvent->mstrData.Size();
  mobjSocketPairEvents.Add(objEvent);
  ++mlngEventCount;
  const qsizetype count = mobjSocketPairEvents.Count();
  if (count > 1) {
    mblnPreviousEventFollowOn = mobjSocketPairEvents.Item(count - 1)->mblnNextEventFollowOn;
  }
  const SocketEventType kind = objEvent->mobjEventType;
  if (kind == etServerBytesBuffered || kind == etServerBytesReceived) mlngBytesC2S += length;
  if (kind == etClientBytesBuffered) mlngBytesS2C += length;
  if (kind == etServerBytesSent) mLastServerSend = objEvent;
  if (kind == etClientBytesSent) mLastClientSend = objEvent;
  mlngMemoryAllocated += length;
  return length;
}

}  // namespace veltrane
