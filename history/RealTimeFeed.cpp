// What goes to the real-time pane.
#include <algorithm>
#include <array>
#include <optional>

#include "engine/General.h"
#include "engine/SocketPair.h"
#include "forms/RichTextBox.h"
#include "history/Logging.h"

namespace veltrane {

/// How data of a kind is shown.
struct Logging::Direction {
  SocketEventType kind{};
  RealTimeSwitch shownIf{};
  bool isBuffered = false;  // needs the switch for buffered data as well
  QStringView text;
  int colour = 0;  // index of the label whose colour it has
};

namespace {

constexpr QStringView kServerToClientSocket = u"From: Remote server, To: VLT's internal socket client";
constexpr QStringView kClientSocketToServer = u"From: VLT's internal socket client, To: Remote server";
constexpr QStringView kServerSocketToClient = u"From: VLT's internal socket server, To: Remote client";
constexpr QStringView kClientToServerSocket = u"From: Remote client, To: VLT's internal socket server";

const QString kLineEnd = QStringLiteral("\r\n");

}  // namespace

// The switches and texts of the two buffered kinds look crossed. They are meant: the text tells where the
// data goes next, the switch which arrival it belongs to.
const std::array<Logging::Direction, 6> Logging::kDirections{{
    {etClientBytesReceived, RealTimeSwitch::kServerToVLT, false, kServerToClientSocket, 3},
    {etClientBytesBuffered, RealTimeSwitch::kServerToVLT, true, kClientSocketToServer, 1},
    {etServerBytesBuffered, RealTimeSwitch::kClientToVLT, true, kServerSocketToClient, 2},
    {etServerBytesSent, RealTimeSwitch::kVLTToClient, false, kServerSocketToClient, 2},
    {etServerBytesReceived, RealTimeSwitch::kClientToVLT, false, kClientToServerSocket, 0},
    {etClientBytesSent, RealTimeSwitch::kVLTToServer, false, kClientSocketToServer, 1},
}};

const Logging::Direction* Logging::DirectionOf(SocketEventType kind) {
  const auto* found = std::find_if(kDirections.begin(), kDirections.end(),
                                   [kind](const Direction& row) { return row.kind == kind; });
  return found == kDirections.end() ? nullptr : found;
}

void Logging::ManageRealTimeData(const SocketEvent& objEvent, const SocketPair& objSocketPair) {
  mGeneral.Guard(
      u"An error occurred while attempting to manage the real-time data.  The operating system reports: ",
      [&] {
        // Dangled and throttled data never reach the pane while they happen.
        if (!mblnRealTimeFeedOn || !DirectionOf(objEvent.mobjEventType)) return;
        if (mAround.frmRealTimeData->ShowsAllData() ||
            IsSocketHistoryInSelectedBranch(objSocketPair.SocketPairKey())) {
          DisplayRealTimeData(objEvent);
        }
      });
}

void Logging::DisplayRealTimeData(const SocketEvent& objEvent) {
  mGeneral.Guard(
      u"An error occurred while attempting to display the real time data.  The operating system reports: ",
      [&] {
        const RealTimeDataOptions& options = *mAround.frmRealTimeData;
        if (!options.IsOn(RealTimeSwitch::kShowRealTimeData)) return;
        // Other kinds come from a replay. They pass, have no direction, and with colours on leave the list
        // of colours one short: the pane relies on nothing else.
        const Direction* direction = DirectionOf(objEvent.mobjEventType);
        if (direction && !IsDirectionShown(*direction)) return;
        gstrData.append(objEvent.mstrData);
        gstrPreamble.append(Preamble(objEvent, direction));
        if (!options.IsOn(RealTimeSwitch::kColourCode)) {
          gcolColour.append(0);
        } else {
          RichTextBox& text = mAround.frmMain->RealTimeText();
          text.SetSelStart(text.TextLength());
          if (direction) gcolColour.append(options.DirectionColour(direction->colour));
        }
        mAround.frmMain->tmrRealTimeData_Timer();
      });
}

bool Logging::IsDirectionShown(const Direction& direction) const {
  const RealTimeDataOptions& options = *mAround.frmRealTimeData;
  return options.IsOn(direction.shownIf) &&
         (!direction.isBuffered || options.IsOn(RealTimeSwitch::kIncludeBufferedData));
}

QString Logging::Preamble(const SocketEvent& event, const Direction* direction) const {
  const RealTimeDataOptions& options = *mAround.frmRealTimeData;
  const QStringView directionText = direction ? direction->text : QStringView();
  QString text;
  // This is on the path of every byte that is shown: one piece of memory for all of it.
  text.reserve(event.mstrEventTime.size() + directionText.size() + event.mstrDescription.size() + 6);
  // The time takes the place of the empty line.
  if (options.IsOn(RealTimeSwitch::kIncludeDateTimeStamp)) text += event.mstrEventTime;
  text += kLineEnd;
  if (options.IsOn(RealTimeSwitch::kIncludeDataDirection) && direction)
    text.append(directionText).append(kLineEnd);
  if (options.IsOn(RealTimeSwitch::kIncludeDescription)) text.append(event.mstrDescription).append(kLineEnd);
  return text;
}

}  // namespace veltrane
