// One conversation through the proxy between a client and a server that say random things at random moments,
// stop reading, and leave in any way at any point; and what each of them must have got in the end.
#pragma once

#include <QByteArray>
#include <QList>

#include <functional>
#include <memory>
#include <random>

#include "tests/support/NetWorld.h"

namespace veltrane {

/// Chance from a seed, the same on every machine.
class Dice {
 public:
  explicit Dice(unsigned seed) : mEngine(seed) {}
  /// 0 to below - 1.
  int Pick(int below) { return static_cast<int>(mEngine() % static_cast<unsigned>(below)); }
  QByteArray Bytes(qsizetype size, bool ftp);

 private:
  std::mt19937 mEngine;
};

/// What a schedule of failures leaves of the rules, and the time that its plans wait for. As made: no
/// failures.
struct Failures {
  /// Of a conversation that nobody has ended all arrives.
  bool allArrivesWhileItStands = true;
  /// So it does when one leaves in good order.
  bool allArrivesWhenOneLeaves = true;
  /// Who stays is told the end of who has left.
  bool endIsTold = true;
  /// A stretch of each direction may be missing.
  bool aStretchIsDropped = false;
  /// Lets time go by; false when nothing waits for it.
  std::function<bool()> passTime;

  /// Serves the net, and lets time go by, until done or until nothing more happens.
  bool Pump(NetWorld& net, const std::function<bool()>& done) const;
};

class Talk {
 public:
  /// What a handler's client and server say before the rest of the conversation is theirs.
  struct Opening {
    bool byClient;
    QByteArray text;
    QByteArray atClient;
    QByteArray atServer;
  };
  /// The largest piece that somebody says.
  static qsizetype mLargest;

  Talk(NetWorld& net, Dice& dice, const Failures& failures, QByteArray protocol, qint32 proxyPort,
       std::unique_ptr<PeerListener> server);

  /// Connects the client and goes through the opening, or through a part of it.
  void Begin();
  /// One random deed of one of the two.
  void Act();
  /// Both read; what they have said so far is to arrive.
  void Resume();
  /// Checks what the rules say of a conversation that nobody has ended, then ends it.
  void End();
  /// Nobody is left; checks what arrived.
  void CheckAndLeave();

  /// Has the server of an FTP conversation, or its client, open a data port. Gives the port of the proxy to
  /// connect to, 0 when the conversation has ended before.
  qint32 OpenDataPort(qint32 destination);
  bool IsWhole() const { return mBegun && !mEnded; }
  const QByteArray& Protocol() const { return mProtocol; }

 private:
  /// One of the two: what it has said, as it should arrive at the other.
  struct Side {
    std::unique_ptr<Peer> peer;
    QByteArray due;  // what should arrive here
    bool left = false;
  };

  static const QList<Opening>& OpeningOf(const QByteArray& protocol);
  bool Do(const Opening& step);
  void Say(bool byClient);
  void PauseOrGoOn(bool client);
  void Leave(bool client);
  void TakeServer();
  bool HasAll(const Side& side) const;
  bool HasCome(const Side& side) const;
  bool Fits(const QByteArray& got, const QByteArray& due) const;
  void ExpectArrived(const Side& side, const char* name) const;

  NetWorld& mNet;
  Dice& mDice;
  const Failures& mFailures;
  QByteArray mProtocol;
  qint32 mProxyPort;
  std::unique_ptr<PeerListener> mDestination;
  Side mClient;
  Side mServer;
  bool mBegun = false;
  bool mEnded = false;
  /// Whoever left had got all and left in good order, and so the other must have got all.
  bool mGracefully = false;
};

}  // namespace veltrane
