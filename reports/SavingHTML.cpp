#include "reports/SavingHTML.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <unistd.h>

#include "engine/General.h"
#include "engine/PortTable.h"
#include "history/Formatter.h"
#include "reports/OutputFile.h"
#include "reports/SavingData.h"

namespace veltrane {
namespace {

constexpr char16_t kPageFailure[] =
    u"An error occurred attempting to create the HTML file. The operating system reports: ";

// The sentences of both, slips and all, are what users know.
QString FolderFailure(const QString& path) {
  return QStringLiteral("An error occurred attempt to create the sub directory ('") + path +
         QStringLiteral(
             "') which will contains the details of the connection diagram.  The operating sytem "
             "reports: ");
}
QString PicturesFailure(const QString& folder) {
  return QStringLiteral("An error occurred while attempting to copy the Images subdirectory to '") + folder +
         QStringLiteral("'.  The operating system reports: ");
}

constexpr char kHead[] = "<html><head></head><body>\r\n";
constexpr char kEmptyCell[] = "<td></td>";

constexpr char kOn[] = "ComputerOn";
constexpr char kComingOn[] = "ComputerComingOn";
constexpr char kGoingOff[] = "ComputerGoingOff";
constexpr char kCloud[] = "Cloud";
constexpr char kError[] = "Error";

/// An arrow of the diagram: the blanks before its attributes, and its picture. No picture: no arrow, and the
/// cell may be that of the event which follows on. An empty name: a cell that is kept empty.
struct Arrow {
  const char* gap = nullptr;
  const char* picture = nullptr;
};
constexpr Arrow kNone;
constexpr Arrow kKeptEmpty{"", ""};

struct Kind {
  SocketEventType kind = etLocalServerAcceptedConnection;
  const char* client = nullptr;
  const char* proxy = nullptr;
  const char* server = nullptr;
  Arrow left;
  Arrow right;
  bool leftText = false;
  bool rightText = false;
};

// How each kind is drawn. Gaps of one and of two blanks alternate without a system; readers of the page's
// source compare it, so they stay.
constexpr std::array<Kind, kSocketEventTypes> kKinds{{
    {etLocalServerAcceptedConnection, kComingOn, kOn, kOn, {" ", "LightningBolt"}, kNone, true, false},
    {etLocalServerRejectedConnection, kComingOn, kOn, kOn, {" ", "LightningBoltX"}, kNone, true, false},
    {etConnectionAttemptToRemoteServer, kOn, kOn, kCloud, kNone, {" ", "LightningBoltGrey"}, false, true},
    {etConnectionAttemptFailed, kOn, kOn, kOn, kNone, {"  ", "LightningBoltGrey"}, false, false},
    {etConnectionAttemptSuccessful, kOn, kOn, kOn, kNone, {"  ", "LightningBolt"}, false, true},
    {etRemoteServerDisconnected, kOn, kOn, kGoingOff, kNone, {"  ", "LightningBoltGrey"}, false, true},
    {etLocalServerDisconnected, kOn, kGoingOff, kOn, {"  ", "LightningBoltGrey"}, kNone, true, false},
    {etRemoteClientDisconnected, kGoingOff, kOn, kOn, {"  ", "LightningBoltGrey"}, kNone, true, false},
    {etLocalClientDisconnected, kOn, kGoingOff, kOn, kNone, {"  ", "LightningBoltGrey"}, false, true},
    {etClientBytesReceived, kOn, kOn, kOn, kNone, {"  ", "S2CData"}, false, true},
    {etClientBytesBuffered, kOn, kOn, kOn, kNone, {"  ", "C2SBuffer"}, false, true},
    {etClientBytesBufferedForDangling, kOn, kOn, kOn, kNone, {"  ", "C2SDangleBuffer"}, false, true},
    {etServerBytesBuffered, kOn, kOn, kOn, {"  ", "S2CBuffer"}, kNone, true, false},
    {etServerBytesBufferedForDangling, kOn, kOn, kOn, {"  ", "S2CDangleBuffer"}, kNone, true, false},
    {etServerBytesSent, kOn, kOn, kOn, {"  ", "S2CData"}, kNone, true, false},
    {etServerBytesSentThrottled, kOn, kOn, kOn, {"  ", "S2CThrottle"}, kNone, true, false},
    {etServerBytesReceived, kOn, kOn, kOn, {"  ", "C2SData"}, kNone, true, false},
    {etClientBytesSent, kOn, kOn, kOn, kNone, {"  ", "C2SData"}, false, true},
    {etClientBytesSentThrottled, kOn, kOn, kOn, kNone, {"  ", "C2SThrottle"}, false, true},
    {etServerInBadState, kError, kOn, kOn, kKeptEmpty, kNone, true, false},
    {etClientInBadState, kOn, kOn, kError, kNone, kKeptEmpty, false, true},
    {etRemoteServerDanglingStarted, kOn, kOn, kOn, {"  ", "DangleStart"}, kNone, true, false},
    {etRemoteClientDanglingStarted, kOn, kOn, kOn, kNone, {"  ", "DangleStart"}, false, true},
    {etRemoteServerDanglingStopped, kOn, kOn, kOn, {"  ", "DangleStop"}, kNone, false, false},
    {etRemoteClientDanglingStopped, kOn, kOn, kOn, kNone, {"  ", "DangleStop"}, false, false},
}};

/// Text as a page's bytes: characters below the limit as one byte each, the others as references by number.
QByteArray WithReferences(const QString& text, uint limit) {
  const QList<uint> codes = text.toUcs4();
  QByteArray bytes;
  bytes.reserve(codes.size());
  for (const uint code : codes) {
    if (code < limit) {
      bytes.append(static_cast<char>(code));
    } else {
      bytes.append("&#").append(QByteArray::number(code)).append(';');
    }
  }
  return bytes;
}

/// One byte per character, as the wire had it.
QByteArray ToPage(const QString& text) {
  return WithReferences(text, 256);
}

/// A name of the file system, which leads to its file only when it is read as it was meant: the pages name no
/// character set, and only ASCII is the same in all.
QByteArray ToLink(const QString& name) {
  return WithReferences(name, 128);
}

QByteArray Address(const QString& ip, qint32 port) {
  return ToPage(ip) + ':' + QByteArray::number(port);
}

QByteArray TwoDigits(int number) {
  return QByteArray::number(number).rightJustified(2, '0');
}

/// "09 Mar 2026 07:05:03", in English wherever the user lives.
QByteArray DateAndTime(const LocalTime& time) {
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  return TwoDigits(time.day) + ' ' + kMonths[time.month - 1] + ' ' +
         QByteArray::number(time.year).rightJustified(4, '0') + ' ' + TwoDigits(time.hour) + ':' +
         TwoDigits(time.minute) + ':' + TwoDigits(time.second);
}

/// The texts of the pages of one report.
class Pages {
 public:
  Pages(General& general, const frmSaveHistory& options, const SocketPairHistory& history,
        const ReportPath& path)
      : mGeneral(general), mOptions(options), mHistory(history), mPath(path) {}

