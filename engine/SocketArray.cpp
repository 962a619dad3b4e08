#include "engine/SocketArray.h"

#include "base/Failure.h"

namespace veltrane {

SocketArray::SocketArray(SocketFactory& factory, EventsFactory events)
    : mFactory(factory), mEvents(std::move(events)), mElements(1) {}

bool SocketArray::Exists(int index) const {
  if (index == 0) return true;
  return index > 0 && index <= UpperBound() && mElements[static_cast<std::size_t>(index)].socket;
}

Socket& SocketArray::Element(int index) const {
  if (index == 0 || !Exists(index)) throw Failure(FailureNumber::kOutOfRange);
  return *mElements[static_cast<std::size_t>(index)].socket;
}

Socket& SocketArray::Load() {
  Slot slot;
  slot.events = mEvents(UpperBound() + 1);
  slot.socket = mFactory.CreateSocket(*slot.events);
  mElements.push_back(std::move(slot));
  return *mElements.back().socket;
}

void SocketArray::Unload(int index) {
  Element(index);
  // Out of the array first: destroying a socket may run code that looks at it.
  const Slot gone = std::move(mElements[static_cast<std::size_t>(index)]);
  while (UpperBound() > 0 && !Exists(UpperBound()))
    mElements.pop_back();
}

}  // namespace veltrane
