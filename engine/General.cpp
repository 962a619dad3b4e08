#include "engine/General.h"

#include <QStringList>

#include <array>
#include <exception>

#include "base/Numbers.h"
#include "engine/Listening.h"
#include "engine/MainWindow.h"
#include "engine/PortTable.h"
#include "engine/SocketArray.h"
#include "forms/TreeView.h"

namespace veltrane {
namespace {

struct FirstPort {
  qint32 port;
  const char* description;
  const char* protocol;
};

constexpr std::array kFirstPorts{
    FirstPort{25, "SMTP - Outgoing e-mail", "Pass Through"},
    FirstPort{110, "POP3 - Incoming e-mail", "POP3"},
    FirstPort{8080, "HTTP Proxy - Web", "HTTP"},
    FirstPort{443, "HTTPS Proxy - Secure Web", "HTTPS"},
    FirstPort{21, "FTP - File Transfer Protocol", "FTP"},
    FirstPort{1000, "Pass Through - For Testing Apps", "Pass Through"},
};

void SaveColumn(const ApplicationSettings& settings, const QString& section,
                const char* const FirstPort::*column) {
  for (const FirstPort& row : kFirstPorts) {
    settings.Save(section, QString::number(row.port), QString::fromLatin1(row.*column));
  }
}

void SaveDestination(const ApplicationSettings& settings, qint32 port, const QString& server) {
  const QString section = PortSection(QStringLiteral("Pass Through"), port);
  settings.Save(section, QStringLiteral("Port"), QString::number(port));
  settings.Save(section, QStringLiteral("Server"), server);
}

/// Writes value with leading zeros into width characters, and what follows it.
QChar* PutDigits(QChar* at, int value, int width, QChar behind) {
  for (int i = width - 1; i >= 0; --i, value /= 10)
    at[i] = QChar(u'0' + value % 10);
  at[width] = behind;
  return at + width + 1;
}

}  // namespace

QString PortNodeText(const QString& description, qint32 port, bool listening) {
  return PortNodeText(description, QString::number(port), listening);
}

QString PortNodeText(const QString& description, const QString& port, bool listening) {
  const QString text = description + QStringLiteral(" (") + port + u')';
  return listening ? text : text + QStringLiteral(" - Not Listening");
}

General::General(const Platform& platform, ProtocolTable protocols)
    : mPlatform(platform),
      mSettings(platform.store, kApplicationName),
      mProtocolTable(std::move(protocols)),
      mPayloadLimit(platform.timers) {
  mPlatform.sockets.OnLingering = [this](qint64 bytes) { mPayloadLimit.Change(bytes); };
  mPlatform.sockets.MayGiveUp = [this](qint64 bytes) { return MayGiveUp(bytes); };
}

General::~General() {
  mPlatform.sockets.OnLingering = nullptr;
  mPlatform.sockets.MayGiveUp = nullptr;
}

// As long as nobody waits for the room, who takes nothing may be stopped in a debugger.
bool General::MayGiveUp(qint64 bytes) {
  if (!mPayloadLimit.IsReached() || mPayloadLimit.WaitingCount() == 0) return false;
  LogError(QStringLiteral(
               "A closed connection was given up with %1 bytes for a peer that has taken nothing for 30 "
               "seconds: all connections together hold as much as they may. Give them a larger share "
               "of the memory by the value PayloadMemoryPercent of the settings' section Options, then start "
               "Veltrane again.")
               .arg(bytes));
  return true;
}

QString General::GetTimeString(bool blnMilliseconds) {
  QString text;
  // "to the get" is how the message reads.
  Guard(u"An error occurred while attempting to the get the system time.  The operating system reports: ",
        [&] {
          const LocalTime now = mPlatform.clock.Now();
          std::array<QChar, 14> digits;
          QChar* at = PutDigits(digits.data(), now.hour, 2, u':');
          at = PutDigits(at, now.minute, 2, u':');
          at = PutDigits(at, now.second, 2, u'.');
          if (blnMilliseconds) at = PutDigits(at, now.millisecond, 3, u'\0');
          text = QString(digits.data(), at - digits.data() - 1);
        });
  return text;
}

bool General::IsIPAddress(const QString& strText) {
  bool isAddress = false;
  Guard(
      u"An error occurred while attempting to check whether the destination is an IP address or a domain "
      u"name.  The operating system reports: ",
      [&] {
        const QStringList pieces = strText.split(u'.');
        isAddress = pieces.size() == 4 && std::all_of(pieces.begin(), pieces.end(),
                                                      [](const QString& piece) { return IsNumeric(piece); });
      });
  return isAddress;
}

void General::SetTopMostWindow(Form& form, bool blnTopMost) {
  Guard(u"An error occurred while attempting to set the top-most window.  The operating system reports: ",
        [&] { mPlatform.desktop.SetTopMost(form, blnTopMost); });
}

void General::CheckFirstRun() {
  Guard(
      u"An error occurred while attempting to check whether this is the first time that Veltrane has run.  "
      u"The operating system reports: ",
      [&] {
        // Ports that the user has switched off, in a store that cannot be read, must not be opened.
        if (!mSettings.IsTheUsers()) return;
        const QString section = QStringLiteral("FirstRun");
        if (!ToBoolean(mSettings.Get(section, section, BooleanText(true)))) return;
        SaveColumn(mSettings, kPortsInUse, &FirstPort::description);
        SaveColumn(mSettings, kProtocols, &FirstPort::protocol);
        SaveDestination(mSettings, 25, kMailServerPlaceholder);
        SaveDestination(mSettings, 1000, kServerPlaceholder);
        // Last, so that a failure on the way makes the next start write the table again.
        mSettings.Save(section, section, BooleanText(false));
        gblnFirstRun = true;
      });
}

bool General::DeleteEphemeralPortReferences(qint16 intPort) {
  return Guard(
      u"An error occurred while attempting to delete the Ephemeral port references from the registry.  The "
      u"operating system reports: ",
      [&] { DeletePortRows(intPort); });
}

// A row that is missing ends it, yet what was deleted before it stays so.
void General::DeletePortRows(qint16 intPort) const {
  const QString port = QString::number(intPort);
  std::exception_ptr missing;
  mSettings.Together([&] {
    try {
      mSettings.Delete(kProtocols, port);
      mSettings.DeleteSection(PortSection(QStringLiteral("Pass Through"), intPort));
      mSettings.Delete(kPortsInUse, port);
    } catch (const Failure& failure) {
      if (failure.Number() != static_cast<qint32>(FailureNumber::kBadArgument)) throw;
      missing = std::current_exception();
    }
  });
  if (missing) std::rethrow_exception(missing);
}

bool General::DoesSocketExist(const SocketArray& sockets, int index) {
  return sockets.Exists(index);
}

bool General::DoesNodeExist(const QString& key) const {
  return frmMain && frmMain->SocketTree().Contains(key);
}

}  // namespace veltrane
