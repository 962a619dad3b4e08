// A main window that shows connection diagrams, and what stands in them.
#pragma once

#include "engine/SocketPair.h"
#include "history/HistoryText.h"
#include "tests/ui/FrmMainTest.h"
#include "ui/DiagramKinds.h"
#include "ui/frmEventDetails.h"

namespace veltrane {

using enum DiagramArray;

inline const QString kPurged = QStringLiteral(
    "Since this data was displayed to the screen, it has been unloaded from memory as part of the routine "
    "data purging as specified in the Options.  No information can be displayed.");
inline const QString kResources = QStringLiteral("/opt/veltrane/res/");

struct NamedArray {
  DiagramArray array;
  const char* name;
};
inline const NamedArray kNames[] = {{aniClient, "client"}, {aniClient2VLT, "left"},
                                    {aniVLT, "proxy"},     {aniVLT2Server, "right"},
                                    {aniServer, "server"}, {pctInternet, "cloud"}};

struct ConnectionDiagramTest : FrmMainTest {
  ConnectionDiagramTest() {
    chkAnimateConnectionDiagram.SetValue(1);
    Show();
    world.mGeneral.gblnConnectionDiagramSelected = true;
    QObject::connect(&window.fraConnectionPanel, &DiagramPanel::CellPut, &window,
                     [this](const Rect& place) { put.append(place); });
  }

  struct Kind {
    int kind;
    bool followOn = false;  // what the event says of the next one
  };
  /// A connection with events of these kinds.
  SocketPairHistory& AddKinds(const QString& key, std::initializer_list<Kind> kinds) {
    SocketPairHistory& history = AddConnection(key, 0);
    for (const Kind& kind : kinds)
      AddKind(history, kind);
    return history;
  }
  void AddKind(SocketPairHistory& history, const Kind& kind) {
    const auto event = std::make_shared<SocketEvent>();
    event->mobjEventType = static_cast<SocketEventType>(kind.kind);
    event->mblnNextEventFollowOn = kind.followOn;
    event->mstrDescription = QStringLiteral("kind %1").arg(kind.kind);
    event->mstrEventTime = QStringLiteral("10:00:00.123");
    history.AddEvent(event);
  }
  void Live(SocketPairHistory& history, const Kind& kind) {
    AddKind(history, kind);
    window.AddConnectionDiagramEvent(logging.mobjSocketPairHistory.Item(history.mstrSocketPairKey));
  }
  /// What the engine tells the recorder: data arrives on a connection.
  void Arrive(const QString& key) {
    world.mGeneral.gblnRecordEvents = true;
    SocketPair pair(world.mGeneral);
    pair.SetSocketPairKey(key);
    logging.ServerBytesReceived(pair, Payload(QByteArray("x")), false);
  }
  const std::map<int, DiagramCell>& Cells(DiagramArray array) const {
    return window.fraConnectionPanel.Cells(array);
  }
  /// What a row holds in the order of the columns: "client ComputerOn.avi, left C2SData.avi, ...".
  QString Row(int row) const {
    QStringList words;
    for (const auto& name : kNames) {
      const auto found = Cells(name.array).find(row);
      if (found != Cells(name.array).end()) words.append(Word(name.name, found->second.file));
    }
    return words.join(QStringLiteral(", "));
  }
  static QString Word(const char* name, QString file) {
    return QLatin1String(name) + u' ' + file.remove(kResources);
  }
  /// The pictures in the order in which they were put there, told by their places.
  QString Order(int row) const {
    QStringList words;
    for (const Rect& place : put) {
      for (const auto& name : kNames) {
        const auto found = Cells(name.array).find(row);
        if (found != Cells(name.array).end() && found->second.place == place)
          words.append(Word(name.name, found->second.file));
      }
    }
    return words.join(QStringLiteral(", "));
  }
  int RowCount() const {
    int last = 0;
    for (const auto& cells : window.fraConnectionPanel.Cells())
      last = cells.empty() ? last : std::max(last, cells.rbegin()->first);
    return last;
  }
  QString Label(DiagramArray array, int row) const { return Cells(array).at(row).text; }
  std::shared_ptr<DiagramFigure> Figure(const SocketPairHistory& history, qsizetype position) {
    return history.mobjSocketPairEvents.Item(position)->mobjUIObject.lock();
  }
  void ClickLink(const std::shared_ptr<DiagramFigure>& figure) {
    window.fraConnectionPanel.ClickLink(figure);
  }
  QString Counter() const { return window.lblDetails.PanelText(2); }
  QString Page() const { return window.lblDetails.PanelText(3); }
  bool NextIsLit() const { return window.barNavigation.ButtonEnabled(QStringLiteral("Next")); }
  QStringList TakeReports() { return std::exchange(world.mErrors.mTexts, {}); }

  CheckBox chkAnimateConnectionDiagram{options, QStringLiteral("chkAnimateConnectionDiagram")};
  QList<Rect> put;
};

}  // namespace veltrane
