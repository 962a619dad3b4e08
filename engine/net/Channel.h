// One descriptor's life in the reactor: what it is registered for, and what it does when it is ready. A
// TcpSocket has a channel while it is open; a channel without a socket lingers to get rid of its bytes.
#pragma once

#include <QtGlobal>

#include <memory>

#include "base/Clock.h"

namespace veltrane {

class Channel;
class Reactor;
using ChannelRef = std::shared_ptr<Channel>;

class Channel : public std::enable_shared_from_this<Channel> {
 public:
  Channel(Reactor& reactor, int descriptor) : mReactor(reactor), mDescriptor(descriptor) {}
  virtual ~Channel() = default;
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  int Descriptor() const { return mDescriptor; }
  bool IsOpen() const { return mDescriptor >= 0; }
  /// The reactor has closed the descriptor.
  void Forget() { mDescriptor = -1; }

  // Told by the reactor; each may close the channel. Writable is also told when something failed.
  virtual void Readable() = 0;
  virtual void Writable() {}
  /// Tells the event that was posted.
  virtual void ServePosted() {}

  /// Asked once when the socket lets go: true when closing at once could cost the peer bytes.
  virtual bool MustLinger() { return false; }
  /// How many bytes of memory hold what waits here, not in the kernel.
  virtual qint64 BytesHeld() const { return 0; }
  /// How many bytes the peer's system has not confirmed, here and in the kernel: less each time it takes
  /// some.
  virtual qint64 BytesUntaken() const { return 0; }
  /// The peer has all bytes, or nobody is left to take them.
  virtual bool IsDrained() { return true; }

 protected:
  Reactor& mReactor;

 private:
  friend class Reactor;

  int mDescriptor;
  // What the reactor notes about it.
  quint32 mWatched = 0;
  bool mIsWatched = false;
  bool mIsPosted = false;
  // While it lingers.
  Clock::Instant mLastTaken{};
  qint64 mUntaken = 0;
  qint64 mLingeringAsCounted = 0;
};

}  // namespace veltrane
