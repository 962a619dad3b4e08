// The window "Connection Failure Simulation Strategies", and the schedule of failures itself: the decisions
// read the controls at the moment of the call, so a change holds from the next decision on, with no
// confirmation. Loaded at the start and hidden, it stays loaded until the program ends.
#pragma once

#include <QHash>

#include <span>

#include "engine/FailureSchedule.h"
#include "forms/Controls.h"
#include "forms/Form.h"

namespace veltrane {

class General;
class SocketPair;
class StatusPanes;

class frmProblemSimulation : public Form, public FailureSchedule {
  Q_OBJECT

 public:
  frmProblemSimulation(General& general, StatusPanes& statusPanes);

  /// Counts the request, whether refusing is on or not. Fails with an overflow for every Nth above 32767.
  bool ShouldConnectionRequestBeRefused() override;
  /// Counts the connection, whether terminating is on or not. lngPeriod, the delay in ms, is worked out in
  /// any case, and keeps its value when the delay's field is not numeric.
  bool ShouldConnectionBeTerminated(qint32& lngPeriod, QString strDescription) override;
  /// Goes by the count of ShouldConnectionBeTerminated, which therefore is asked first. Periods in ms and
  /// the direction (0 client to server, 1 server to client, 2 both) are worked out in any case: dangling all
  /// open connections goes by them.
  bool ShouldConnectionBeDangled(qint32& lngTimeBeforeDanglePeriod, qint32& lngPeriod,
                                 qint16& intDataToDangle, QString& strDescription) override;
  /// Fails with a type mismatch when a field of the direction is not numeric. True also when all the data
  /// fits: such a send has a period of 0.
  bool IsThrottlingNeeded(bool blnFromServerToClient, qint64 lngDataLength, qint64& lngAmountOfDataToSend,
                          qint32& lngNextSendPeriod) override;
  int DangleCloseChoice() const override { return optDangleClose.Selected(); }
  int GracefulTerminationChoice() const override { return optGracefulTermination.Selected(); }

  // Both counters wrap from 32767 to -32768 and are never reset.
  qint16 mintConnectionCount = 0;
  qint16 mintConnectionRequestCount = 0;

  TabStrip tabOptions{*this, QStringLiteral("tabOptions"), 3};
  CommandButton cmdOK{*this, QStringLiteral("cmdOK")};

  CheckBox chkTerminateConnections{*this, QStringLiteral("chkTerminateConnections")};
  OptionGroup optClose{*this, QStringLiteral("optClose"), 2};
  TextBox txtTerminateNthConnection{*this, QStringLiteral("txtTerminateNthConnection")};
  TextBox txtTerminateNPercOfConnections{*this, QStringLiteral("txtTerminateNPercOfConnections")};
  OptionGroup optCloseTime{*this, QStringLiteral("optCloseTime"), 2};
  TextBox txtTerminateTime{*this, QStringLiteral("txtTerminateTime")};
  TextBox txtTerminateTimeFrom{*this, QStringLiteral("txtTerminateTimeFrom")};
  TextBox txtTerminateTimeTo{*this, QStringLiteral("txtTerminateTimeTo")};
  OptionGroup optGracefulTermination{*this, QStringLiteral("optGracefulTermination"), 2};
  CheckBox chkRefuseConnections{*this, QStringLiteral("chkRefuseConnections")};
  OptionGroup optRefuse{*this, QStringLiteral("optRefuse"), 2};
  TextBox txtRefuseNthConnection{*this, QStringLiteral("txtRefuseNthConnection")};
  TextBox txtRefuseNPercOfConnections{*this, QStringLiteral("txtRefuseNPercOfConnections")};
  CommandButton cmdTerminateAllConnections{*this, QStringLiteral("cmdTerminateAllConnections")};

