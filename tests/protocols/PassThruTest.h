// One Pass Through connection between two stub sockets, driven step by step.
#pragma once

#include "protocols/ProtocolPassThru.h"
#include "tests/protocols/HandlerTest.h"
#include "tests/support/Directions.h"

namespace veltrane {

using std::chrono::milliseconds;

struct PassThruTest : testing::Test {
  PassThruTest() {
    world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    world.SetDestination(1000, QStringLiteral("server.example"), 2000);
    world.StartListening();
    auto* listener = static_cast<StubSocket*>(
        world.mGeneral.gobjListening->mcolListeningSocket.Item(QStringLiteral("KEY1000")));
    world.mSockets.mNames = {QStringLiteral("sckServer"), QStringLiteral("sckClient")};
    pair = std::make_shared<SocketPair>(world.mGeneral);
    server = world.mSockets.mSockets[1];
    client = world.mSockets.mSockets[2];
    server->mLocalPort = listener->LocalPort();
    handler = std::make_shared<ProtocolPassThru>(world.mGeneral);
    handler->mlngWasListeningOnPort = 1000;
    Take();
  }
  QStringList Take() { return world.mJournal.Take(); }
  void Accept() {
    pair->ServerConnected(1, handler);
    Take();
  }
  /// Both sides stand.
  void Connect() {
    Accept();
    client->Connected();
    Take();
  }
  static QByteArray Bytes(qsizetype count, char letter = 'x') { return QByteArray(count, letter); }

  World world;
  std::shared_ptr<SocketPair> pair;
  std::shared_ptr<ProtocolPassThru> handler;
  StubSocket* server = nullptr;
  StubSocket* client = nullptr;
};

/// What is told for both directions.
struct DirectionTest : InBothDirections<PassThruTest> {
  void Throttle(qint64 bytes) {
    (ToServer() ? world.mSchedule.mThrottleC2S : world.mSchedule.mThrottleS2C) = true;
    world.mSchedule.mThrottleBytes = bytes;
  }
  void Dangle(int choice) {
    world.mSchedule.mDangle = true;
    world.mSchedule.mTimeBeforeDangle = 500;
    world.mSchedule.mDanglePeriod = 1000;
    world.mSchedule.mDangleDirection = ToServer() ? 0 : 1;
    world.mSchedule.mDangleClose = choice;
  }
};

}  // namespace veltrane
