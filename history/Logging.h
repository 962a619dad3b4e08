// The one recorder: the engine and the handlers tell it all that happens. It files each event in the history
// of its connection and keeps the tree, the grid, the real-time pane, the diagram, the log file and the tray
// in step. Its jobs stand in files of their own:
//
//   Recording.cpp       one procedure per happening, and the tail that all of them run through
//   RecordingViews.cpp  what recording changes in tree and grid
//   RealTimeFeed.cpp    what goes to the real-time pane
//   Views.cpp           branches and grids that are built when the user opens them
//   Purging.cpp         the limits of the history
//   Rendering.cpp       bytes as text
//
// Recording is on the path of every byte. What it costs depends neither on the number of connections nor on
// that of events: views get an event only where the user can see it.
#pragma once

#include <QByteArray>
#include <QSet>

#include <array>
#include <map>

#include "base/KeyedList.h"
#include "engine/Recorder.h"
#include "history/Surroundings.h"

namespace veltrane {

class General;
class ListItem;
class Listening;
class TreeView;

class Logging : public Recorder {
 public:
  explicit Logging(General& general) : mGeneral(general) {}
  void SetSurroundings(const HistorySurroundings& surroundings) { mAround = surroundings; }

  // What waits to be shown in the real-time pane, one entry in each list. The lists advance in step, but for
  // a replay of kinds that have no colour.
  QList<Payload> gstrData;
  QList<QString> gstrPreamble;
  QList<Colour> gcolColour;
  /// One per connection, in the order of acceptance, by mstrSocketPairKey.
  KeyedList<SocketPairHistoryRef> mobjSocketPairHistory;
  /// Bytes of data and number of events that are held. The first runs a little off when events are trimmed,
  /// and can fall below zero (see KillDeadSocketConnections).
  qint64 mlngTotalMemoryAllocated = 0;
  qint64 mlngTotalEvents = 0;

