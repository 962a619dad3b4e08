// The windows around the recorder, by hand.
#pragma once

#include <QList>
#include <QSet>

#include "history/Surroundings.h"
#include "tests/support/Journal.h"

namespace veltrane {

class FakeRealTimeData : public RealTimeDataOptions {
 public:
  bool IsOn(RealTimeSwitch which) const override { return mOn.contains(static_cast<int>(which)); }
  bool ShowsAllData() const override { return mShowsAll; }
  Colour DirectionColour(int index) const override { return static_cast<Colour>(100 + index); }
  void Set(const QList<RealTimeSwitch>& switches) {
    mOn.clear();
    for (const RealTimeSwitch which : switches)
      mOn.insert(static_cast<int>(which));
  }

  bool mShowsAll = true;

 private:
  QSet<int> mOn;
};

class FakePurgeOptions : public PurgeOptions {
 public:
  bool Discard() const override { return mDiscard; }
  QString NumberToKeep() const override { return mNumberToKeep; }
  QString MaxMemorySize() const override { return mMaxMemorySize; }
  QString MaximumEventCount() const override { return mMaximumEventCount; }
  bool RemoveEphemeralPortReferences() const override { return mRemoveEphemeral; }

  bool mDiscard = true;
  QString mNumberToKeep = QStringLiteral("100000");
  QString mMaxMemorySize = QStringLiteral("100000000");
  QString mMaximumEventCount = QStringLiteral("100000000");
  bool mRemoveEphemeral = true;
};

class FakeTray : public TraySignal {
 public:
  explicit FakeTray(Journal& journal) : mJournal(journal) {}
  void DataSent(bool toServer) override {
    mJournal.Note(toServer ? QStringLiteral("DataSent True") : QStringLiteral("DataSent False"));
  }

 private:
  Journal& mJournal;
};

class FakeLogFile : public EventLogFile {
 public:
  explicit FakeLogFile(Journal& journal) : mJournal(journal) {}
  bool LoggingEnabled() const override { return mEnabled; }
  void SaveEventToLogFile(const SocketPair&, const SocketEvent& event) override {
    mJournal.Note(QStringLiteral("SaveEventToLogFile %1").arg(event.mobjEventType));
  }
  bool mEnabled = false;

 private:
  Journal& mJournal;
};

/// All that a recorder has around it, beside the main window.
struct HistoryFakes {
  explicit HistoryFakes(Journal& journal) : mTray(journal), mLogFile(journal) {}
  HistorySurroundings Around(HistoryWindow& window) {
    return {&window, &mRealTimeData, &mPurge, &mTray, &mLogFile};
  }

  FakeRealTimeData mRealTimeData;
  FakePurgeOptions mPurge;
  FakeTray mTray;
  FakeLogFile mLogFile;
};

}  // namespace veltrane
