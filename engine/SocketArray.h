// The indexed, growable set of listening sockets. Element 0 is the template and never listens; elements 1
// and up come and go, so there can be holes.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "engine/Socket.h"

namespace veltrane {

class SocketArray {
 public:
  /// events makes the receiver of an element's events.
  using EventsFactory = std::function<std::unique_ptr<SocketEvents>(int index)>;

  SocketArray(SocketFactory& factory, EventsFactory events);

  /// The highest index that exists; 0 when only the template does.
  int UpperBound() const { return static_cast<int>(mElements.size()) - 1; }
  bool Exists(int index) const;
  /// Elements from 1; fails when there is none.
  Socket& Element(int index) const;
  /// Creates the element one above the upper bound.
  Socket& Load();
  /// Destroys an element; may be called inside its own event. Fails when there is none.
  void Unload(int index);

 private:
  struct Slot {
    std::unique_ptr<SocketEvents> events;  // outlives the socket that reports to it
    std::unique_ptr<Socket> socket;
  };

  SocketFactory& mFactory;
  EventsFactory mEvents;
  std::vector<Slot> mElements;
};

}  // namespace veltrane
