// The main window as the engine sees it.
#pragma once

#include "engine/MainWindow.h"
#include "forms/Form.h"
#include "forms/TreeView.h"
#include "tests/support/Journal.h"

namespace veltrane {

class FakeMainWindow : public Form, public MainWindow {
 public:
  FakeMainWindow(Desktop& desktop, Journal& journal)
      : Form(desktop, QStringLiteral("frmMain")), mJournal(journal) {
    tvwSockets.Add({}, QStringLiteral("ROOT"), QStringLiteral("All Activity"), QStringLiteral("AllActivity"));
  }

  TreeView& SocketTree() override { return tvwSockets; }
  bool KeepOnTop() const override { return mKeepOnTop; }
  void RefreshPaneTitles() override { mJournal.Note(QStringLiteral("RefreshPaneTitles")); }
  void CheckAnimation() override { mJournal.Note(QStringLiteral("CheckAnimation")); }
  void RepaintWindow() override { mJournal.Note(QStringLiteral("repaint main")); }

  TreeView tvwSockets{*this, QStringLiteral("tvwSockets")};
  bool mKeepOnTop = false;

 private:
  Journal& mJournal;
};

}  // namespace veltrane
