// The dialog for the log file, and the object that writes it: each event as a line, the moment it occurs. It
// stays loaded for the life of the program, shown or not.
//
// The file is text in 8-bit characters with CR LF line ends. A line is a record of 15 fields in double
// quotes with commas between them; only the last, the data, is escaped (see EscapeForLog).
#pragma once

#include "base/Timer.h"
#include "engine/StatusPanes.h"
#include "forms/Controls.h"
#include "forms/Form.h"
#include "history/LogFile.h"
#include "history/Surroundings.h"

namespace veltrane {

class General;

/// CR as "<13>", LF as "<10>", a double quote as "<34>"; everything else as it is, so a literal "<13>" in the
/// data cannot be told from an escape.
QByteArray EscapeForLog(QByteArrayView data);

class frmRealTimeLogging : public Form, public EventLogFile {
  Q_OBJECT

 public:
  frmRealTimeLogging(General& general, StatusPanes& statusBar);

  /// Appends one event. A failure is reported; the next event tries again.
  void SaveEventToLogFile(const SocketPair& objSocketPair, const SocketEvent& objEvent) override;
  bool LoggingEnabled() const override { return chkLoggingEnabled.IsOn(); }

  CheckBox chkLoggingEnabled{*this, QStringLiteral("chkLoggingEnabled")};
  TextBox txtLogFile{*this, QStringLiteral("txtLogFile")};
  CommandButton cmdOpen{*this, QStringLiteral("cmdOpen")};
  CommandButton cmdView{*this, QStringLiteral("cmdView")};
  CommandButton cmdDelete{*this, QStringLiteral("cmdDelete")};
  CommandButton cmdClose{*this, QStringLiteral("cmdClose")};
  Label lblLogSize{*this, QStringLiteral("lblLogSize")};
  Timer tmrLogFileSize;

 protected:
  void OnLoad() override;
  bool OnQueryUnload() override;
  void OnUnload() override;

 private:
  void LoadSettings();
  void SwitchLogging();
  void CloseLogFile() { mLogFile.Close(); }
  void ChooseFile();
  void DeleteFile();
  void ShowSize();
  QByteArray Record(const SocketPair& pair, const SocketEvent& event) const;

  General& mGeneral;
  StatusPanes& mStatusBar;
  LogFile mLogFile;
  bool mSettingsAreLoaded = false;
};

}  // namespace veltrane
