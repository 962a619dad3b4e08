// All sockets of the program hang on one epoll descriptor, and the event loop watches that one descriptor, so
// the cost of a turn follows the sockets that are ready, not those that are open. A turn has a time budget;
// what is still ready after it is served by the next turn, and the windows get their time in between.
//
// Within a turn what has been sent completely is told before the next bytes are read, so a buffer drains
// before it grows.
#pragma once

#include <functional>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/Failure.h"
#include "base/Timer.h"
#include "engine/Socket.h"
#include "engine/net/Channel.h"
#include "engine/net/NameLookup.h"

struct epoll_event;

namespace veltrane {

class Reactor : public SocketFactory {
 public:
  Reactor(const Clock& clock, TimerQueue& timers, NameLookup::Resolver resolver = NameLookup::SystemResolver);
  ~Reactor() override;

  std::unique_ptr<Socket> CreateSocket(SocketEvents& events) override;

  /// Readable when Turn has something to do.
  int Descriptor() const { return mEpoll; }
  /// Serves what is ready. May be called from inside an event (a modal window's loop does).
  void Turn();
  /// Waits at most that long for something to do, then serves it. False when nothing came.
  bool Wait(std::chrono::milliseconds atMost);

  /// A failure that an event procedure let out. Without it such failures are dropped.
  std::function<void(const Failure&)> OnEscapedFailure;

  /// Descriptors of connections that were closed here and still hold bytes for their peers.
  qsizetype LingeringCount() const { return static_cast<qsizetype>(mLingering.size()); }

  // For the sockets and channels.
  void Watch(Channel& channel, quint32 events);
  /// An event that the channel owes is to be told in a later call.
  void Post(const ChannelRef& channel);
  /// The channel is of no more use; one whose bytes are not out yet lingers until they are.
  void Release(const ChannelRef& channel);
  void CloseDescriptor(int descriptor);
  /// A new TCP socket's descriptor. Falls back on a descriptor kept in reserve, so that a connection that was
  /// accepted with the last free one can still go on to its server. Fails when that is used up too.
  int OpenSocket();
  /// An accepted descriptor, and whose it is: of a peer that has reset meanwhile the system no longer tells.
  struct Request {
    int descriptor = -1;
    in_addr address{};
    qint32 port = 0;
  };
  /// Keeps it for the time of the event; gives its number.
  qint32 KeepRequest(const Request& request);
  /// Takes it; without a descriptor when the number is unknown.
  Request TakeRequest(qint32 requestId);
  /// There are no descriptors left: the listener waits until one comes free. True when that is news: no
  /// listener has caught up with its requests since the last time.
  bool WaitForDescriptors(const ChannelRef& listener);
  void DescriptorsSuffice() { mShortageReported = false; }
  NameLookup& Lookup() { return mLookup; }
  char* Scratch() { return mScratch.data(); }
  bool BudgetIsSpent() const { return mClock.Steady() >= mTurnEnd; }
  /// Calls an event procedure; a failure that it lets out goes to OnEscapedFailure.
  template <class Call>
  void Deliver(Call&& call) {
    try {
      call();
    } catch (...) {
      if (OnEscapedFailure) OnEscapedFailure(CurrentFailure());
    }
  }

  /// The most that one read takes, in bytes.
  static constexpr qsizetype kReadLimit = 256 * 1024;

 private:
  struct TurnScope;

  void ServePosted();
  void ServeBatch(const epoll_event* events, int count);
  void Wake();
  void ResumeListeners();
  void SweepLingering();
  bool MustEnd(Channel& channel);
  void CountLingering(Channel& channel);
  void EndLingering(const ChannelRef& channel);
  void CloseChannel(const ChannelRef& channel);

  const Clock& mClock;
  NameLookup mLookup;
  int mEpoll = -1;
  int mWake = -1;
  int mReserve = -1;
  std::vector<char> mScratch;
  Clock::Instant mTurnEnd{};
  int mTurnDepth = 0;
  std::vector<ChannelRef> mPosted;
  std::unordered_set<ChannelRef> mLingering;
  std::vector<ChannelRef> mGraveyard;  // closed in this turn; stale events may still name them
  std::unordered_map<qint32, Request> mRequests;
  std::vector<std::weak_ptr<Channel>> mStarvedListeners;
  Timer mSweep;
  quint32 mLastRequest = 0;
  bool mShortageReported = false;
};

}  // namespace veltrane
