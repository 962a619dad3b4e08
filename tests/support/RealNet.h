// The real sockets on loopback, and scripted peers made of plain system sockets.
#pragma once

#include <QList>

#include <chrono>

#include "base/Clock.h"
#include "base/Timer.h"
#include "engine/net/Reactor.h"
#include "tests/support/NetWorld.h"

namespace veltrane {

class RealPeer;

/// The system's clock, which may be put ahead.
struct ClockAhead : SystemClock {
  Instant Steady() const override { return SystemClock::Steady() + mAhead; }

  Instant mAhead{};
};

class RealNet : public NetWorld {
 public:
  explicit RealNet(NameLookup::Resolver resolver = NameLookup::SystemResolver)
      : mReactor(mClock, mTimers, std::move(resolver)) {}

  SocketFactory& Sockets() override { return mReactor; }
  std::unique_ptr<PeerListener> Listen() override;
  std::unique_ptr<Peer> ConnectTo(qint32 port) override;
  qint32 DeadPort() override;
  QString SilentAddress() override { return {}; }
  QString UnknownHost() override { return QStringLiteral("no-such-host.invalid"); }
  bool Pump(const std::function<bool()>& done) override;
  void Settle() override;

  ClockAhead mClock;
  TimerQueue mTimers{mClock};
  Reactor mReactor;
  std::chrono::milliseconds mPatience{10000};

 private:
  friend class RealPeer;
  bool ServePeers();

  QList<RealPeer*> mPeers;
};

/// A number of open descriptors of this process.
int OpenDescriptors();

}  // namespace veltrane
