#include "engine/net/Reactor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "engine/net/SocketErrors.h"
#include "engine/net/TcpSocket.h"

namespace veltrane {
namespace {

constexpr std::chrono::milliseconds kTurnBudget{4};
/// How long what was posted may go on before bytes are read again; the rest of a long buffer drains later.
constexpr std::chrono::milliseconds kPostedBudget{1};
/// How long the peer of a closed connection may take nothing, where all is in the kernel or too much is held.
constexpr std::chrono::seconds kLingerTime{30};
constexpr qint32 kSweepIntervalMs = 1000;
constexpr int kBatch = 64;
/// What was sent is often answered at once. To fall asleep and to be woken takes longer than such an answer,
/// so it is waited for awake; so short that it costs others little where processors are scarce. Giving the
/// processor away meanwhile would cost whole slices of time there.
constexpr std::chrono::microseconds kAnswerTime{40};

void Close(int& descriptor) {
  if (descriptor >= 0) ::close(descriptor);
  descriptor = -1;
}

}  // namespace

/// Keeps what a turn's batch may still name in memory until the outermost turn is over.
struct Reactor::TurnScope {
  explicit TurnScope(Reactor& reactor) : mReactor(reactor) { ++reactor.mTurnDepth; }
  ~TurnScope() {
    if (--mReactor.mTurnDepth == 0) std::exchange(mReactor.mGraveyard, {}).clear();
  }
  TurnScope(const TurnScope&) = delete;
  TurnScope& operator=(const TurnScope&) = delete;

 private:
  Reactor& mReactor;
};

Reactor::Reactor(const Clock& clock, TimerQueue& timers, NameLookup::Resolver resolver)
    : mClock(clock),
      mLookup(std::move(resolver)),
      mEpoll(epoll_create1(EPOLL_CLOEXEC)),
      mWake(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)),
      mReserve(fcntl(mWake, F_DUPFD_CLOEXEC, 0)),
      mScratch(static_cast<std::size_t>(kReadLimit)),
      mSweep(timers, [this] { SweepLingering(); }) {
  if (mEpoll < 0 || mWake < 0) throw SocketFailure(errno);
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.ptr = this;
  epoll_ctl(mEpoll, EPOLL_CTL_ADD, mWake, &event);
  event.data.ptr = &mLookup;
  epoll_ctl(mEpoll, EPOLL_CTL_ADD, mLookup.Descriptor(), &event);
  mSweep.SetEnabled(false);
  mSweep.SetInterval(kSweepIntervalMs);
}

Reactor::~Reactor() {
  for (const ChannelRef& channel : std::exchange(mLingering, {}))
    CloseChannel(channel);
  for (const auto& request : mRequests)
    ::close(request.second.descriptor);
  Close(mReserve);
  Close(mWake);
  Close(mEpoll);
}

std::unique_ptr<Socket> Reactor::CreateSocket(SocketEvents& events) {
  return std::make_unique<TcpSocket>(*this, events);
}

void Reactor::Turn() {
  const TurnScope scope(*this);
  mTurnEnd = mClock.Steady() + kTurnBudget;
  std::array<epoll_event, kBatch> events{};
  Clock::Instant awakeUntil{};
  do {
    ServePosted();
    const int count = epoll_wait(mEpoll, events.data(), kBatch, 0);
    if (count > 0 || !mPosted.empty()) {
      ServeBatch(events.data(), count);
      awakeUntil = mClock.Steady() + kAnswerTime;
    } else if (mClock.Steady() >= awakeUntil) {
      return;
    }
  } while (!BudgetIsSpent());
  if (!mPosted.empty()) Wake();
}

bool Reactor::Wait(std::chrono::milliseconds atMost) {
  pollfd ready{mEpoll, POLLIN, 0};
  if (poll(&ready, 1, static_cast<int>(atMost.count())) <= 0) return false;
  Turn();
  return true;
}

void Reactor::ServeBatch(const epoll_event* events, int count) {
  // What can be written first: it makes room before more is read.
  for (int i = 0; i < count; ++i) {
    if (events[i].data.ptr == this || events[i].data.ptr == &mLookup) continue;
    Channel& channel = *static_cast<Channel*>(events[i].data.ptr);
    if ((events[i].events & ~EPOLLIN) != 0 && channel.IsOpen()) channel.Writable();
  }
  for (int i = 0; i < count; ++i) {
    ServePosted();
    if (events[i].data.ptr == this) {
      eventfd_t ignored = 0;
      eventfd_read(mWake, &ignored);
    } else if (events[i].data.ptr == &mLookup) {
      mLookup.DeliverAnswers();
    } else {
      const ChannelRef channel = static_cast<Channel*>(events[i].data.ptr)->shared_from_this();
      if ((events[i].events & ~EPOLLOUT) != 0 && channel->IsOpen()) channel->Readable();
      if (mLingering.empty() || !mLingering.contains(channel)) continue;
      CountLingering(*channel);
      if (channel->IsDrained()) EndLingering(channel);
    }
  }
}

