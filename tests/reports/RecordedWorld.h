// Connections that the real recorder records while they run over real sockets on loopback, with the failure
// window as the schedule; and the save dialog over them.
#pragma once

#include "history/Logging.h"
#include "reports/frmSaveHistory.h"
#include "tests/support/FailureWorld.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/RealNet.h"

namespace veltrane {

struct RecordedNet {
  RealNet mNet;
};

struct RecordedWorld : RecordedNet, FailureWorld {
  explicit RecordedWorld(const QString& programFolder = QStringLiteral("/opt/veltrane"))
      : FailureWorld(&mNet.Sockets()),
        mSaving({mStore, mNet.Sockets(), mTimers, mClock, mRandom, mDesktop, mErrors, programFolder,
                 mWriteFolder.path()},
                AllProtocols()) {
    mLogging.SetSurroundings(mFakes.Around(mMain));
    mGeneral.gobjLogging = &mLogging;
    mGeneral.gblnRecordEvents = true;
    mSaving.frmMain = &mMain;
    mMain.tvwSockets.SetSelectedItem(mMain.tvwSockets.Find(QStringLiteral("ROOT")));
    mForm.Load();
    mPort = mNet.DeadPort();
    AddPort(mPort, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    SetDestination(mPort, QStringLiteral("127.0.0.1"), mServer->Port());
    StartListening();
  }
  ~RecordedWorld() { mGeneral.gobjListening->DeInitaliseListeningSockets(); }

  /// Makes a connection; both ends stand when it returns.
  bool Connect() {
    mClient = mNet.ConnectTo(mPort);
    mServerEnd.reset();
    return mNet.Pump([this] {
      if (!mServerEnd) mServerEnd = mServer->Accept();
      return mServerEnd && History().mlngLocalClientPort != 0;
    });
  }
  bool Send(Peer& from, const Peer& to, const QByteArray& bytes) {
    const QByteArray before = to.Received();
    from.Send(bytes);
    return mNet.Pump([&] { return to.Received() == before + bytes; });
  }
  bool Close() {
    mServerEnd->Close();
    const bool done = mNet.Pump([this] { return mClient->SawEnd() && History().mblnDead; });
    mNet.Settle();
    return done;
  }
  /// The latest connection's.
  const SocketPairHistory& History() const {
    static const SocketPairHistory none;
    const auto& all = mLogging.mobjSocketPairHistory;
    return all.IsEmpty() ? none : *all.Item(all.Count());
  }
  /// Opens the dialog for the latest connection.
  frmSaveHistory& OpenDialog() {
    const QString key = History().mstrSocketPairKey;
    TreeView& tree = mMain.tvwSockets;
    if (!tree.Contains(key)) {
      tree.Add(QStringLiteral("ROOT"), key, QStringLiteral("Connection"), QStringLiteral("Socket"));
    }
    tree.SetSelectedItem(tree.Find(key));
    mSave.Show();
    return mSave;
  }

  General mSaving;
  Logging mLogging{mGeneral};
  HistoryFakes mFakes{mJournal};
  frmSaveHistory mSave{mSaving, mLogging, mMain};
  std::unique_ptr<PeerListener> mServer = mNet.Listen();
  std::unique_ptr<Peer> mClient;
  std::unique_ptr<Peer> mServerEnd;
  qint32 mPort = 0;
};

}  // namespace veltrane
