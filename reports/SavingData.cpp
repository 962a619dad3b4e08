#include "reports/SavingData.h"

#include <array>

#include "base/Numbers.h"
#include "engine/General.h"
#include "history/Formatter.h"
#include "reports/OutputFile.h"
#include "reports/frmSaveHistory.h"

namespace veltrane {
namespace {

constexpr char16_t kFailureText[] =
    u"An error occurred attempting to create the data file. The operating system reports: ";

/// Which check box lets an event into the text file.
enum class Asks { kNothing, kBuffered, kNonData };

constexpr char kFromServer[] = "From: Remote server, To: VLT's internal socket client";
constexpr char kFromClient[] = "From: Remote client, To: VLT's internal socket server";
constexpr char kToClient[] = "From: VLT's internal socket server, To: Remote client";
constexpr char kToServer[] = "From: VLT's internal socket client, To: Remote server";

struct Kind {
  SocketEventType kind;
  Asks asks;
  const char* direction;     // in the text file, or none
  const char* rawDirection;  // the entry of cboDirection that takes its data, or none
};

// Uneven on purpose: what is buffered for dangling, and what has no data but is a rejection or a dangle, is
// always let in, and not every kind tells its direction.
constexpr std::array<Kind, kSocketEventTypes> kKinds{{
    {etLocalServerAcceptedConnection, Asks::kNonData, kToClient, nullptr},
    {etLocalServerRejectedConnection, Asks::kNothing, nullptr, nullptr},
    {etConnectionAttemptToRemoteServer, Asks::kNonData, kToServer, nullptr},
    {etConnectionAttemptFailed, Asks::kNonData, kToServer, nullptr},
    {etConnectionAttemptSuccessful, Asks::kNonData, kToServer, nullptr},
    {etRemoteServerDisconnected, Asks::kNonData, kFromServer, nullptr},
    {etLocalServerDisconnected, Asks::kNonData, kToClient, nullptr},
    {etRemoteClientDisconnected, Asks::kNonData, kFromClient, nullptr},
    {etLocalClientDisconnected, Asks::kNonData, nullptr, nullptr},
    {etClientBytesReceived, Asks::kNothing, kFromServer, "Remote Server to VLT"},
    {etClientBytesBuffered, Asks::kBuffered, kToServer, nullptr},
    {etClientBytesBufferedForDangling, Asks::kNothing, nullptr, nullptr},
    {etServerBytesBuffered, Asks::kBuffered, kToClient, nullptr},
    {etServerBytesBufferedForDangling, Asks::kNothing, nullptr, nullptr},
    {etServerBytesSent, Asks::kNothing, kToClient, "VLT to remote client"},
    {etServerBytesSentThrottled, Asks::kNothing, nullptr, nullptr},
    {etServerBytesReceived, Asks::kNothing, kFromClient, "Remote Client to VLT"},
    {etClientBytesSent, Asks::kNothing, kToServer, "VLT to Remote Server"},
    {etClientBytesSentThrottled, Asks::kNothing, nullptr, nullptr},
    {etServerInBadState, Asks::kNonData, kToClient, nullptr},
    {etClientInBadState, Asks::kNonData, kToServer, nullptr},
    {etRemoteServerDanglingStarted, Asks::kNothing, nullptr, nullptr},
    {etRemoteClientDanglingStarted, Asks::kNothing, nullptr, nullptr},
    {etRemoteServerDanglingStopped, Asks::kNothing, nullptr, nullptr},
    {etRemoteClientDanglingStopped, Asks::kNothing, nullptr, nullptr},
}};

const Kind& KindOf(const SocketEvent& event) {
  return kKinds.at(static_cast<std::size_t>(event.mobjEventType));
}

bool IsLetIn(const Kind& kind, const frmSaveHistory& options) {
  switch (kind.asks) {
    case Asks::kBuffered:
      return options.chkIncludeBufferedData.IsOn();
    case Asks::kNonData:
      return options.chkIncludeNonDataEvents.IsOn();
    case Asks::kNothing:
      break;
  }
  return true;
}

QByteArray Preamble(const frmSaveHistory& options, const SocketEvent& event) {
  const char* direction = KindOf(event).direction;
  QByteArray text("\r\n");
  if (options.chkIncludeDateTimeStamp.IsOn()) text.append(event.mstrEventTime.toLatin1()).append("\r\n");
  if (options.chkIncludeDataDirection.IsOn() && direction) text.append(direction).append("\r\n");
  if (options.chkIncludeDescription.IsOn()) text.append(event.mstrDescription.toLatin1()).append("\r\n");
  return text;
}

/// In place: the rows are many times as long as the data. A copy, or a run would be joined in the history.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void AppendRows(QByteArray& text, Payload data, quint8 format, qint16 bytesPerRow) {
  const qsizetype before = text.size();
  text.resize(before + FormatTextRequiredLength(data.Size(), format, bytesPerRow));
  text.truncate(before + FormatText(data.Data(), text.data() + before, format, bytesPerRow, data.Size()));
}

/// Writes what get gives for each event.
template <class Get>
bool SaveEvents(General& general, const QString& strFile, const SocketPairHistory& history,
                OutputFile::Old old, Get&& get) {
  return general.Guard(kFailureText, [&] {
    OutputFile file(strFile, old);
    for (qsizetype position = 1; position <= history.mobjSocketPairEvents.Count(); ++position)
      file.Write(get(position));
    file.Close();
  });
}

}  // namespace

bool SaveDataFile(General& general, const frmSaveHistory& options, const QString& strFile,
                  const SocketPairHistory& objHistory) {
  QByteArray text;
  return SaveEvents(general, strFile, objHistory, OutputFile::Old::kReplaced, [&](qsizetype position) {
    text = GetEventAsText(options, objHistory, position);
    return QByteArrayView(text);
  });
}

bool SaveRawDataFile(General& general, const frmSaveHistory& options, const QString& strFile,
                     const SocketPairHistory& objHistory) {
  Payload data;
  return SaveEvents(general, strFile, objHistory, OutputFile::Old::kStays, [&](qsizetype position) {
    data = GetEventRawData(options, objHistory, position);
    return data.View();
  });
}

QByteArray GetEventAsText(const frmSaveHistory& options, const SocketPairHistory& objHistory,
                          qsizetype lngPosition) {
  const SocketEvent& event = *objHistory.mobjSocketPairEvents.Item(lngPosition);
  if (!IsLetIn(KindOf(event), options)) return {};
  QByteArray text = Preamble(options, event);
  if (options.optDisplayAs.Value(0)) {
    text.append(Payload(event.mstrData).View());
  } else if (!event.mstrData.IsEmpty()) {
    AppendRows(text, event.mstrData, GetFormatCode(options), GetBytesPerRow(options));
  }
  return text;
}

Payload GetEventRawData(const frmSaveHistory& options, const SocketPairHistory& objHistory,
                        qsizetype lngPosition) {
  const SocketEvent& event = *objHistory.mobjSocketPairEvents.Item(lngPosition);
  const char* direction = KindOf(event).rawDirection;
  if (!direction || options.cboDirection.Text() != QLatin1String(direction)) return {};
  return event.mstrData;
}

quint8 GetFormatCode(const frmSaveHistory& options) {
  constexpr char kCodes[] = "hodb";
  const int chosen = options.optDisplayAs.Selected();
  return chosen < 1 ? quint8{0} : static_cast<quint8>(kCodes[chosen - 1]);
}

qint16 GetBytesPerRow(const frmSaveHistory& options) {
  return ToInt16(options.txtBytesPerRow.Text());
}

}  // namespace veltrane
