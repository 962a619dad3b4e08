// The options of the real-time pane. The recorder and the pane read the values of its controls, not the
// store, so it is loaded early and stays loaded, hidden, until the program ends: what is clicked holds from
// the next event on, and "Cancel" takes it back.
#pragma once

#include <array>
#include <span>

#include "forms/Controls.h"
#include "forms/Form.h"
#include "history/BytesPerRow.h"
#include "history/Surroundings.h"

namespace veltrane {

class General;
class MainShell;

class frmRealTimeData : public Form, public RealTimeDataOptions {
  Q_OBJECT

 public:
  frmRealTimeData(General& general, MainShell& shell);

  bool IsOn(RealTimeSwitch which) const override;
  bool ShowsAllData() const override { return optRealTimeDisplay.Value(0); }
  Colour DirectionColour(int index) const override {
    return lblColor.at(static_cast<std::size_t>(index)).BackColor();
  }

  /// The character code of the format's letter, in decimal; empty for plain text.
  QString GetPrintFFormat() const;

  TabStrip tabOptions{*this, QStringLiteral("tabOptions"), 3};
  CheckBox chkShowRealTimeData{*this, QStringLiteral("chkShowRealTimeData")};
  CheckBox chkClientToVLT{*this, QStringLiteral("chkClientToVLT")};
  CheckBox chkVLTToClient{*this, QStringLiteral("chkVLTToClient")};
  CheckBox chkServerToVLT{*this, QStringLiteral("chkServerToVLT")};
  CheckBox chkVLTToServer{*this, QStringLiteral("chkVLTToServer")};
  CheckBox chkIncludeBufferedData{*this, QStringLiteral("chkIncludeBufferedData")};
  TextBox txtRealTimeDataSize{*this, QStringLiteral("txtRealTimeDataSize")};
  OptionGroup optRealTimeDisplay{*this, QStringLiteral("optRealTimeDisplay"), 2};
  CheckBox chkColourCode{*this, QStringLiteral("chkColourCode")};
  std::array<Label, 4> lblColor{
      Label{*this, QStringLiteral("lblColor_0")}, Label{*this, QStringLiteral("lblColor_1")},
      Label{*this, QStringLiteral("lblColor_2")}, Label{*this, QStringLiteral("lblColor_3")}};
  std::array<CommandButton, 4> cmdColor{
      CommandButton{*this, QStringLiteral("cmdColor_0")}, CommandButton{*this, QStringLiteral("cmdColor_1")},
      CommandButton{*this, QStringLiteral("cmdColor_2")}, CommandButton{*this, QStringLiteral("cmdColor_3")}};
  /// Plain text, hexadecimal, octal, decimal, binary.
  OptionGroup optDisplayAs{*this, QStringLiteral("optDisplayAs"), 5};
  TextBox txtBytesPerRow{*this, QStringLiteral("txtBytesPerRow")};
  SpinButton upBytesPerRow{
      *this, QStringLiteral("upBytesPerRow"), txtBytesPerRow, kFewestPerRow, kMostPerRow, kPerRowStep};
  CheckBox chkIncludeDateTimeStamp{*this, QStringLiteral("chkIncludeDateTimeStamp")};
  CheckBox chkIncludeDataDirection{*this, QStringLiteral("chkIncludeDataDirection")};
  CheckBox chkIncludeDescription{*this, QStringLiteral("chkIncludeDescription")};
  CommandButton cmdOK{*this, QStringLiteral("cmdOK")};
  CommandButton cmdCancel{*this, QStringLiteral("cmdCancel")};

 protected:
  void OnLoad() override;
  bool OnQueryUnload() override;

 private:
  struct Setting;

  /// The settings in the order in which they are saved.
  static std::span<const Setting> Settings();
  void LoadRealTimeSettings();
  void SaveRealTimeSettings();
  void ChooseColour(std::size_t index);

  General& mGeneral;
};

}  // namespace veltrane
