#include "history/frmRealTimeLogging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <unistd.h>

#include "base/FileFailure.h"
#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/PortTable.h"
#include "engine/ProtocolHandler.h"
#include "engine/SocketPair.h"

namespace veltrane {
namespace {

const QString kSection = QStringLiteral("RealTimeLogging");
const QString kLoggingOn = QStringLiteral("LoggingOn");
const QString kLogFile = QStringLiteral("LogFile");
constexpr int kLoggingPane = 8;
constexpr int kSizeIntervalMs = 1000;

// The last heading has no closing quote. It never had, and readers of old files bear it.
constexpr char kHeader[] =
    "\"Start Time\",\"Connection Id\",\"Protocol\",\"Listening Port\",\"Remote Client IP\",\"Remote Client "
    "Name\",\"Remote Client Port\",\"Remote Server IP\",\"Remote Server Name\",\"Remote Server "
    "Port\",\"Event Type\",\"Description\",\"Err No.\",\"Error String\",\"Data\r\n";

void AppendField(QByteArray& record, const QString& text) {
  record.append('"').append(text.toLatin1()).append("\",");
}

}  // namespace

QByteArray EscapeForLog(QByteArrayView data) {
  QByteArray escaped;
  escaped.reserve(data.size() + data.size() / 8);
  const char* plain = data.begin();
  for (const char* at = data.begin(); at != data.end(); ++at) {
    const char* escape = *at == '\r' ? "<13>" : *at == '\n' ? "<10>" : *at == '"' ? "<34>" : nullptr;
    if (!escape) continue;
    escaped.append(plain, at - plain).append(escape);
    plain = at + 1;
  }
  return escaped.append(plain, data.end() - plain);
}

frmRealTimeLogging::frmRealTimeLogging(General& general, StatusPanes& statusBar)
    : Form(general.mPlatform.desktop, QStringLiteral("frmRealTimeLogging")),
      tmrLogFileSize(general.mPlatform.timers, [this] { ShowSize(); }),
      mGeneral(general),
      mStatusBar(statusBar) {
  SetCaption(QStringLiteral("Real Time Logging"));
  chkLoggingEnabled.SetCaption(QStringLiteral("Enable real time logging of all data and events"));
  cmdView.SetCaption(QStringLiteral("View..."));
  cmdDelete.SetCaption(QStringLiteral("Delete"));
  cmdClose.SetCaption(QStringLiteral("Close"));
  chkLoggingEnabled.OnClick = [this] { SwitchLogging(); };
  cmdOpen.OnClick = [this] { ChooseFile(); };
  cmdView.OnClick = [this] {
    mGeneral.Guard(
        u"An error occurred while attempting to view the log file.  The operating system reports: ",
        [this] { GetDesktop().OpenDocument(txtLogFile.Text()); });
  };
  cmdDelete.OnClick = [this] { DeleteFile(); };
  cmdClose.OnClick = [this] { Hide(); };
  SetCancelButton(cmdClose);
}

void frmRealTimeLogging::OnLoad() {
  // Only the folder of the default file is made; usually it is there.
  QDir().mkpath(mGeneral.mPlatform.writeFolder + QStringLiteral("/Log"));
  LoadSettings();
  ShowSize();
  tmrLogFileSize.SetInterval(kSizeIntervalMs);
  tmrLogFileSize.SetEnabled(true);
}

void frmRealTimeLogging::LoadSettings() {
  // The file first: switching on is what begins to write.
  txtLogFile.SetText(mGeneral.mPlatform.writeFolder + QStringLiteral("/Log/Log.txt"));
  chkLoggingEnabled.SetValue(0);
  mGeneral.Guard(
      u"An error occurred while attempting to load the real time logging settings.  The operating system "
      u"reports: ",
      [this] {
        txtLogFile.SetText(mGeneral.mSettings.Get(kSection, kLogFile, txtLogFile.Text()));
        const QString loggingOn = mGeneral.mSettings.Get(kSection, kLoggingOn, QStringLiteral("0"));
        mSettingsAreLoaded = true;
        chkLoggingEnabled.SetValue(ToInt32(loggingOn));
      });
}

// Both texts end in a blank.
void frmRealTimeLogging::SwitchLogging() {
  if (chkLoggingEnabled.IsOn()) {
    mStatusBar.SetPaneText(kLoggingPane, QStringLiteral("Logging: ON "));
  } else {
    mStatusBar.SetPaneText(kLoggingPane, QStringLiteral("Logging: Off "));
    CloseLogFile();
  }
}

void frmRealTimeLogging::SaveEventToLogFile(const SocketPair& objSocketPair, const SocketEvent& objEvent) {
  mGeneral.Guard(u"An error occurred while attempting to write the log file.  The operating system reports: ",
                 [&] {
                   if (!mLogFile.IsOpen() || mLogFile.Path() != txtLogFile.Text()) {
                     mLogFile.Open(txtLogFile.Text(), kHeader);
                   }
                   mLogFile.Append(Record(objSocketPair, objEvent));
                 });
}

// Whom the connection joins is asked of the pair, as it is now. A field that holds a quote shows it: only the
// data is escaped.
QByteArray frmRealTimeLogging::Record(const SocketPair& pair, const SocketEvent& event) const {
  // A pair that was unloaded while its own event still runs has none.
  const ProtocolHandler* handler = pair.mobjProtocolHandler.get();
  QByteArray record;
  // A copy, so that what waited long is not joined in the event itself.
  const QByteArray data = EscapeForLog(Payload(event.mstrData).View());
  record.reserve(data.size() + 512);
  AppendField(record, event.mstrEventTime);
  AppendField(record, pair.SocketPairKey());
  AppendField(record, handler ? handler->GetProtocolName() : QString());
  AppendField(record, QString::number(handler ? handler->mlngWasListeningOnPort : 0));
  AppendField(record, pair.RemoteClientIP());
  AppendField(record, pair.RemoteClientName());
  AppendField(record, QString::number(pair.RemoteClientPort()));
  AppendField(record, pair.RemoteServerIP());
  AppendField(record, pair.RemoteServerName());
  AppendField(record, QString::number(pair.RemoteServerPort()));
  AppendField(record, QString::number(event.mobjEventType));
  AppendField(record, event.mstrDescription);
  AppendField(record, QString::number(event.mlngErrorNumber));
  AppendField(record, event.mstrErrorString);
  return record.append('"').append(data).append("\"\r\n");
}

void frmRealTimeLogging::ChooseFile() {
  FileBox box;
  box.title = QStringLiteral("Log File");
  box.path = txtLogFile.Text().isEmpty() ? QStringLiteral("Log.txt") : txtLogFile.Text();
  box.filter = QStringLiteral("*.*");
  box.forSaving = true;
  box.folderMustExist = true;
  if (const std::optional<QString> path = GetDesktop().AskForFile(box)) txtLogFile.SetText(*path);
}

void frmRealTimeLogging::DeleteFile() {
  const BoxAnswer answer = GetDesktop().Ask({QStringLiteral("Are you sure you want to delete this log file?"),
                                             BoxIcon::kQuestion, BoxButtons::kYesNo, kApplicationName});
  if (answer != BoxAnswer::kYes) return;
  CloseLogFile();
  mGeneral.Guard(
      u"An error occurred while attempting to delete the log file.  The operating system reports: ", [this] {
        const QByteArray path = QFile::encodeName(txtLogFile.Text());
        if (::unlink(path.constData()) != 0) throw FileFailure(errno, txtLogFile.Text());
      });
}

void frmRealTimeLogging::ShowSize() {
  const QFileInfo file(txtLogFile.Text());
  const qint64 size = file.isFile() ? file.size() : 0;
  lblLogSize.SetCaption(QString::number(size) + QStringLiteral(" bytes"));
}

// Its controls are read for the life of the program: closing the frame only saves and hides it. At the end of
// the program the listener goes before the windows; that the main window was closed once, to the tray, is no
// end.
bool frmRealTimeLogging::OnQueryUnload() {
  // What could not be read must not be written over.
  if (mSettingsAreLoaded) {
    mGeneral.Guard(
        u"An error occurred while attempting to save the real time logging settings.  The operating system "
        u"reports: ",
        [this] {
          mGeneral.mSettings.Save(kSection, kLoggingOn, QString::number(chkLoggingEnabled.Value()));
          mGeneral.mSettings.Save(kSection, kLogFile, txtLogFile.Text());
        });
  }
  CloseLogFile();
  if (!mGeneral.gobjListening) return true;
  Hide();
  return false;
}

void frmRealTimeLogging::OnUnload() {
  tmrLogFileSize.SetEnabled(false);
}

}  // namespace veltrane