  QByteArray MainPage();
  QByteArray EventPage(qsizetype position) const;

 private:
  /// One cell of the event at a position; empty where the event has none, and past the last event.
  using Cell = QByteArray (Pages::*)(qsizetype position) const;

  void AppendBlock(QByteArray& page, qsizetype position);
  QByteArray Merged(Cell cell, qsizetype position);
  const SocketEvent* EventAt(qsizetype position) const;
  const Kind* KindAt(qsizetype position) const;

  QByteArray ClientPicture(qsizetype position) const { return Picture(position, &Kind::client); }
  QByteArray ProxyPicture(qsizetype position) const { return Picture(position, &Kind::proxy); }
  QByteArray ServerPicture(qsizetype position) const { return Picture(position, &Kind::server); }
  QByteArray Picture(qsizetype position, const char* Kind::*column) const;
  QByteArray LeftArrow(qsizetype position) const;
  QByteArray RightArrow(qsizetype position) const;
  QByteArray LeftText(qsizetype position) const { return Text(position, &Kind::leftText); }
  QByteArray RightText(qsizetype position) const { return Text(position, &Kind::rightText); }
  QByteArray Text(qsizetype position, bool Kind::*column) const;
  QByteArray BuildPopupAttributes(qsizetype position) const;
  QByteArray TableHead() const;
  QByteArray Foot() const;

