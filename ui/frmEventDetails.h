// One recorded event in full. It stands beside the main window, follows the selection in its tree, walks
// through the events of the connection with arrows, and moves the highlight in the diagram as it does so.
#pragma once

#include <array>
#include <functional>

#include "base/Timer.h"
#include "forms/Controls.h"
#include "forms/Form.h"
#include "forms/RichTextBox.h"
#include "forms/WindowParts.h"
#include "history/BytesPerRow.h"
#include "history/SocketPairHistory.h"
#include "ui/MainSurroundings.h"

namespace veltrane {

class EventDiagram;
class General;

class frmEventDetails : public Form, public EventDetails {
  Q_OBJECT

 public:
  frmEventDetails(General& general, EventDiagram& diagram);

  bool SetDetails(const SocketPairHistoryRef& history, qint16 position) override;
  void ClearDetails() override;
  /// Fills the window; true when it has no event. After a failure, which is not reported, it stays as far as
  /// it got.
  bool ShowDetails();
  /// The arrows go by the number of events that the connection has by now.
  void RefreshNavigationButtons();
  /// The letter of the format that is chosen, see FormatText; 0 for plain text.
  quint8 GetFormatCode() const;

  // Of two buttons the first stands on the first page.
  TabStrip tabTab{*this, QStringLiteral("tabTab"), 2};
  Label lblEventTime{*this, QStringLiteral("lblEventTime")};
  Label lblFinishTime{*this, QStringLiteral("lblFinishTime")};
  Label lblDescription{*this, QStringLiteral("lblDescription")};
  Label lblErrorNumber{*this, QStringLiteral("lblErrorNumber")};
  Label lblErrorDescription{*this, QStringLiteral("lblErrorDescription")};
  Label lblRemoteClient{*this, QStringLiteral("lblRemoteClient")};
  Label lblRemoteServer{*this, QStringLiteral("lblRemoteServer")};
  std::array<CommandButton, 2> cmdLeft{CommandButton{*this, QStringLiteral("cmdLeft_0")},
                                       CommandButton{*this, QStringLiteral("cmdLeft_1")}};
  std::array<CommandButton, 2> cmdRight{CommandButton{*this, QStringLiteral("cmdRight_0")},
                                        CommandButton{*this, QStringLiteral("cmdRight_1")}};
  RichTextBox txtData{*this, QStringLiteral("txtData")};
  Area fraContainer{*this, QStringLiteral("fraContainer")};
  ComboBox cboFormat{*this, QStringLiteral("cboFormat")};
  TextBox txtBytesPerRow{*this, QStringLiteral("txtBytesPerRow")};
  SpinButton updBytesPerRow{
      *this, QStringLiteral("updBytesPerRow"), txtBytesPerRow, kFewestPerRow, kMostPerRow, kPerRowStep};
  Timer tmrControlAvailability;

  // In twips.
  static constexpr int kLeastWidth = 4740;
  static constexpr int kLeastHeight = 4005;

 protected:
  void OnLoad() override;
  void OnActivate() override;
  void OnResize() override;
  void OnUnload() override;

 private:
  friend struct FrmEventDetailsTest;

  /// The position of an event that was purged.
  static constexpr qint16 kGone = -1;

  /// What txtData shows: the same again leaves it alone.
  struct Shown {
    Payload data = {};
    quint8 format = 0;
    qint16 bytesPerRow = 0;
    bool operator==(const Shown& other) const {
      return data.IsSameAs(other.data) && format == other.format && bytesPerRow == other.bytesPerRow;
    }
  };

  void LoadSettings();
  void SaveSettings();
  /// A stored value that cannot be read or used is reported, and the other holds.
  void LoadSetting(const QString& name, const QString& whenMissing,
                   const std::function<void(const QString& text)>& use);
  void FollowPurges();
  bool Fill();
  void ShowFields(const SocketEvent& event);
  void ShowData(const Payload& data);
  void ShowEnds();
  bool ShowInDiagram(const SocketEvent& event);
  void Blank();
  void EnableDetails(bool enabled);
  void Step(int by);

  General& mGeneral;
  EventDiagram& mDiagram;
  SocketPairHistoryRef mobjHistory;
  qint16 mintEventIndex = 0;  // from 1; 0 is no event
  qint64 mRemoved = 0;        // events that purges had taken when that was its position
  Shown mShown;
};

}  // namespace veltrane
