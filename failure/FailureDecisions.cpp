// The decisions of frmProblemSimulation. Draws are made only where a rule says so, and in its order: with a
// fixed seed the same traffic gets the same decisions.
#include "base/Numbers.h"
#include "engine/General.h"
#include "failure/Drawing.h"
#include "failure/frmProblemSimulation.h"

namespace veltrane {
namespace {

const QString kMilliseconds = QStringLiteral(" mSecs");

qint16 Next(qint16 count) {
  // Wraps without a failure, by design.
  return static_cast<qint16>(count + 1);
}

}  // namespace

/// Every Nth (option 0) or a percentage (option 1), when the box is on.
struct frmProblemSimulation::Chance {
  CheckBox frmProblemSimulation::*box;
  OptionGroup frmProblemSimulation::*choice;
  TextBox frmProblemSimulation::*nth;
  TextBox frmProblemSimulation::*percent;
};

/// A time in ms: fixed (option 0) or from a range (option 1).
struct frmProblemSimulation::Delay {
  OptionGroup frmProblemSimulation::*choice;
  TextBox frmProblemSimulation::*fixed;
  TextBox frmProblemSimulation::*from;
  TextBox frmProblemSimulation::*to;
};

/// One direction's bytes at a time and ms between two sends: fixed (option 0) or from ranges (option 1).
struct frmProblemSimulation::Throttle {
  CheckBox frmProblemSimulation::*box;
  OptionGroup frmProblemSimulation::*choice;
  TextBox frmProblemSimulation::*bytes;
  TextBox frmProblemSimulation::*period;
  TextBox frmProblemSimulation::*bytesFrom;
  TextBox frmProblemSimulation::*bytesTo;
  TextBox frmProblemSimulation::*periodFrom;
  TextBox frmProblemSimulation::*periodTo;
};

bool frmProblemSimulation::IsHit(const Chance& chance, qint16 count) const {
  if (!(this->*chance.box).IsOn()) return false;
  switch ((this->*chance.choice).Selected()) {
    case 0:
      return IsNthHit(count, (this->*chance.nth).Text());
    case 1:
      return IsPercentHit((this->*chance.percent).Text(), mGeneral.mPlatform.random);
    default:
      return false;
  }
}

// A period that has no usable field keeps the value it had.
void frmProblemSimulation::WorkOut(const Delay& delay, qint32& period) const {
  const QString& fixed = (this->*delay.fixed).Text();
  const QString& from = (this->*delay.from).Text();
  const QString& to = (this->*delay.to).Text();
  const int choice = (this->*delay.choice).Selected();
  if (choice == 0 && IsNumeric(fixed)) period = ToInt32(fixed);
  if (choice == 1 && IsNumeric(from) && IsNumeric(to)) {
    period = DrawFromRange(from, to, mGeneral.mPlatform.random);
  }
}

bool frmProblemSimulation::ShouldConnectionRequestBeRefused() {
  // A connection can come before the start-up has got to this window.
  Load();
  static constexpr Chance kRefuse{
      &frmProblemSimulation::chkRefuseConnections, &frmProblemSimulation::optRefuse,
      &frmProblemSimulation::txtRefuseNthConnection, &frmProblemSimulation::txtRefuseNPercOfConnections};
  mintConnectionRequestCount = Next(mintConnectionRequestCount);
  return IsHit(kRefuse, mintConnectionRequestCount);
}

bool frmProblemSimulation::ShouldConnectionBeTerminated(qint32& lngPeriod, QString strDescription) {
  Load();
  static constexpr Chance kTerminate{&frmProblemSimulation::chkTerminateConnections,
                                     &frmProblemSimulation::optClose,
                                     &frmProblemSimulation::txtTerminateNthConnection,
                                     &frmProblemSimulation::txtTerminateNPercOfConnections};
  static constexpr Delay kTime{&frmProblemSimulation::optCloseTime, &frmProblemSimulation::txtTerminateTime,
                               &frmProblemSimulation::txtTerminateTimeFrom,
                               &frmProblemSimulation::txtTerminateTimeTo};
  mintConnectionCount = Next(mintConnectionCount);
  const bool hit = IsHit(kTerminate, mintConnectionCount);
  WorkOut(kTime, lngPeriod);
  // The text goes no further than this copy. That is how it is: the plan of a termination is not told, though
  // that of a dangle is.
  if (hit) {
    strDescription =
        QStringLiteral("Connection to be terminated in ") + QString::number(lngPeriod) + kMilliseconds;
  }
  return hit;
}

bool frmProblemSimulation::ShouldConnectionBeDangled(qint32& lngTimeBeforeDanglePeriod, qint32& lngPeriod,
                                                     qint16& intDataToDangle, QString& strDescription) {
  Load();
  static constexpr Chance kDangle{
      &frmProblemSimulation::chkDangleConnections, &frmProblemSimulation::optDangle,
      &frmProblemSimulation::txtDangleNthConnection, &frmProblemSimulation::txtDangleNPercOfConnections};
  static constexpr Delay kStart{
      &frmProblemSimulation::optDangleStartTime, &frmProblemSimulation::txtDangleStartTime,
      &frmProblemSimulation::txtDangleStartTimeFrom, &frmProblemSimulation::txtDangleStartTimeTo};
  static constexpr Delay kStop{
      &frmProblemSimulation::optDangleStopTime, &frmProblemSimulation::txtDangleStopTime,
      &frmProblemSimulation::txtDangleStopTimeFrom, &frmProblemSimulation::txtDangleStopTimeTo};
  lngTimeBeforeDanglePeriod = 0;
  lngPeriod = 0;
  intDataToDangle = 0;
  const bool hit = IsHit(kDangle, mintConnectionCount);
  WorkOut(kStart, lngTimeBeforeDanglePeriod);
  WorkOut(kStop, lngPeriod);
  if (hit) {
    // "will dangled" is how it reads.
    strDescription = QStringLiteral("Connection to be dangled in ") +
                     QString::number(lngTimeBeforeDanglePeriod) + kMilliseconds +
                     QStringLiteral(" and it will dangled for ") + QString::number(lngPeriod) + kMilliseconds;
  }
  const int direction = optDangleDirections.Selected();
  if (direction >= 0) intDataToDangle = static_cast<qint16>(direction);
  return hit;
}

bool frmProblemSimulation::IsThrottlingNeeded(bool blnFromServerToClient, qint64 lngDataLength,
                                              qint64& lngAmountOfDataToSend, qint32& lngNextSendPeriod) {
  Load();
  using F = frmProblemSimulation;
  static constexpr Throttle kC2S{&F::chkThrottleC2SData, &F::optC2SThrottle,  &F::txtC2SBytes,
                                 &F::txtC2SPeriod,       &F::txtC2SBytesFrom, &F::txtC2SBytesTo,
                                 &F::txtC2SPeriodFrom,   &F::txtC2SPeriodTo};
  static constexpr Throttle kS2C{&F::chkThrottleS2CData, &F::optS2CThrottle,  &F::txtS2CBytes,
                                 &F::txtS2CPeriod,       &F::txtS2CBytesFrom, &F::txtS2CBytesTo,
                                 &F::txtS2CPeriodFrom,   &F::txtS2CPeriodTo};
  const Throttle& throttle = blnFromServerToClient ? kS2C : kC2S;
  const auto text = [this](TextBox F::*box) -> const QString& { return (this->*box).Text(); };
  RandomGenerator& random = mGeneral.mPlatform.random;
  if (!(this->*throttle.box).IsOn()) {
    lngAmountOfDataToSend = lngDataLength;
    lngNextSendPeriod = 0;
    return false;
  }
  const OptionGroup& choice = this->*throttle.choice;
  if (choice.Value(0)) {
    lngAmountOfDataToSend = ToInt32(text(throttle.bytes));
    lngNextSendPeriod = ToInt32(text(throttle.period));
  } else if (choice.Value(1)) {
    lngAmountOfDataToSend = DrawFromRange(text(throttle.bytesFrom), text(throttle.bytesTo), random);
    lngNextSendPeriod = DrawFromRange(text(throttle.periodFrom), text(throttle.periodTo), random);
  }
  if (lngAmountOfDataToSend > lngDataLength) {
    lngAmountOfDataToSend = lngDataLength;
    lngNextSendPeriod = 0;
  }
  return true;
}

}  // namespace veltrane