void Reactor::Watch(Channel& channel, quint32 events) {
  if (!channel.IsOpen() || (channel.mIsWatched && channel.mWatched == events)) return;
  if (events == 0) {
    // Taken out altogether: a descriptor with no interest left would still report that its peer hung up.
    if (channel.mIsWatched) epoll_ctl(mEpoll, EPOLL_CTL_DEL, channel.Descriptor(), nullptr);
    channel.mIsWatched = false;
    return;
  }
  epoll_event event{};
  event.events = events;
  event.data.ptr = &channel;
  const int operation = channel.mIsWatched ? EPOLL_CTL_MOD : EPOLL_CTL_ADD;
  if (epoll_ctl(mEpoll, operation, channel.Descriptor(), &event) != 0) throw SocketFailure(errno);
  channel.mIsWatched = true;
  channel.mWatched = events;
}

void Reactor::Post(const ChannelRef& channel) {
  if (std::exchange(channel->mIsPosted, true)) return;
  mPosted.push_back(channel);
  if (mTurnDepth == 0 && mPosted.size() == 1) Wake();
}

void Reactor::ServePosted() {
  if (mPosted.empty()) return;
  const Clock::Instant end = mClock.Steady() + kPostedBudget;
  while (!mPosted.empty()) {
    for (const ChannelRef& channel : std::exchange(mPosted, {})) {
      channel->mIsPosted = false;
      if (channel->IsOpen()) channel->ServePosted();
    }
    if (mClock.Steady() >= end) return;
  }
}

void Reactor::Wake() {
  eventfd_write(mWake, 1);
}

void Reactor::Release(const ChannelRef& channel) {
  if (!channel->IsOpen()) return;
  if (!channel->MustLinger()) {
    CloseChannel(channel);
    return;
  }
  channel->mLastTaken = mClock.Steady();
  channel->mUntaken = channel->BytesUntaken();
  mLingering.insert(channel);
  CountLingering(*channel);
  mSweep.SetEnabled(true);
}

bool Reactor::MustEnd(Channel& channel) {
  if (channel.IsDrained()) return true;
  const Clock::Instant now = mClock.Steady();
  const qint64 untaken = channel.BytesUntaken();
  if (std::exchange(channel.mUntaken, untaken) != untaken) channel.mLastTaken = now;
  if (now - channel.mLastTaken <= kLingerTime) return false;
  const qint64 held = channel.BytesHeld();
  return held == 0 || (MayGiveUp && MayGiveUp(held));
}

void Reactor::CountLingering(Channel& channel) {
  const qint64 bytes = channel.IsOpen() ? channel.BytesHeld() : 0;
  const qint64 grown = bytes - std::exchange(channel.mLingeringAsCounted, bytes);
  if (grown != 0 && OnLingering) OnLingering(grown);
}

void Reactor::EndLingering(const ChannelRef& channel) {
  mLingering.erase(channel);
  CloseChannel(channel);
  CountLingering(*channel);
}

void Reactor::CloseChannel(const ChannelRef& channel) {
  const int descriptor = channel->Descriptor();
  if (channel->mIsWatched) epoll_ctl(mEpoll, EPOLL_CTL_DEL, descriptor, nullptr);
  channel->Forget();
  if (mTurnDepth > 0) mGraveyard.push_back(channel);
  CloseDescriptor(descriptor);
}

void Reactor::CloseDescriptor(int descriptor) {
  ::close(descriptor);
  if (mReserve < 0) mReserve = fcntl(mWake, F_DUPFD_CLOEXEC, 0);
  ResumeListeners();
}

int Reactor::OpenSocket() {
  constexpr int kType = SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC;
  int descriptor = ::socket(AF_INET, kType, 0);
  if (descriptor < 0 && errno == EMFILE && mReserve >= 0) {
    Close(mReserve);
    descriptor = ::socket(AF_INET, kType, 0);
  }
  if (descriptor < 0) throw SocketFailure(errno);
  return descriptor;
}

qint32 Reactor::KeepRequest(const Request& request) {
  // Wraps: a request is kept for the time of one event only.
  const auto id = static_cast<qint32>(++mLastRequest);
  mRequests.emplace(id, request);
  return id;
}

Reactor::Request Reactor::TakeRequest(qint32 requestId) {
  const auto found = mRequests.find(requestId);
  if (found == mRequests.end()) return {};
  const Request request = found->second;
  mRequests.erase(found);
  return request;
}

bool Reactor::WaitForDescriptors(const ChannelRef& listener) {
  Watch(*listener, 0);
  mStarvedListeners.push_back(listener);
  // Descriptors may also come free where nothing tells it here: the sweep tries again.
  mSweep.SetEnabled(true);
  return !std::exchange(mShortageReported, true);
}

void Reactor::ResumeListeners() {
  for (const std::weak_ptr<Channel>& starved : std::exchange(mStarvedListeners, {})) {
    if (const ChannelRef listener = starved.lock()) Watch(*listener, EPOLLIN);
  }
}

void Reactor::SweepLingering() {
  std::vector<ChannelRef> lingering(mLingering.begin(), mLingering.end());
  // Who has kept the others waiting longest goes first.
  std::sort(lingering.begin(), lingering.end(), [](const ChannelRef& left, const ChannelRef& right) {
    return left->mLastTaken < right->mLastTaken;
  });
  for (const ChannelRef& channel : lingering) {
    if (MustEnd(*channel)) EndLingering(channel);
  }
  mSweep.SetEnabled(!mLingering.empty() || !mStarvedListeners.empty());
  ResumeListeners();
}

}  // namespace veltrane