  General& mGeneral;
  const frmSaveHistory& mOptions;
  const SocketPairHistory& mHistory;
  const ReportPath& mPath;
  /// Whether the cell that was merged last asked the event which follows on.
  bool mUsedNextEvent = false;
};

QByteArray Pages::MainPage() {
  QByteArray page = kHead + TableHead();
  for (qsizetype position = 1; position <= mHistory.mobjSocketPairEvents.Count(); ++position) {
    AppendBlock(page, position);
    // The block has drawn the event which follows on: its last cell, the right text, tells.
    if (mUsedNextEvent) ++position;
  }
  return page + "</table>" + Foot() + "\r\n";
}

QByteArray Pages::TableHead() const {
  return "<table cellspacing=5 cellpadding=5 border=0>\r\n"
         "<tr>\r\n"
         "<td align=center valign=top><h2>Remote Client</h2></td>\r\n"
         "<td></td>\r\n"
         "<td align=center valign=top><h2>VLT</h2>Listening on port " +
         QByteArray::number(mHistory.mlngWasListeningOnPort) +
         "</td>\r\n"
         "<td></td>\r\n"
         "<td align=center valign=top><h2>Remote Server</h2></td>\r\n"
         "</tr>\r\n";
}

QByteArray Pages::Foot() const {
  return "<p align=right>Generated by <a href='" + ToPage(kProductAddress) + "'>Veltrane</a><br>" +
         DateAndTime(mGeneral.mPlatform.clock.Now()) + "</p></body></html>\r\n";
}

void Pages::AppendBlock(QByteArray& page, qsizetype position) {
  const auto orEmpty = [](const QByteArray& cell) { return cell.isEmpty() ? kEmptyCell : cell; };
  const auto label = [](const QByteArray& text) { return "<td align=center valign=top>" + text + "</td>"; };
  const QByteArray client = Merged(&Pages::ClientPicture, position);
  const QByteArray leftArrow = Merged(&Pages::LeftArrow, position);
  const QByteArray rightArrow = Merged(&Pages::RightArrow, position);
  const QByteArray server = Merged(&Pages::ServerPicture, position);
  page += "<tr>\r\n" + orEmpty(client) + "\r\n" + orEmpty(leftArrow) + "\r\n" + ProxyPicture(position) +
          "\r\n" + orEmpty(rightArrow) + "\r\n" + orEmpty(server) + "\r\n</tr>\r\n";

  page += "<tr>\r\n";
  page += client.isEmpty() ? kEmptyCell
                           : label(Address(mHistory.mstrRemoteClientIP, mHistory.mlngRemoteClientPort));
  page += orEmpty(Merged(&Pages::LeftText, position));
  page += label(QByteArray::number(mHistory.mlngLocalServerPort) + ':' +
                QByteArray::number(mHistory.mlngLocalClientPort));
  page += orEmpty(Merged(&Pages::RightText, position));
  page += server.isEmpty() ? kEmptyCell
                           : label(Address(mHistory.mstrRemoteServerIP, mHistory.mlngRemoteServerPort));
  page += "</tr>\r\n";
}

// An event and its direct consequence share a line of the diagram: what the one leaves empty, the other may
// fill.
QByteArray Pages::Merged(Cell cell, qsizetype position) {
  const QByteArray own = (this->*cell)(position);
  mUsedNextEvent = own.isEmpty() && EventAt(position)->mblnNextEventFollowOn;
  return mUsedNextEvent ? (this->*cell)(position + 1) : own;
}

const SocketEvent* Pages::EventAt(qsizetype position) const {
  if (position > mHistory.mobjSocketPairEvents.Count()) return nullptr;
  return mHistory.mobjSocketPairEvents.Item(position).get();
}

const Kind* Pages::KindAt(qsizetype position) const {
  const SocketEvent* event = EventAt(position);
  return event ? &kKinds.at(static_cast<std::size_t>(event->mobjEventType)) : nullptr;
}

QByteArray Pages::Picture(qsizetype position, const char* Kind::*column) const {
  const Kind* kind = KindAt(position);
  if (!kind) return {};
  return QByteArray("<td align=center><img border=0 src='images/") + kind->*column + ".gif'></td>";
}

QByteArray Pages::LeftArrow(qsizetype position) const {
  const Kind* kind = KindAt(position);
  if (!kind || !kind->left.picture) return {};
  if (*kind->left.picture == '\0') return kEmptyCell;
  return "<td align=center><img " + BuildPopupAttributes(position) + kind->left.gap +
         "border=0 src='images/" + kind->left.picture + ".gif'></td>";
}

// The anchor that is closed was never opened. Browsers do not mind, and the format has it.
QByteArray Pages::RightArrow(qsizetype position) const {
  const Kind* kind = KindAt(position);
  if (!kind || !kind->right.picture) return {};
  if (*kind->right.picture == '\0') return kEmptyCell;
  return "<td align=center><img border=0 " + BuildPopupAttributes(position) + kind->right.gap +
         "src='images/" + kind->right.picture + ".gif'></a></td>";
}

// Descriptions are not escaped here: see docs/reliability.md for those that others can choose words of.
QByteArray Pages::Text(qsizetype position, bool Kind::*column) const {
  const Kind* kind = KindAt(position);
  if (!kind || !(kind->*column)) return {};
  const SocketEvent& event = *EventAt(position);
  return "<td " + BuildPopupAttributes(position) + " align=center valign=top>" + ToPage(event.mstrEventTime) +
         ", <b>" + ToPage(event.mstrDescription) + "</b></td>\r\n";
}

QByteArray Pages::BuildPopupAttributes(qsizetype position) const {
  return " onmouseover=\"this.style.cursor='hand'\" onclick=\"javascript:window.open('" +
         ToLink(mPath.folderName) + "/Event" + QByteArray::number(position) +
         ".htm',null,'width=700, height=400, scrollbars=yes, resizable=yes');\"";
}

QByteArray Pages::EventPage(qsizetype position) const {
  const SocketEvent& event = *EventAt(position);
  const SocketPairHistory& history = mHistory;
  const struct {
    const char* caption;
    QString value;
  } rows[] = {
      {"Event Time", event.mstrEventTime},
      {"Event End Time", event.mstrEventEndTime},
      {"Error Number", QString::number(event.mlngErrorNumber)},
      {"Error Description", event.mstrErrorString},
      {"Description", event.mstrDescription},
      {"Remote Client Address", history.mstrRemoteClientIP},
      {"Remote Client Name", history.mstrRemoteClientName},
      {"Remote Client Port", QString::number(history.mlngRemoteClientPort)},
      {"Remote Server Address", history.mstrRemoteServerIP},
      {"Remote Server Name", history.mstrRemoteServerName},
      {"Remote Server Port", QString::number(history.mlngRemoteServerPort)},
      {"Local Server Port", QString::number(history.mlngLocalServerPort)},
      {"Local Client Port", QString::number(history.mlngLocalClientPort)},
      {"Originally Listening on Port", QString::number(history.mlngWasListeningOnPort)},
      {"Socket Status", history.mblnDead ? QStringLiteral("Dead") : QStringLiteral("Alive")},
      {"Time of death", history.mstrTimeOfDeath},
      {"Protocol", history.mstrProtocol},
  };
  QByteArray page = QByteArray(kHead) + "<table border=0>\r\n";
  for (const auto& row : rows)
    page += QByteArray("<tr><td>") + row.caption + "</td><td>" + ToPage(row.value) + "</td></tr>\r\n";
  page += "</table>\r\n<br>Data:<br>\r\n<table><tr><td nowrap><font face='Courier New'><small>";
  page += EscapeForPage(
      FormatRows(Payload(event.mstrData).View(), GetFormatCode(mOptions), GetBytesPerRow(mOptions)));
  page += "</small></font></td></tr></table>\r\n";
  return page + Foot() + "\r\n";
}

/// What stands for the character in a page, nullptr for itself. A line's end is CR and LF together.
const char* EscapeAt(const char* at, const char* end) {
  switch (*at) {
    case '&':
      return "&amp;";
    case ' ':
      return "&nbsp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '\r':
      return at + 1 != end && at[1] == '\n' ? "<br>\r" : nullptr;
    default:
      return nullptr;
  }
}

bool MakeSubFolder(General& general, const ReportPath& path) {
  // A path without a dot has no sub folder; one that begins with a dot has an empty one, which cannot be
  // made.
  if (path.folder.isEmpty() && path.subFolder.isEmpty()) return true;
  return general.Guard(FolderFailure(path.subFolder), [&] { MakeFolder(path.subFolder); });
}

bool SaveEventPage(General& general, const Pages& pages, qsizetype position, const QString& subFolder) {
  return general.Guard(kPageFailure,
                       [&] { WriteFile(EventPagePath(subFolder, position), pages.EventPage(position)); });
}

bool IsSameFolder(const QString& left, const QString& right) {
  const QString one = QFileInfo(left).canonicalFilePath();
  return !one.isEmpty() && one == QFileInfo(right).canonicalFilePath();
}

void CopyAll(const QDir& pictures, const QString& folder) {
  for (const QString& name : pictures.entryList({QStringLiteral("*.gif")}, QDir::Files))
    CopyFile(pictures.filePath(name), folder + u'/' + name);
}

// The pages write the folder's name in lower case. Where the file system tells the cases apart, that name
// leads to the folder too, and where it cannot be a link, it is a second folder.
void CopyPictures(const QString& programFolder, const QString& folder) {
  const QDir pictures(programFolder + QStringLiteral("/Images"));
  const QString images = folder + QStringLiteral("/Images");
  const QString lowerCase = folder + QStringLiteral("/images");
  MakeFolder(images);
  CopyAll(pictures, images);
  if (IsSameFolder(images, lowerCase)) return;
  if (::symlink("Images", QFile::encodeName(lowerCase).constData()) == 0) return;
  MakeFolder(lowerCase);
  CopyAll(pictures, lowerCase);
}

bool CopyImages(General& general, const QString& folder) {
  const QString& programFolder = general.mPlatform.programFolder;
  if (IsSameFolder(folder, programFolder)) return true;
  return general.Guard(PicturesFailure(folder), [&] { CopyPictures(programFolder, folder); });
}

}  // namespace

bool SaveHTMLFile(General& general, const frmSaveHistory& options, const QString& strFile,
                  const SocketPairHistory& objHistory) {
  const ReportPath path = SplitReportPath(strFile);
  if (!MakeSubFolder(general, path)) return false;
  Pages pages(general, options, objHistory, path);
  for (qsizetype position = 1; position <= objHistory.mobjSocketPairEvents.Count(); ++position)
    if (!SaveEventPage(general, pages, position, path.subFolder)) return false;
  return general.Guard(kPageFailure, [&] { WriteFile(strFile, pages.MainPage()); }) &&
         CopyImages(general, path.folder);
}

ReportPath SplitReportPath(const QString& strFile) {
  const qsizetype dot = strFile.indexOf(u'.');
  if (dot < 0) return {};
  const QString subFolder = strFile.left(dot);
  const qsizetype slash = strFile.lastIndexOf(u'/');
  return {subFolder, slash < 0 ? QStringLiteral(".") : strFile.left(slash),
          subFolder.mid(subFolder.lastIndexOf(u'/') + 1)};
}

QString EventPagePath(const QString& subFolder, qsizetype position) {
  return subFolder + QStringLiteral("/Event") + QString::number(position) + QStringLiteral(".htm");
}

QByteArray EscapeForPage(QByteArrayView text) {
  QByteArray page;
  page.reserve(text.size() * 2);
  const char* plain = text.begin();
  for (const char* at = text.begin(); at != text.end(); ++at) {
    const char* escape = EscapeAt(at, text.end());
    if (!escape) continue;
    page.append(plain, at - plain).append(escape);
    plain = at + 1;
  }
  return page.append(plain, text.end() - plain);
}

}  // namespace veltrane
