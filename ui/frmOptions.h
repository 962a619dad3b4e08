// The general options. Others read the values of its controls, not the store, so it is loaded early and stays
// loaded, hidden, until the program ends. Five of its boxes act at the click; the rest holds from OK on.
#pragma once

#include <span>

#include "forms/Controls.h"
#include "forms/Form.h"
#include "history/Surroundings.h"

namespace veltrane {

class General;
class MainShell;

class frmOptions : public Form, public PurgeOptions {
  Q_OBJECT

 public:
  /// frmSysTray's form is loaded and unloaded with its option. autostartFolder is where the desktop looks for
  /// what it starts with the session.
  frmOptions(General& general, MainShell& shell, Form& sysTray, const QString& autostartFolder);

  // The entry that starts the program with the user's session. Both run past every failure.
  void RunAtStartUp();
  void DoNotRunAtStartUp();

  // The first reader loads the form.
  bool Discard() const override { return Loaded().chkDiscard.IsOn(); }
  QString NumberToKeep() const override { return Loaded().txtNumberToKeep.Text(); }
  QString MaxMemorySize() const override { return Loaded().txtMaxMemorySize.Text(); }
  QString MaximumEventCount() const override { return Loaded().txtMaximumEventCount.Text(); }
  bool RemoveEphemeralPortReferences() const override {
    return Loaded().chkRemoveEphemeralPortReferences.IsOn();
  }

  TabStrip tabOptions{*this, QStringLiteral("tabOptions"), 3};
  CheckBox chkRunAtStartup{*this, QStringLiteral("chkRunAtStartup")};
  CheckBox chkDisplayInSysTray{*this, QStringLiteral("chkDisplayInSysTray")};
  CheckBox chkRunMinimized{*this, QStringLiteral("chkRunMinimized")};
  CheckBox chkShowToolBar{*this, QStringLiteral("chkShowToolBar")};
  CheckBox chkShowStatusBar{*this, QStringLiteral("chkShowStatusBar")};
  CheckBox chkAnimateConnectionDiagram{*this, QStringLiteral("chkAnimateConnectionDiagram")};
  CheckBox chkDiscard{*this, QStringLiteral("chkDiscard")};
  TextBox txtNumberToKeep{*this, QStringLiteral("txtNumberToKeep")};
  SpinButton updNumberToKeep{*this, QStringLiteral("updNumberToKeep"), txtNumberToKeep, 0, 32767, 1};
  TextBox txtMaxMemorySize{*this, QStringLiteral("txtMaxMemorySize")};
  SpinButton updMaxMemorySize{*this, QStringLiteral("updMaxMemorySize"), txtMaxMemorySize, 0, 4194303, 100};
  TextBox txtMaximumEventCount{*this, QStringLiteral("txtMaximumEventCount")};
  // From 1: a limit of no events at all makes every run of the purge fail.
  SpinButton upMaximumEventCount{*this, QStringLiteral("upMaximumEventCount"), txtMaximumEventCount, 1, 32767,
                                 10};
  CheckBox chkRemoveEphemeralPortReferences{*this, QStringLiteral("chkRemoveEphemeralPortReferences")};
  CommandButton cmdOK{*this, QStringLiteral("cmdOK")};
  CommandButton cmdCancel{*this, QStringLiteral("cmdCancel")};

 protected:
  void OnLoad() override;
  bool OnQueryUnload() override;

 private:
  struct Setting;

  /// The settings in the order in which they are saved.
  static std::span<const Setting> Settings();
  frmOptions& Loaded() const;
  void ReadSettings();
  void ReadSetting(const Setting& setting);
  void SetValue(const Setting& setting, const QString& text);
  void SaveSettings();
  void DisplayInSysTray();

  General& mGeneral;
  MainShell& mShell;
  Form& mSysTray;
  const QString mAutostartFolder;
};

}  // namespace veltrane
