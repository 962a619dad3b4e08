// The user's schedule of failures, as the engine asks it. The window frmProblemSimulation keeps it; its
// controls are read at the moment of each call.
#pragma once

#include <QtGlobal>

class QString;

namespace veltrane {

class FailureSchedule {
 public:
  virtual ~FailureSchedule() = default;

  // The four decisions. Out arguments are in ms and bytes; a failure goes to the caller.
  virtual bool ShouldConnectionRequestBeRefused() = 0;
  /// strDescription is a copy: the plan of a termination is not told to anybody.
  virtual bool ShouldConnectionBeTerminated(qint32& lngPeriod, QString strDescription) = 0;
  virtual bool ShouldConnectionBeDangled(qint32& lngTimeBeforeDanglePeriod, qint32& lngPeriod,
                                         qint16& intDataToDangle, QString& strDescription) = 0;
  virtual bool IsThrottlingNeeded(bool blnFromServerToClient, qint64 lngDataLength,
                                  qint64& lngAmountOfDataToSend, qint32& lngNextSendPeriod) = 0;

  /// What ends a dangle: 0 closes, 1 sends what was held, 2 drops it. -1 when none is chosen.
  virtual int DangleCloseChoice() const = 0;
  /// How a scheduled termination ends: 0 in good order, 1 by force. -1 when none is chosen.
  virtual int GracefulTerminationChoice() const = 0;
};

}  // namespace veltrane