  // Happenings.
  void LocalServerAcceptedConnection(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                     qint32 lngWasListeningOnPort) override;
  void LocalServerRejectedConnection(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                     qint32 lngWasListeningOnPort) override;
  void ConnectionAttemptToRemoteServer(SocketPair& objSocketPair, const QString& strRemoteServer,
                                       qint32 lngRemotePort, bool blnNextEventFollowOn) override;
  void ConnectionAttemptFailed(SocketPair& objSocketPair, bool blnNextEventFollowOn, const QString& strError,
                               qint32 lngErrorNumber) override;
  void ConnectionAttemptSuccessful(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                   const QString& strComment) override;
  void RemoteServerDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn,
                                const QString& strComment) override;
  void LocalServerDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn) override;
  void RemoteClientDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn) override;
  void LocalClientDisconnected(SocketPair& objSocketPair, bool blnNextEventFollowOn) override;
  void ClientBytesReceived(SocketPair& objSocketPair, const Payload& strData,
                           bool blnNextEventFollowOn) override;
  void ClientBytesBuffered(SocketPair& objSocketPair, const Payload& strData, bool blnNextEventFollowOn,
                           bool blnBufferedBecauseOfDangling) override;
  void ServerBytesBuffered(SocketPair& objSocketPair, const Payload& strData, bool blnNextEventFollowOn,
                           bool blnBufferedBecauseOfDangling) override;
  void ServerBytesSendStart(SocketPair& objSocketPair, const Payload& strData, bool blnNextEventFollowOn,
                            bool blnUsesThrottling) override;
  void ServerBytesSendStop(SocketPair& objSocketPair) override;
  void ServerBytesReceived(SocketPair& objSocketPair, const Payload& strData,
                           bool blnNextEventFollowOn) override;
  void ClientBytesSendStart(SocketPair& objSocketPair, const Payload& strData, bool blnNextEventFollowOn,
                            bool blnUsesThrottling) override;
  void ClientBytesSendStop(SocketPair& objSocketPair) override;
  void ServerInBadState(SocketPair& objSocketPair, qint32 lngError, const QString& strError,
                        bool blnNextEventFollowOn) override;
  void ClientInBadState(SocketPair& objSocketPair, qint32 lngError, const QString& strError,
                        bool blnNextEventFollowOn) override;
  void GotNameOfRemoteServer(SocketPair& objSocketPair, const QString& strName) override;
  void GotNameOfRemoteClient(SocketPair& objSocketPair, const QString& strName) override;
  void GotProtocol(SocketPair& objSocketPair, const QString& strProtocol) override;
  void Dead(SocketPair& objSocketPair) override;
  void DanglingStatusChanged(SocketPair& objSocketPair, bool blnDanglingOn, qint16 intDataBeingDangled,
                             qint32 lngTimeDuringDangle) override;

  // Views.
  /// Adds a node to the tree for each port of the table.
  void LoadAllProtocols(const Listening& mobjListening);
  /// Adds the connection nodes under a port's node.
  void LoadAllCommsPartners(qint32 lngListeningPort);
  /// Adds the socket nodes under a connection node.
  void LoadAllConnections(const QString& strClientAddress, const QString& strServerAddress,
                          qint32 lngListeningPort);
  /// Adds the event nodes under a socket node, and replays the last events into the real-time pane.
  void LoadAllEvents(const QString& strSocketHistoryKey);
  /// Adds the event nodes that a socket node lacks, because it was folded while they came.
  void LoadMissedEvents(const QString& strSocketHistoryKey);
  /// Builds the grid anew for the selected node, whose image is strImage. A failure goes to the caller.
  void RefreshAllDetails(const QString& strImage);

  // Purging.
  void KillDeadSocketConnections();
  void ClearAllData();
  /// 1-based position in mobjSocketPairHistory.
  void KillSocketHistory(qsizetype position);
  void RemoveEmptyEphemeralPorts();

  // Bytes as text; lines end in CR LF where there are lines.
  /// What is not printable, and the backslash, as a backslash and two upper-case hexadecimal digits.
  static QByteArray GetChar(QByteArrayView strRaw);
  /// The same, but CR and LF stay.
  static QByteArray GetChar2(QByteArrayView strRaw);
  static QByteArray GetAscII(QByteArrayView strRaw);
  static QByteArray GetHex(QByteArrayView strRaw);
  static QByteArray GetBinary(QByteArrayView strRaw);
  static QByteArray GetOctal(QByteArrayView strRaw);
  /// Codes 32 to 126 but for the backslash.
  static bool IsPrintable(char strChar);
  /// Eight digits, highest bit first.
  static QByteArray Bin(quint8 intValue);
  /// Two upper-case digits.
  static QByteArray GetHexDigit(quint8 intHex);

 private:
  friend struct LoggingTest;  // FormatDataToHex and GetHexDigitValue have no other caller yet
  struct Happening;
  struct Facts;
  struct Direction;

  static const Happening kAccepted;
  static const Happening kRejected;
  static const Happening kAttempt;
  static const Happening kAttemptFailed;
  static const Happening kAttemptSuccessful;
  static const Happening kRemoteServerGone;
  static const Happening kLocalServerClosed;
  static const Happening kRemoteClientGone;
  static const Happening kLocalClientClosed;
  static const Happening kClientReceived;
  static const Happening kServerReceived;
  static const Happening kServerBadState;
  static const Happening kClientBadState;
  static const Happening kClientBuffered[2];
  static const Happening kServerBuffered[2];
  static const Happening kServerSent[2];
  static const Happening kClientSent[2];
  static const Happening kClientSideDangle[2];
  static const Happening kServerSideDangle[2];
  static const std::array<Direction, 6> kDirections;
  static const QString kFailedServer;

  // Recording.
  template <class Before, class After>
  void Record(const Happening& happening, SocketPair& pair, const Facts& facts, Before&& before,
              After&& after);
  void Record(const Happening& happening, SocketPair& pair, const Facts& facts);
  template <class Fill>
  void BeginHistory(const Happening& happening, SocketPair& pair, bool followOn, Fill&& fill);
  template <class Body>
  void Note(const char16_t* failureText, Body&& body);
  void RecordBadState(const Happening& happening, SocketPair& pair, qint32 number, const QString& text,
                      bool followOn);
  void EndSend(const char16_t* failureText, SocketPair& pair,
               std::weak_ptr<SocketEvent> SocketPairHistory::*lastSend);
  /// The time of now in its long form.
  const QString& TimeStamp();
  SocketEventRef MakeEvent(const Happening& happening, const Facts& facts);
  void LogEvent(const SocketPair& objSocketPair, const SocketEventRef& objEvent,
                const SocketPairHistoryRef& history);
  void ShowEvent(const SocketPairHistory& history, const SocketEvent& event);
  void CountTowardPurge();

  // Tree and grid.
  TreeView& Tree() const { return mAround.frmMain->SocketTree(); }
  const TreeNode& SelectedNode() const;
  /// Whether the diagram follows this connection: its own node is selected.
  bool ShowsInDiagram(const SocketPairHistory& history) const;
  bool IsExpanded(const QString& nodeKey) const;
  void ShowNewConnection(const SocketPairHistory& history);
  void MoveToFailedBranch(const SocketPairHistory& history);
  void MoveToServersBranch(const SocketPairHistory& history);
  void AddConnectionNode(const QString& key, const SocketPairHistory& history);
  void PutSocketNode(const QString& parentKey, const SocketPairHistory& history, const QString& text,
                     const QString& image);
  void RemoveIfChildless(const QString& nodeKey);
  void ShowDeath(const SocketPairHistory& history);
  void RenameConnectionNode(const SocketPairHistory& history);
  void RenameNode(TreeNode& node, const QString& text);
  void ShowServerName(const SocketPairHistory& history);
  void ShowClientName(const SocketPairHistory& history);
  void ShowProtocol(const SocketPairHistory& history);
  /// The connection's row, when the grid has one and lists connections; otherwise nullptr.
  ListItem* DetailsRowToUpdate(const QString& key);
  bool ShouldSocketDetailsBeUpdated();
  bool IsDetailsRowPresent(const QString& strKey) const;
  void RefreshDetails(const Happening& happening, const SocketEvent& event, const SocketPairHistory& history);
  void AddDetailsRow(const SocketPairHistory& history);
  void RefreshDetailsRow(ListItem& row, const SocketPairHistory& history);
  void UpdateDetailsRow(const SocketEvent& objEvent, const SocketPairHistory& objHistory);
  void UpdateConnectionDetails(const SocketPairHistory& objHistory);
  void UpdateAttempt(const SocketEvent& event, const SocketPairHistory& history);
  QString GetConnectionName(const SocketPairHistory& objHistory);
  bool IsSocketHistoryInSelectedBranch(const QString& strSocketHistoryKey);
  /// The node of the event at a 1-based position.
  void AddEventNode(const SocketPairHistory& history, qsizetype position);
  /// number counts the connection's events from 1, those included that were purged.
  void AddEventRow(const QString& key, const SocketEvent& event, qint64 number);
  void LoadProtocol(const Listening& listening, const QString& port, const QString& description);
  void ListConnections();
  void ListEvents();
  void ListEventItems();

  // Real-time feed.
  void ManageRealTimeData(const SocketEvent& objEvent, const SocketPair& objSocketPair);
  void DisplayRealTimeData(const SocketEvent& objEvent);
  /// nullptr for kinds that the pane does not take as they happen.
  static const Direction* DirectionOf(SocketEventType kind);
  bool IsDirectionShown(const Direction& direction) const;
  QString Preamble(const SocketEvent& event, const Direction* direction) const;

  // Purging.
  Listening& Listener() const;
  void PurgeByNumber(double limit);
  void PurgeByMemory(double limit);
  void TrimEvents(const QString& limitText);
  void TrimHistory(SocketPairHistory& history, double limit);
  void RenumberEventNodes(const TreeNode& node, const QString& key);
  void TryEphemeralPort(const QString& port);
  void RemoveEmptyEphemeralPort(const QString& port);
  void DeletePort(const QString& port);

  // Rendering.
  QByteArray FormatDataToHex(QByteArrayView strData);
  static int GetHexDigitValue(char strChar);

  General& mGeneral;
  HistorySurroundings mAround;
  bool mblnRealTimeFeedOn = true;
  int mlngKillCheckCounter = 0;
  quint64 mLastSerial = 0;
  // By serial, so in the order of mobjSocketPairHistory: what a purge has to look at.
  std::map<quint64, SocketPairHistoryRef> mDead;
  std::map<quint64, SocketPairHistoryRef> mGrown;  // got events since the last look
  std::map<std::pair<qint32, quint64>, SocketPairHistoryRef>
      mByPort;                   // by mlngWasListeningOnPort, then serial
  QSet<QString> mReportedPorts;  // could not be removed, which was reported
  QString mLastEventLimit;
  QString mLastTimeStamp;
};

}  // namespace veltrane
