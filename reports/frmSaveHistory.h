// The dialog "Save Data": saves the history of the connection that is selected in the tree. Its controls are
// the options, which SavingData and SavingHTML read. Every loading begins with the options as designed; only
// the path is remembered.
#pragma once

#include "forms/Controls.h"
#include "forms/Form.h"
#include "history/SocketPairHistory.h"

namespace veltrane {

class General;
class Logging;
class TreeNode;

class frmSaveHistory : public Form {
  Q_OBJECT

 public:
  /// To be shown over mainWindow, which gets the focus after a save. Where no connection and none of its
  /// events is selected, the dialog closes while it loads, and is not shown.
  frmSaveHistory(General& general, const Logging& logging, Form& mainWindow);

  /// What it saves was selected when it came up, so nothing else can be selected while it is open.
  bool BlocksOwner() const override { return true; }

  /// The key of the history that a node stands for: its own for a connection, its parent's for an event,
  /// otherwise an empty one. This is also when the menu's entry is enabled.
  static QString HistoryKeyOf(const TreeNode* node);

  TextBox txtFile{*this, QStringLiteral("txtFile")};
  CommandButton cmdFile{*this, QStringLiteral("cmdFile")};
  CommandButton cmdView{*this, QStringLiteral("cmdView")};
  OptionGroup optFormat{*this, QStringLiteral("optFormat"), 2};
  /// Nothing hangs on it: the button is there and does nothing.
  CommandButton cmdHTMLOptions{*this, QStringLiteral("cmdHTMLOptions")};
  /// Raw, hexadecimal, octal, decimal, binary.
  OptionGroup optDisplayAs{*this, QStringLiteral("optDisplayAs"), 5};
  ComboBox cboDirection{*this, QStringLiteral("cboDirection")};
  TextBox txtBytesPerRow{*this, QStringLiteral("txtBytesPerRow")};
  SpinButton upBytesPerRow;
  CheckBox chkIncludeBufferedData{*this, QStringLiteral("chkIncludeBufferedData")};
  CheckBox chkIncludeNonDataEvents{*this, QStringLiteral("chkIncludeNonDataEvents")};
  CheckBox chkIncludeDateTimeStamp{*this, QStringLiteral("chkIncludeDateTimeStamp")};
  CheckBox chkIncludeDataDirection{*this, QStringLiteral("chkIncludeDataDirection")};
  CheckBox chkIncludeDescription{*this, QStringLiteral("chkIncludeDescription")};
  CheckBox chkAutoOpen{*this, QStringLiteral("chkAutoOpen")};
  CommandButton cmdSave{*this, QStringLiteral("cmdSave")};
  CommandButton cmdCancel{*this, QStringLiteral("cmdCancel")};

 protected:
  void OnLoad() override;
  void OnActivate() override { RefreshView(); }
  void OnUnload() override;

 private:
  void SetDesignedOptions();
  SocketPairHistoryRef SelectedHistory() const;
  QString RememberedFile();
  QString DefaultFile() const;
  void ChooseFormat(int index);
  void ChooseDigits(int index);
  void EnableIncludes(bool enabled);
  void RefreshView();
  void ChooseFile();
  void Save();
  bool SaveAsChosen();
  void OpenSavedFile();

  General& mGeneral;
  const Logging& mLogging;
  Form& mMainWindow;
  // Held while the dialog is open: a purge does not take away what is about to be saved.
  SocketPairHistoryRef mHistory;
  bool mFileIsRemembered = false;
};

}  // namespace veltrane
