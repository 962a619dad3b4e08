// The main window: the tree of what the proxy listens on and who talked through it, and the timers that keep
// house. Closing it for good takes the whole system down, in order.
#pragma once

#include <functional>

#include "base/Timer.h"
#include "engine/MainWindow.h"
#include "forms/Controls.h"
#include "forms/Form.h"
#include "forms/TreeView.h"

namespace veltrane {

class General;
class Logging;

class frmMain : public Form, public MainWindow {
  Q_OBJECT

 public:
  /// The windows that are unloaded at shut-down, in that order, and what ends the process after them.
  struct Surroundings {
    QList<Form*> windows;
    std::function<void()> endProgram;
  };

  frmMain(General& general, Logging& logging, Form& errorForm);

  void SetSurroundings(Surroundings surroundings) { mSurroundings = std::move(surroundings); }

  /// The final shut-down; every step runs past failures. Can be asked for from any event; a second request
  /// changes nothing.
  void Terminate();

  TreeView tvwSockets{*this, QStringLiteral("tvwSockets")};
  MenuItem mnuExit{*this, QStringLiteral("mnuExit"), QStringLiteral("E&xit")};
  MenuItem mnuViewErrorMessages{*this, QStringLiteral("mnuViewErrorMessages"),
                                QStringLiteral("Error &Messages...")};
  MenuItem mnuKeepOnTop{*this, QStringLiteral("mnuKeepOnTop"), QStringLiteral("&Keep on Top")};

  Timer tmrUnloadSocketPairs;

  TreeView& SocketTree() override { return tvwSockets; }
  bool KeepOnTop() const override { return mnuKeepOnTop.Checked(); }
  void RefreshPaneTitles() override {}
  void CheckAnimation() override {}
  void RepaintWindow() override { Repaint(); }

 protected:
  void OnLoad() override;
  bool OnQueryUnload() override;
  void OnUnload() override;

 private:
  void SetupScreen();
  void ApplyKeepOnTop();
  void UnloadSocketPairs();

  General& mGeneral;
  Logging& mLogging;
  Form& mErrorForm;
  Surroundings mSurroundings;
  bool mTerminating = false;
};

}  // namespace veltrane
