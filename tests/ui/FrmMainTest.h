// The main window among fakes: a recorder whose histories a test fills by hand, and the windows around it.
#pragma once

#include <gtest/gtest.h>

#include "failure/frmProblemSimulation.h"
#include "forms/ListModel.h"
#include "history/Logging.h"
#include "tests/support/HistoryFakes.h"
#include "tests/support/World.h"
#include "ui/frmError.h"
#include "ui/frmMain.h"

namespace veltrane {

class FakeEventDetails : public EventDetails {
 public:
  explicit FakeEventDetails(Journal& journal) : mJournal(journal) {}
  void ClearDetails() override { mJournal.Note(QStringLiteral("ClearDetails")); }
  bool SetDetails(const SocketPairHistoryRef& history, qint16 position) override {
    mJournal.Note(QStringLiteral("SetDetails %1 %2").arg(history->mstrSocketPairKey).arg(position));
    return true;
  }

 private:
  Journal& mJournal;
};

class FakePortConfiguration : public PortConfiguration {
 public:
  explicit FakePortConfiguration(Journal& journal) : mJournal(journal) {}
  void SelectPort(const QString& key) override { mJournal.Note(QStringLiteral("SelectPort ") + key); }

 private:
  Journal& mJournal;
};

struct FrmMainTest : testing::Test {
  FrmMainTest() {
    world.AddPort(1000, QStringLiteral("Pass Through"), QStringLiteral("Apps"));
    world.AddPort(25, kDontUse, QStringLiteral("SMTP"));
    world.AddPort(2000, QStringLiteral("Pass Through"), kEphemeralProtocol);
    error.SetGeneral(world.mGeneral);
    world.mGeneral.frmMain = &window;
    world.mGeneral.gobjLogging = &logging;
    window.SetSurroundings(Around());
    logging.SetSurroundings(around.Around(window));
    chkShowRealTimeData.SetValue(1);
    chkShowStatusBar.SetValue(1);
    chkShowRealTimeData.OnClick = [this] { window.ResizeForm(); };
    world.StartListening();
  }
  MainSurroundings Around() {
    return {.frmError = &error,
            .frmEventDetails = &eventDetails,
            .frmConfigure = &configure,
            .frmOptions = &options,
            .frmRealTimeData = &realTimeData,
            .frmSysTray = &sysTray,
            .frmSaveHistory = &saveHistory,
            .frmAbout = &about,
            .frmProblemSimulation = &problemSimulation,
            .eventDetails = &details,
            .portConfiguration = &ports,
            .endProgram = [this] { world.mJournal.Note(QStringLiteral("end")); }};
  }
  /// Brings the window up in a size; the event history is chosen, so that the grid is filled.
  void Show() {
    window.Show();
    window.FaceResized({0, 0, 15000, 10500}, 15000, 10500);
    world.mJournal.Take();
  }
  StubSocket& Listener(qint32 port = 1000) {
    return *static_cast<StubSocket*>(
        world.mGeneral.gobjListening->mcolListeningSocket.Item(ListeningSocketKey(port)));
  }
  /// A connection with that many events, recorded while nobody looked.
  SocketPairHistory& AddConnection(const QString& key, int events, const QString& client = u"10.0.0.1"_qs,
                                   const QString& server = u"10.0.0.2"_qs, qint32 port = 1000) {
    const auto history = std::make_shared<SocketPairHistory>();
    history->mstrSocketPairKey = key;
    history->mstrRemoteClientIP = client;
    history->mlngRemoteClientPort = 5000;
    history->mstrRemoteServerIP = server;
    history->mlngRemoteServerPort = server.isEmpty() ? 0 : 80;
    history->mlngLocalServerPort = history->mlngWasListeningOnPort = port;
    for (int i = 1; i <= events; ++i)
      AddEvent(*history, QByteArray(i, 'x'));
    logging.mobjSocketPairHistory.Add(history, key);
    return *history;
  }
  static void AddEvent(SocketPairHistory& history, const QByteArray& data = {}) {
    const auto event = std::make_shared<SocketEvent>();
    event->mstrEventTime = QStringLiteral("10:00:00.000");
    event->mstrDescription = QStringLiteral("happened");
    event->mobjEventType = etServerBytesReceived;
    event->mstrData = Payload(data);
    history.AddEvent(event);
  }
  TreeNode& Node(const QString& key) { return window.tvwSockets.Node(key); }
  /// The user's click.
  void Click(const QString& key) { window.tvwSockets.ClickNode(Node(key)); }
  void RightClick(const QString& key) { window.tvwSockets.MouseDown(&Node(key), true, 30, 60); }
  /// Opens the branch of a connection from the port down.
  void Open(const QString& key) {
    const SocketPairHistory& history = *logging.mobjSocketPairHistory.Item(key);
    Click(ProtocolNodeKey(history.mlngLocalServerPort));
    Click(PeerKey(history));
    Click(key);
  }
  static QString PeerKey(const SocketPairHistory& history) {
    return QStringLiteral("CON%1").arg(history.mlngLocalServerPort) + history.mstrRemoteClientIP +
           history.mstrRemoteServerIP;
  }
  QStringList Columns() const {
    QStringList columns;
    for (const ColumnHeader& header : window.lvwDetails.ColumnHeaders())
      columns.append(QStringLiteral("%1 %2 %3").arg(header.key, header.text).arg(header.width));
    return columns;
  }
  QStringList Reports() const { return error.txtErrorMessage.Text().split(u'\n'); }

  // What the tests look at behind the window's face.
  bool IsNodeRelated(const TreeNode& a, const TreeNode& b, bool& wasClosed) {
    return window.IsNodeRelated(a, b, wasClosed);
  }
  DiagramPages& Pages() { return window.mPages; }
  ConnectionDiagram& Diagram() { return window.mDiagram; }
  float TreeWidth() const { return window.msngTreeWidth; }
  float DetailsHeight() const { return window.msngDetailsHeight; }

  World world;
  HistoryFakes around{world.mJournal};
  Logging logging{world.mGeneral};
  frmError error{world.mDesktop};
  Form configure{world.mDesktop, QStringLiteral("frmConfigure")};
  Form eventDetails{world.mDesktop, QStringLiteral("frmEventDetails")};
  Form options{world.mDesktop, QStringLiteral("frmOptions")};
  Form realTimeData{world.mDesktop, QStringLiteral("frmRealTimeData")};
  Form sysTray{world.mDesktop, QStringLiteral("frmSysTray")};
  Form saveHistory{world.mDesktop, QStringLiteral("frmSaveHistory")};
  Form about{world.mDesktop, QStringLiteral("frmAbout")};
  CheckBox chkShowStatusBar{options, QStringLiteral("chkShowStatusBar")};
  CheckBox chkDisplayInSysTray{options, QStringLiteral("chkDisplayInSysTray")};
  CheckBox chkRunMinimized{options, QStringLiteral("chkRunMinimized")};
  CheckBox chkShowRealTimeData{realTimeData, QStringLiteral("chkShowRealTimeData")};
  FakeEventDetails details{world.mJournal};
  FakePortConfiguration ports{world.mJournal};
  frmMain window{world.mGeneral, logging};
  frmProblemSimulation problemSimulation{world.mGeneral, window};
};

}  // namespace veltrane
