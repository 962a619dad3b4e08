#include "tests/conversations/Talk.h"

#include <QHash>

#include <algorithm>
#include <gtest/gtest.h>

namespace veltrane {

qsizetype Talk::mLargest = 70'000;

QByteArray Dice::Bytes(qsizetype size, bool ftp) {
  QByteArray bytes(size, Qt::Uninitialized);
  // One draw for four bytes.
  for (qsizetype at = 0; at < size; at += 4) {
    const auto drawn = static_cast<quint32>(mEngine());
    for (qsizetype i = at; i < std::min(at + 4, size); ++i)
      bytes[i] = static_cast<char>(drawn >> (8 * (i - at)));
  }
  // No piece may begin like a line of the control connection that the handler takes for itself.
  if (ftp) bytes.replace('2', 'x').replace('p', 'x').replace('P', 'x');
  return bytes;
}

bool Failures::Pump(NetWorld& net, const std::function<bool()>& done) const {
  do {
    if (net.Pump(done)) return true;
  } while (passTime && passTime());
  return false;
}

Talk::Talk(NetWorld& net, Dice& dice, const Failures& failures, QByteArray protocol, qint32 proxyPort,
           std::unique_ptr<PeerListener> server)
    : mNet(net),
      mDice(dice),
      mFailures(failures),
      mProtocol(std::move(protocol)),
      mProxyPort(proxyPort),
      mDestination(std::move(server)) {}

// %P is the server's port.
const QList<Talk::Opening>& Talk::OpeningOf(const QByteArray& protocol) {
  static const QHash<QByteArray, QList<Opening>> kOpenings{
      {"Pass Through", {}},
      {"HTTP", {{true, "GET http://127.0.0.1:%P/a HTTP/1.0\r\n\r\n", "", "GET /a HTTP/1.0\r\n\r\n"}}},
      {"HTTPS",
       {{true, "CONNECT 127.0.0.1:%P HTTP/1.1\r\n\r\n",
         "HTTP/1.0 200 Connection established\r\nProxy-agent: Netscape -Proxy / 1.1 \r\n\r\n", ""}}},
      {"POP3",
       {{true, "USER Fred#127.0.0.1\r\n", "+OK\r\n", ""}, {false, "+OK real\r\n", "", "USER Fred\r\n"}}},
      {"FTP",
       {{true, "USER a@127.0.0.1:%P\r\n", "220 Veltrane FTP Server\r\n", ""},
        {false, "220 real\r\n", "", "USER a\r\n"}}},
  };
  return *kOpenings.constFind(protocol);
}

void Talk::Begin() {
  mClient.peer = mNet.ConnectTo(mProxyPort);
  const QList<Opening>& opening = OpeningOf(mProtocol);
  // One in sixteen leaves in the middle of it. Not an FTP client before its first word: that pair stays until
  // the end of the program, which is how that handler is to be.
  const int least = mProtocol == "FTP" ? 1 : 0;
  const int all = static_cast<int>(opening.size());
  const int steps = mDice.Pick(16) == 0 ? least + mDice.Pick(all - least + 1) : all;
  for (int i = 0; i < steps; ++i)
    if (!Do(opening[i])) return;
  mBegun = steps == opening.size();
  // What the handler says by itself may come all the same.
  for (int i = steps; i < opening.size(); ++i)
    mClient.due += opening[i].atClient;
  // Those that have an opening have a server by now; a plain relay may be spoken to before that.
  if (!mBegun || (mProtocol == "Pass Through" && mDice.Pick(20) == 0)) Leave(true);
}

bool Talk::Do(const Opening& step) {
  QByteArray text = step.text;
  text.replace("%P", QByteArray::number(mDestination->Port()));
  mClient.due += step.atClient;
  mServer.due += step.atServer;
  (step.byClient ? mClient : mServer).peer->Send(text);
  const bool done = mNet.Pump([this] {
    TakeServer();
    return mServer.peer && HasAll(mClient) && HasAll(mServer);
  });
  EXPECT_TRUE(done) << mProtocol.constData() << ": " << text.constData();
  return done;
}

void Talk::TakeServer() {
  if (!mServer.peer) mServer.peer = mDestination->Accept();
}

bool Talk::HasAll(const Side& side) const {
  return side.due.isEmpty() || (side.peer && side.peer->Received() == side.due);
}

void Talk::Act() {
  TakeServer();
  const bool client = mDice.Pick(2) == 0 || !mServer.peer;
  const int what = mDice.Pick(64);
  if (what == 0) {
    Leave(client);
  } else if (what < 12) {
    PauseOrGoOn(client);
  } else {
    Say(client);
  }
}

void Talk::Say(bool byClient) {
  if (mEnded) return;
  const qsizetype kSizes[] = {1, 2, 8191, 8192, 8193, mLargest};
  const int drawn = mDice.Pick(12);
  const qsizetype size = drawn < 6 ? std::min(kSizes[drawn], mLargest) : 1 + mDice.Pick(500);
  const QByteArray bytes = mDice.Bytes(size, mProtocol == "FTP");
  (byClient ? mClient : mServer).peer->Send(bytes);
  (byClient ? mServer : mClient).due += bytes;
}

void Talk::PauseOrGoOn(bool client) {
  Peer& peer = *(client ? mClient : mServer).peer;
  if (mDice.Pick(3) == 0) {
    peer.StopReading();
  } else {
    peer.ResumeReading();
  }
}

void Talk::Leave(bool client) {
  if (mEnded) return;
  Side& leaver = client ? mClient : mServer;
  mEnded = true;
  leaver.left = true;
  const int way = mDice.Pick(3);
  mGracefully = mFailures.allArrivesWhenOneLeaves && mBegun && way != 0 && HasAll(leaver);
  if (way == 0) {
    leaver.peer->Reset();
  } else if (way == 1) {
    leaver.peer->HalfClose();
  } else {
    leaver.peer->Close();
  }
}

void Talk::Resume() {
  TakeServer();
  for (Side* side : {&mClient, &mServer})
    if (side->peer) side->peer->ResumeReading();
}

void Talk::End() {
  if (mEnded) return;
  mFailures.Pump(mNet, [this] {
    TakeServer();
    return HasAll(mClient) && HasAll(mServer);
  });
  if (mFailures.allArrivesWhileItStands) {
    EXPECT_TRUE(HasAll(mClient)) << mProtocol.constData() << ": not all has come to the client";
    EXPECT_TRUE(HasAll(mServer)) << mProtocol.constData() << ": not all has come to the server";
  }
  EXPECT_TRUE(mServer.peer);
  Leave(mDice.Pick(2) == 0 || !mServer.peer);
}

/// The end of the stream, and before it all that must come.
bool Talk::HasCome(const Side& side) const {
  return (!side.peer || side.left || !mFailures.endIsTold || side.peer->SawEnd()) &&
         (!mGracefully || HasAll(side));
}

/// Whether got is the beginning of what was due, or of what a stretch of it leaves when it is taken out.
bool Talk::Fits(const QByteArray& got, const QByteArray& due) const {
  if (due.startsWith(got)) return true;
  if (!mFailures.aStretchIsDropped) return false;
  const auto differ = std::mismatch(got.begin(), got.end(), due.begin(), due.end());
  const qsizetype same = differ.first - got.begin();
  return due.indexOf(got.mid(same), same) >= 0;
}

void Talk::ExpectArrived(const Side& side, const char* name) const {
  const QByteArray got = side.peer ? side.peer->Received() : QByteArray();
  EXPECT_TRUE(Fits(got, side.due)) << mProtocol.constData() << ": the " << name << " got other bytes";
  if (mGracefully) {
    EXPECT_EQ(got.size(), side.due.size()) << mProtocol.constData() << ": the " << name << " did not get all";
  }
  if (side.peer && !side.left && mFailures.endIsTold) {
    EXPECT_TRUE(side.peer->SawEnd()) << mProtocol.constData() << ": the " << name << " waits for an end";
  }
}

void Talk::CheckAndLeave() {
  mFailures.Pump(mNet, [this] {
    TakeServer();
    return HasCome(mClient) && HasCome(mServer);
  });
  ExpectArrived(mClient, "client");
  ExpectArrived(mServer, "server");
  for (Side* side : {&mClient, &mServer})
    side->peer.reset();
  mDestination.reset();
}

qint32 Talk::OpenDataPort(qint32 destination) {
  if (!IsWhole()) return 0;
  const bool passive = mDice.Pick(2) == 0;
  Side& from = passive ? mServer : mClient;
  Side& to = passive ? mClient : mServer;
  const QByteArray begin = passive ? "227 Entering Passive Mode (127,0,0,1," : "PORT 127,0,0,1,";
  const QByteArray end = passive ? ")\r\n" : "\r\n";
  from.peer->Send(begin + QByteArray::number(destination / 256) + ',' +
                  QByteArray::number(destination % 256) + end);
  EXPECT_TRUE(mNet.Pump(
      [&] { return to.peer->Received().size() > to.due.size() && to.peer->Received().endsWith(end); }));
  const QByteArray line = to.peer->Received().mid(to.due.size());
  EXPECT_TRUE(line.startsWith(begin) && line.endsWith(end)) << line.constData();
  const QList<QByteArray> numbers = line.mid(begin.size()).chopped(end.size()).split(',');
  to.due += line;
  return numbers.size() == 2 ? numbers[0].toInt() * 256 + numbers[1].toInt() : 0;
}

}  // namespace veltrane
