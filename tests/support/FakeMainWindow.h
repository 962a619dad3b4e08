// The main window as the engine and the recorder see it.
#pragma once

#include <functional>

#include "forms/Form.h"
#include "forms/ListView.h"
#include "forms/RichTextBox.h"
#include "forms/TreeView.h"
#include "history/Surroundings.h"
#include "tests/support/Journal.h"

namespace veltrane {

class FakeMainWindow : public Form, public HistoryWindow {
 public:
  FakeMainWindow(Desktop& desktop, Journal& journal)
      : Form(desktop, QStringLiteral("frmMain")), mJournal(journal) {
    tvwSockets.Add({}, QStringLiteral("ROOT"), QStringLiteral("All Activity"), QStringLiteral("AllActivity"));
  }

  bool StaysMinimized() const override { return true; }
  TreeView& SocketTree() override { return tvwSockets; }
  TreeNodeRef SelectedNode() const override {
    TreeNode* node = tvwSockets.SelectedItem();
    return mnodSelectedNode || !node ? mnodSelectedNode : TreeView::Keep(*node);
  }
  bool KeepOnTop() const override { return mKeepOnTop; }
  void RefreshPaneTitles() override { mJournal.Note(QStringLiteral("RefreshPaneTitles")); }
  void CheckAnimation() override { mJournal.Note(QStringLiteral("CheckAnimation")); }
  void RepaintWindow() override {
    mJournal.Note(QStringLiteral("repaint main"));
    if (OnRepaint) OnRepaint();
  }

  ListView& DetailsGrid() override {
    if (OnDetailsGrid) OnDetailsGrid();
    return lvwDetails;
  }
  RichTextBox& RealTimeText() override { return txtRealTime; }
  void ConfigureGridForAllActivity() override { Configure("AllActivity"); }
  void ConfigureGridForConnection() override { Configure("Connection"); }
  void ConfigureGridForEvent() override { Configure("Event"); }
  void AddConnectionDiagramEvent(const SocketPairHistoryRef& history) override {
    mJournal.Note(QStringLiteral("AddConnectionDiagramEvent ") + history->mstrSocketPairKey);
    mDiagramServer = history->mstrRemoteServerIP;
    mDiagramError = history->mlngErrorNumber;
  }
  void ConnectionDiagramPurged(const SocketPairHistory& history) override {
    mJournal.Note(QStringLiteral("ConnectionDiagramPurged ") + history.mstrSocketPairKey);
  }
  void RequestRedraw() override {
    mJournal.Note(QStringLiteral("RequestRedraw"));
    if (OnRequestRedraw) OnRequestRedraw();
  }
  void tmrRealTimeData_Timer() override {
    mJournal.Note(QStringLiteral("tmrRealTimeData_Timer"));
    if (OnRealTimeData) OnRealTimeData();
  }
  void tvwSockets_NodeClick(TreeNode& node) override {
    mJournal.Note(QStringLiteral("NodeClick ") + node.Key());
    tvwSockets.SetSelectedItem(&node);
  }

  TreeView tvwSockets{*this, QStringLiteral("tvwSockets")};
  ListView lvwDetails{*this, QStringLiteral("lvwDetails")};
  RichTextBox txtRealTime{*this, QStringLiteral("txtRealTime")};
  /// Where it is to be another than the tree's own.
  TreeNodeRef mnodSelectedNode;
  bool mKeepOnTop = false;
  // What the history knew when the diagram got its last event.
  QString mDiagramServer;
  qint32 mDiagramError = 0;
  std::function<void()> OnRealTimeData;
  std::function<void()> OnRepaint;
  std::function<void()> OnDetailsGrid;
  std::function<void()> OnRequestRedraw;

 private:
  void Configure(const char* columns) {
    mJournal.Note(QStringLiteral("ConfigureGridFor") + QLatin1String(columns));
    lvwDetails.ClearColumnHeaders();
    lvwDetails.AddColumnHeader({QStringLiteral("A"), QLatin1String(columns), 1000});
  }

  Journal& mJournal;
};

}  // namespace veltrane