  CheckBox chkThrottleS2CData{*this, QStringLiteral("chkThrottleS2CData")};
  OptionGroup optS2CThrottle{*this, QStringLiteral("optS2CThrottle"), 2};
  TextBox txtS2CBytes{*this, QStringLiteral("txtS2CBytes")};
  TextBox txtS2CPeriod{*this, QStringLiteral("txtS2CPeriod")};
  TextBox txtS2CBytesFrom{*this, QStringLiteral("txtS2CBytesFrom")};
  TextBox txtS2CBytesTo{*this, QStringLiteral("txtS2CBytesTo")};
  TextBox txtS2CPeriodFrom{*this, QStringLiteral("txtS2CPeriodFrom")};
  TextBox txtS2CPeriodTo{*this, QStringLiteral("txtS2CPeriodTo")};
  CheckBox chkThrottleC2SData{*this, QStringLiteral("chkThrottleC2SData")};
  OptionGroup optC2SThrottle{*this, QStringLiteral("optC2SThrottle"), 2};
  TextBox txtC2SBytes{*this, QStringLiteral("txtC2SBytes")};
  TextBox txtC2SPeriod{*this, QStringLiteral("txtC2SPeriod")};
  TextBox txtC2SBytesFrom{*this, QStringLiteral("txtC2SBytesFrom")};
  TextBox txtC2SBytesTo{*this, QStringLiteral("txtC2SBytesTo")};
  TextBox txtC2SPeriodFrom{*this, QStringLiteral("txtC2SPeriodFrom")};
  TextBox txtC2SPeriodTo{*this, QStringLiteral("txtC2SPeriodTo")};

  CheckBox chkDangleConnections{*this, QStringLiteral("chkDangleConnections")};
  OptionGroup optDangle{*this, QStringLiteral("optDangle"), 2};
  TextBox txtDangleNthConnection{*this, QStringLiteral("txtDangleNthConnection")};
  TextBox txtDangleNPercOfConnections{*this, QStringLiteral("txtDangleNPercOfConnections")};
  OptionGroup optDangleStartTime{*this, QStringLiteral("optDangleStartTime"), 2};
  TextBox txtDangleStartTime{*this, QStringLiteral("txtDangleStartTime")};
  TextBox txtDangleStartTimeFrom{*this, QStringLiteral("txtDangleStartTimeFrom")};
  TextBox txtDangleStartTimeTo{*this, QStringLiteral("txtDangleStartTimeTo")};
  OptionGroup optDangleStopTime{*this, QStringLiteral("optDangleStopTime"), 2};
  TextBox txtDangleStopTime{*this, QStringLiteral("txtDangleStopTime")};
  TextBox txtDangleStopTimeFrom{*this, QStringLiteral("txtDangleStopTimeFrom")};
  TextBox txtDangleStopTimeTo{*this, QStringLiteral("txtDangleStopTimeTo")};
  OptionGroup optDangleClose{*this, QStringLiteral("optDangleClose"), 3};
  OptionGroup optDangleDirections{*this, QStringLiteral("optDangleDirections"), 3};
  CommandButton cmdDangleAll{*this, QStringLiteral("cmdDangleAll")};

 protected:
  void OnLoad() override;
  bool OnQueryUnload() override;
  void OnUnload() override { SaveSettings(); }

 private:
  // Rows of tables that name controls of this form.
  struct Field;
  struct Pane;
  struct Chance;
  struct Delay;
  struct Throttle;
  using Check = bool (frmProblemSimulation::*)(const QString& text);

  /// The settings in the order in which they are loaded and saved.
  static std::span<const Field> Fields();
  void LoadField(const Field& field, const QString& stored);
  void SaveSettings();
  QString Key(const Field& field) const;
  QString Value(const Field& field) const;
  /// What the user has chosen by the field: its value, or the option that its group has set.
  QString Choice(const Field& field) const;
  void SetValue(const Field& field, const QString& text);

  void CheckOnLeaving(TextBox& box, Check check);
  bool IsValidPeriod(const QString& text);
  bool IsValidAmount(const QString& text);
  void Tell(const QString& text);
  void RefreshFailureStatus();
  void ForEachOpenConnection(void (SocketPair::*act)());

  bool IsHit(const Chance& chance, qint16 count) const;
  void WorkOut(const Delay& delay, qint32& period) const;

  General& mGeneral;
  StatusPanes& mStatusPanes;
  /// Defaults that stand in for settings which could not be read are not written over them; what the user has
  /// changed since is.
  bool mSettingsWereRead = false;
  /// The choice of each field, by its key, as it was last loaded or saved.
  QHash<QString, QString> mLoadedOrSaved;
};

}  // namespace veltrane
