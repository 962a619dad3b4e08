// A failure schedule by hand.
#pragma once

#include <QString>

#include <functional>

#include "engine/FailureSchedule.h"
#include "tests/support/Journal.h"

namespace veltrane {

class FakeSchedule : public FailureSchedule {
 public:
  explicit FakeSchedule(Journal& journal) : mJournal(journal) {}

  bool ShouldConnectionRequestBeRefused() override {
    mJournal.Note(QStringLiteral("ask refuse"));
    if (OnAsked) OnAsked();
    return mRefuse;
  }
  bool ShouldConnectionBeTerminated(qint32& lngPeriod, QString) override {
    mJournal.Note(QStringLiteral("ask terminate"));
    if (OnAsked) OnAsked();
    lngPeriod = mTerminatePeriod;
    return mTerminate;
  }
  bool ShouldConnectionBeDangled(qint32& lngTimeBeforeDanglePeriod, qint32& lngPeriod,
                                 qint16& intDataToDangle, QString& strDescription) override {
    mJournal.Note(QStringLiteral("ask dangle"));
    if (OnAsked) OnAsked();
    lngTimeBeforeDanglePeriod = mTimeBeforeDangle;
    lngPeriod = mDanglePeriod;
    intDataToDangle = mDangleDirection;
    strDescription = mDangleText;
    if (OnDangleAsked) OnDangleAsked();
    return mDangle;
  }
  bool IsThrottlingNeeded(bool blnFromServerToClient, qint64 lngDataLength, qint64& lngAmountOfDataToSend,
                          qint32& lngNextSendPeriod) override {
    if (OnThrottle) OnThrottle();
    const bool on = blnFromServerToClient ? mThrottleS2C : mThrottleC2S;
    lngAmountOfDataToSend = on ? qMin(mThrottleBytes, lngDataLength) : lngDataLength;
    lngNextSendPeriod = on && mThrottleBytes <= lngDataLength ? mThrottlePeriod : 0;
    return on;
  }
  int DangleCloseChoice() const override { return mDangleClose; }
  int GracefulTerminationChoice() const override { return mGraceful; }

  bool mRefuse = false;
  bool mTerminate = false;
  qint32 mTerminatePeriod = 0;
  bool mDangle = false;
  qint32 mTimeBeforeDangle = 0;
  qint32 mDanglePeriod = 0;
  qint16 mDangleDirection = 0;
  QString mDangleText;
  bool mThrottleC2S = false;
  bool mThrottleS2C = false;
  qint64 mThrottleBytes = 3;
  qint32 mThrottlePeriod = 100;
  int mDangleClose = 1;
  int mGraceful = 0;
  std::function<void()> OnAsked;
  std::function<void()> OnDangleAsked;
  std::function<void()> OnThrottle;

 private:
  Journal& mJournal;
};

}  // namespace veltrane
