// Sockets that pass everything on and keep what went over them: the wire, as the program's side saw it.
#pragma once

#include <QByteArray>
#include <QList>

#include "engine/Socket.h"

namespace veltrane {

/// What one socket took from its peer and gave to it. Outlives the socket.
struct Tap {
  QByteArray got;
  QByteArray sent;
  /// Of an accepted socket; 0 of all others. The same client may come from one port to two of the program's.
  qint32 peerPort = 0;
  qint32 localPort = 0;
};

class TappedSocket : public Socket {
 public:
  TappedSocket(std::unique_ptr<Socket> inner, std::shared_ptr<Tap> tap)
      : mInner(std::move(inner)), mTap(std::move(tap)) {}

  qint32 LocalPort() const override { return mInner->LocalPort(); }
  void SetLocalPort(qint32 port) override { mInner->SetLocalPort(port); }
  qint32 RemotePort() const override { return mInner->RemotePort(); }
  QString RemoteHost() const override { return mInner->RemoteHost(); }
  QString RemoteHostIP() const override { return mInner->RemoteHostIP(); }
  QString LocalIP() const override { return mInner->LocalIP(); }
  QString LocalHostName() const override { return mInner->LocalHostName(); }
  SocketState State() const override { return mInner->State(); }
  void Listen() override { mInner->Listen(); }
  void Accept(qint32 requestId) override {
    mInner->Accept(requestId);
    mTap->peerPort = mInner->RemotePort();
    mTap->localPort = mInner->LocalPort();
  }
  void Connect(const QString& host, qint32 port) override { mInner->Connect(host, port); }
  void SendData(const Payload& data) override {
    mInner->SendData(data);
    mTap->sent.append(data.View());
  }
  Payload GetData() override {
    Payload data = mInner->GetData();
    mTap->got.append(data.View());
    return data;
  }
  void Close() override { mInner->Close(); }

 private:
  std::unique_ptr<Socket> mInner;
  std::shared_ptr<Tap> mTap;
};

class TapFactory : public SocketFactory {
 public:
  explicit TapFactory(SocketFactory& inner) : mInner(inner) {
    mInner.OnLingering = [this](qint64 grown) {
      if (OnLingering) OnLingering(grown);
    };
    mInner.MayGiveUp = [this](qint64 bytes) { return MayGiveUp && MayGiveUp(bytes); };
  }
  ~TapFactory() override {
    mInner.OnLingering = nullptr;
    mInner.MayGiveUp = nullptr;
  }
  TapFactory(const TapFactory&) = delete;
  TapFactory& operator=(const TapFactory&) = delete;

  std::unique_ptr<Socket> CreateSocket(SocketEvents& events) override {
    mTaps.append(std::make_shared<Tap>());
    return std::make_unique<TappedSocket>(mInner.CreateSocket(events), mTaps.last());
  }

  /// In the order in which the sockets were made.
  QList<std::shared_ptr<Tap>> mTaps;

 private:
  SocketFactory& mInner;
};

}  // namespace veltrane
