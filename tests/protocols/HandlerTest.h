// One connection of a handler between two stub sockets, driven step by step.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/World.h"

namespace veltrane {

inline QStringList Lines(std::initializer_list<const char*> lines) {
  QStringList result;
  for (const char* line : lines)
    result.append(QLatin1String(line));
  return result;
}

struct HandlerTest : testing::Test {
  static constexpr qint32 kPort = 2000;

  explicit HandlerTest(const QString& name, ProtocolTable protocols = AllProtocols())
      : world(nullptr, nullptr, std::move(protocols)), protocol(name) {
    world.AddPort(kPort, protocol, QStringLiteral("Test"));
    world.AddNode(kPort, QStringLiteral("Test (2000)"));
    world.StartListening();
    NewConnection();
  }
  /// A fresh pair of sockets with a fresh handler, as the listener makes them.
  void NewConnection() {
    world.mSockets.mNames = {QStringLiteral("sckServer"), QStringLiteral("sckClient")};
    pair = std::make_shared<SocketPair>(world.mGeneral);
    server = world.mSockets.mSockets[world.mSockets.mSockets.size() - 2];
    client = world.mSockets.mSockets.last();
    server->mLocalPort = kPort;
    for (const ProtocolRow& row : world.mGeneral.mProtocolTable) {
      if (row.value == protocol) handler = row.create(world.mGeneral);
    }
    handler->mlngWasListeningOnPort = kPort;
    Take();
  }
  QStringList Take() { return world.mJournal.Take(); }
  void Set(const char* key, const char* value) {
    world.Save(PortSection(protocol, kPort), QLatin1String(key), QLatin1String(value));
  }
  void SetNoSiteError(const char* text) {
    world.Save(QStringLiteral("Protocols\\") + protocol, QStringLiteral("NoSiteError"), QLatin1String(text));
  }
  void Accept() {
    pair->ServerConnected(1, handler);
    // A greeting has left at once.
    if (!server->mSent.isEmpty()) server->Sent();
    Take();
  }
  /// Accepts, and routes by the first chunk.
  void AcceptAndSay(const QByteArray& first) {
    Accept();
    server->Arrive(first);
    Take();
  }
  void Connect() {
    client->Connected();
    Take();
  }
  void Dangle(qint16 direction, int choice) {
    world.mSchedule.mDangle = true;
    world.mSchedule.mTimeBeforeDangle = 500;
    world.mSchedule.mDanglePeriod = 1000;
    world.mSchedule.mDangleDirection = direction;
    world.mSchedule.mDangleClose = choice;
  }
  void Pass(int ms) { world.mTimers.Advance(std::chrono::milliseconds(ms)); }

  World world;
  const QString protocol;
  std::shared_ptr<SocketPair> pair;
  ProtocolHandlerRef handler;
  StubSocket* server = nullptr;
  StubSocket* client = nullptr;
};

}  // namespace veltrane
