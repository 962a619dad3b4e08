// Branches and grids that are built when the user opens them.
#include <array>

#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/Listening.h"
#include "engine/PortTable.h"
#include "forms/ListView.h"
#include "forms/RichTextBox.h"
#include "forms/TreeView.h"
#include "history/HistoryText.h"
#include "history/Logging.h"

namespace veltrane {
namespace {

/// Opening a connection replays the data of its last events in the real-time pane.
constexpr qsizetype kReplayedEvents = 20;

constexpr char16_t kEventsFailure[] =
    u"An error occurred while attempting to load all of the events.  The operating system reports: ";

using ItemValue = QString (*)(const SocketEvent& event, const SocketPairHistory& history);

inline QString ToText(const QString& text) {
  return text;
}
inline QString ToText(qint32 number) {
  return QString::number(number);
}

template <auto Member>
QString OfEvent(const SocketEvent& event, const SocketPairHistory&) {
  return ToText(event.*Member);
}
template <auto Member>
QString OfHistory(const SocketEvent&, const SocketPairHistory& history) {
  return ToText(history.*Member);
}

struct EventItem {
  const char* name;
  ItemValue value;
};

constexpr std::array kEventItems{
    EventItem{"Event Time", OfEvent<&SocketEvent::mstrEventTime>},
    EventItem{"Event End Time", OfEvent<&SocketEvent::mstrEventEndTime>},
    EventItem{"Error Number", OfEvent<&SocketEvent::mlngErrorNumber>},
    EventItem{"Error Description", OfEvent<&SocketEvent::mstrErrorString>},
    EventItem{"Description", OfEvent<&SocketEvent::mstrDescription>},
    EventItem{"Data",
              [](const SocketEvent& event, const SocketPairHistory&) {
                return QString::fromLatin1(Payload(event.mstrData).View());
              }},
    EventItem{"Remote Client Address", OfHistory<&SocketPairHistory::mstrRemoteClientIP>},
    EventItem{"Remote Client Name", OfHistory<&SocketPairHistory::mstrRemoteClientName>},
    EventItem{"Remote Client Port", OfHistory<&SocketPairHistory::mlngRemoteClientPort>},
    EventItem{"Remote Server Address", OfHistory<&SocketPairHistory::mstrRemoteServerIP>},
    EventItem{"Remote Server Name", OfHistory<&SocketPairHistory::mstrRemoteServerName>},
    EventItem{"Remote Server Port", OfHistory<&SocketPairHistory::mlngRemoteServerPort>},
    EventItem{"Local Server Port", OfHistory<&SocketPairHistory::mlngLocalServerPort>},
    EventItem{"Local Client Port", OfHistory<&SocketPairHistory::mlngLocalClientPort>},
    EventItem{"Originally Listening on Port", OfHistory<&SocketPairHistory::mlngWasListeningOnPort>},
    EventItem{"Socket Status",
              [](const SocketEvent&, const SocketPairHistory& history) {
                return history.mblnDead ? QStringLiteral("Dead") : kAliveText;
              }},
    EventItem{"Time Of Socket Pair Death", OfHistory<&SocketPairHistory::mstrTimeOfDeath>},
    EventItem{"Protocol", OfHistory<&SocketPairHistory::mstrProtocol>},
};

}  // namespace

QString Logging::GetConnectionName(const SocketPairHistory& objHistory) {
  QString name;
  mGeneral.Guard(
      u"An error occurred while attempting to get the name of the connection.  The operating system "
      u"reports: ",
      [&] {
        name = objHistory.mstrRemoteClientIP + InBrackets(objHistory.mstrRemoteClientName) +
               QStringLiteral(" to ");
        if (objHistory.mstrRemoteClientIP == u"<Unknown>") {
          name += QStringLiteral("<Rejected>");
        } else if (objHistory.mstrRemoteServerIP == kFailedServer) {
          name += kFailedServer;
        } else {
          name += objHistory.mstrRemoteServerIP.isEmpty() ? QStringLiteral("<Awaiting>")
                                                          : objHistory.mstrRemoteServerIP;
          name += InBrackets(objHistory.mstrRemoteServerName);
        }
      });
  return name;
}

void Logging::LoadAllProtocols(const Listening& mobjListening) {
  mGeneral.Guard(
      u"An error occurred while attempting to load all of the protocols.  The operating system reports: ",
      [&] {
        for (const auto& row : mGeneral.mSettings.All(kPortsInUse))
          LoadProtocol(mobjListening, row.first, row.second);
      });
  // Also where a row has ended the branch: the recorder needs a selection.
  Tree().SetSelectedItem(Tree().First());
  mAround.frmMain->RefreshPaneTitles();
  Tree().Refresh();
}

// The port is the text that is stored. One that is no number is shown as well: so the user sees what is odd.
void Logging::LoadProtocol(const Listening& listening, const QString& port, const QString& description) {
  Socket* const* socket = listening.mcolListeningSocket.Find(QStringLiteral("KEY") + port);
  const bool listens = socket && (*socket)->State() == SocketState::kListening;
  TreeNode& node = Tree().Add(QStringLiteral("ROOT"), QStringLiteral("PROTO") + port,
                              PortNodeText(description, port, listens), QStringLiteral("Protocol"));
  node.SetTag(port);
}

void Logging::LoadAllCommsPartners(qint32 lngListeningPort) {
  mGeneral.Guard(
      u"An error occurred while attempting to load all of the communication partners.  The operating system "
      u"reports: ",
      [&] {
        for (qsizetype i = 1; i <= mobjSocketPairHistory.Count(); ++i) {
          const SocketPairHistory& history = *mobjSocketPairHistory.Item(i);
          if (history.mlngLocalServerPort != lngListeningPort) continue;
          const QString key = ConnectionNodeKey(history);
          if (!Tree().Contains(key)) AddConnectionNode(key, history);
        }
        Tree().Refresh();
      });
}

void Logging::LoadAllConnections(const QString& strClientAddress, const QString& strServerAddress,
                                 qint32 lngListeningPort) {
  mGeneral.Guard(
      u"An error occurred while attempting to load all of the connections.  The operating system reports: ",
      [&] {
        const QString parent = ConnectionNodeKey(lngListeningPort, strClientAddress, strServerAddress);
        for (qsizetype i = 1; i <= mobjSocketPairHistory.Count(); ++i) {
          const SocketPairHistory& history = *mobjSocketPairHistory.Item(i);
          if (history.mlngLocalServerPort != lngListeningPort || ConnectionNodeKey(history) != parent ||
              history.mstrRemoteClientIP != strClientAddress) {
            continue;
          }
          PutSocketNode(parent, history, SocketNodeText(history),
                        history.mblnDead ? kDisconnectedImage : kSocketImage);
        }
        Tree().Refresh();
      });
}

void Logging::LoadAllEvents(const QString& strSocketHistoryKey) {
  mGeneral.Guard(kEventsFailure, [&] {
    mAround.frmMain->RealTimeText().SetText(QString());
    const SocketPairHistoryRef history = mobjSocketPairHistory.Item(strSocketHistoryKey);
    const EventList& events = history->mobjSocketPairEvents;
    for (qsizetype i = 1; i <= events.Count(); ++i) {
      const SocketEventRef& event = events.Item(i);
      AddEventNode(*history, i);
      if (i > events.Count() - kReplayedEvents && !event->mstrData.IsEmpty()) DisplayRealTimeData(*event);
    }
    Tree().Refresh();
  });
}

// A folded node gets no events and loses its first ones with each purge, so what it has are the first events.
void Logging::LoadMissedEvents(const QString& strSocketHistoryKey) {
  mGeneral.Guard(kEventsFailure, [&] {
    const SocketPairHistoryRef history = mobjSocketPairHistory.Item(strSocketHistoryKey);
    const qsizetype known = Tree().Node(strSocketHistoryKey).ChildCount();
    for (qsizetype i = known + 1; i <= history->mobjSocketPairEvents.Count(); ++i)
      AddEventNode(*history, i);
    Tree().Refresh();
  });
}

bool Logging::IsSocketHistoryInSelectedBranch(const QString& strSocketHistoryKey) {
  const QString& selected = SelectedNode().Key();
  if (selected == u"ROOT" || selected == strSocketHistoryKey) return true;
  const SocketPairHistory& history = *mobjSocketPairHistory.Item(strSocketHistoryKey);
  return selected == ProtocolNodeKey(history.mlngLocalServerPort) || selected == ConnectionNodeKey(history);
}

void Logging::RefreshAllDetails(const QString& strImage) {
  mAround.frmMain->DetailsGrid().Clear();
  if (ListsConnections(strImage)) {
    mAround.frmMain->ConfigureGridForAllActivity();
    ListConnections();
  } else if (strImage == kSocketImage || strImage == kDisconnectedImage) {
    mAround.frmMain->ConfigureGridForConnection();
    if (!mGeneral.gblnConnectionDiagramSelected) ListEvents();
  } else if (strImage == u"Event") {
    mAround.frmMain->ConfigureGridForEvent();
    ListEventItems();
  }
  Tree().Refresh();
}

void Logging::ListConnections() {
  for (qsizetype i = 1; i <= mobjSocketPairHistory.Count(); ++i) {
    if (IsSocketHistoryInSelectedBranch(mobjSocketPairHistory.KeyAt(i))) {
      AddDetailsRow(*mobjSocketPairHistory.Item(i));
    }
  }
}

void Logging::ListEvents() {
  const QString& key = SelectedNode().Key();
  const SocketPairHistoryRef history = mobjSocketPairHistory.Item(key);
  const EventList& events = history->mobjSocketPairEvents;
  for (qsizetype i = 1; i <= events.Count(); ++i) {
    AddEventRow(key + u'-' + QString::number(i), *events.Item(i), events.Removed() + i);
  }
}

void Logging::ListEventItems() {
  const QString& selected = SelectedNode().Key();
  // The last one: the number of a connection may be negative.
  const qsizetype dash = selected.lastIndexOf(u'-');
  const SocketPairHistoryRef history = mobjSocketPairHistory.Item(selected.left(dash));
  const SocketEventRef event = history->mobjSocketPairEvents.Item(ToInt32(selected.mid(dash + 1)));
  for (const EventItem& item : kEventItems) {
    const QString name = QLatin1String(item.name);
    mAround.frmMain->DetailsGrid().Add(name, name).SetSubItem(1, item.value(*event, *history));
  }
}

}  // namespace veltrane
