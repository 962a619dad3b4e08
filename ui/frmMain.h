// The main window: the tree of what the proxy listens on and who talked through it, the grid or the diagram
// of what is selected, and the real-time pane. Closing it for good takes the whole system down, in order.
// Its jobs stand in files of their own:
//
//   frmMain.cpp            the shell: coming up, timers, closing, the end
//   frmMainMenus.cpp       the tables of menus, bars and panels, and what they do
//   frmMainLayout.cpp      where everything stands, and the splitters (the arithmetic is in MainLayout)
//   frmMainSelection.cpp   selecting in the tree, its context menu
//   frmMainGrid.cpp        the grid's columns, its order, and the way down from a row
//   frmMainNavigation.cpp  grid or diagram, the diagram's pages and links
//   frmMainTitles.cpp      the titles of the panes, the counters, the working animation
#pragma once

#include <array>
#include <span>

#include "base/Timer.h"
#include "engine/StatusPanes.h"
#include "forms/Controls.h"
#include "forms/Form.h"
#include "forms/ListView.h"
#include "forms/RichTextBox.h"
#include "forms/ToolBar.h"
#include "forms/TreeView.h"
#include "forms/WindowParts.h"
#include "history/Surroundings.h"
#include "ui/ConnectionDiagram.h"
#include "ui/DiagramPages.h"
#include "ui/EventDiagram.h"
#include "ui/MainLayout.h"
#include "ui/MainShell.h"
#include "ui/MainSurroundings.h"

namespace veltrane {

class General;
class Logging;
class frmSysTray;

class frmMain : public Form, public HistoryWindow, public StatusPanes, public MainShell, public EventDiagram {
  Q_OBJECT

 public:
  frmMain(General& general, Logging& logging);

  void SetSurroundings(MainSurroundings surroundings);

  /// The final shut-down; every step runs past failures. Can be asked for from any event; a second request
  /// changes nothing.
  void Terminate() override;

  /// Lays everything out for the size that the window has now. Nothing happens before it has one.
  void ResizeForm() override;

  /// It starts minimised where the user wants that, and comes back so when the icon that hid it goes.
  bool StaysMinimized() const override { return true; }

  // The grid's column sets; each clears the headers first.
  void ConfigureGridForAllActivity() override;
  void ConfigureGridForConnection() override;
  void ConfigureGridForEvent() override;

  /// Selects a node: closes what is off its path, shows its details, and loads its branch unless it was open.
  void tvwSockets_NodeClick(TreeNode& node) override;

  void tmrRealTimeData_Timer() override;
  void tmrStats_Timer();
  void CheckAnimation() override;
  /// Titles follow the tree's selected item.
  void RefreshPaneTitles() override;

  // The diagram.
  void AddConnectionDiagramEvent(const SocketPairHistoryRef& history) override;
  void ConnectionDiagramPurged(const SocketPairHistory& history) override;
  void DisplayConnectionDiagram(const SocketPairHistoryRef& history) override;
  bool HighlightEvent(const std::shared_ptr<DiagramFigure>& figure) override;
  void UnhighlightEvent() override { mDiagram.UnhighlightEvent(); }
  /// Turns to the page of an event, counted from 1; false when it was the right one.
  bool CheckForPageChange(qint16 event) override;
  bool IsDrawn(const std::shared_ptr<DiagramFigure>& figure) const override {
    return mDiagram.IsDrawn(figure);
  }
  /// A picture of the diagram could not be read.
  void ReportPicture(const Failure& failure) { mDiagram.ReportPicture(failure); }

  /// The history that the diagram shows.
  SocketPairHistoryRef mobjCurrentHistory;
  /// Events were purged: the next selection of an event draws the diagram afresh from its first page.
  bool gblnRequestRedraw = false;
  /// The node that was clicked last; the root until then.
  TreeNodeRef mnodSelectedNode;

  // What the engine and the recorder ask for.
  TreeView& SocketTree() override { return tvwSockets; }
  TreeNodeRef SelectedNode() const override { return mnodSelectedNode; }
  ListView& DetailsGrid() override { return lvwDetails; }
  RichTextBox& RealTimeText() override { return txtRealTime; }
  bool KeepOnTop() const override { return mnuKeepOnTop.Checked(); }
  void RepaintWindow() override { Repaint(); }
  void RequestRedraw() override { gblnRequestRedraw = true; }
  void SetPaneText(int pane, const QString& text) override { barStatus.SetPanelText(pane, text); }

  // What the options and the icon do to it.
  Form& Window() override { return *this; }
  void SetToolBarVisible(bool visible) override { barToolbar.SetVisible(visible); }
  void SetStatusBarVisible(bool visible) override { barStatus.SetVisible(visible); }
  void PlayAnimations(bool play) override;

  // The tables of the menus, for the face and the tests.
  struct MenuTitle {
    const char* name;
    const char* caption;
  };
  /// A row without an item is a separator. An entry shows its window, or runs its procedure.
  struct MenuRow {
    const char* menu;
    const char* name;
    const char* caption;
    MenuItem frmMain::*item;
    void (frmMain::*run)();
    Form* MainSurroundings::*window;
  };
  static std::span<const MenuTitle> MenuTitles();
  static std::span<const MenuRow> MenuRows();

  TreeView tvwSockets{*this, QStringLiteral("tvwSockets")};
  ListView lvwDetails{*this, QStringLiteral("lvwDetails")};
  RichTextBox txtRealTime{*this, QStringLiteral("txtRealTime")};
  ToolBar barToolbar{*this, QStringLiteral("barToolbar")};
  ToolBar barNavigation{*this, QStringLiteral("barNavigation")};
  StatusBar barStatus{*this, QStringLiteral("barStatus"), 9};
  StatusBar lblSockets{*this, QStringLiteral("lblSockets"), 1};
  StatusBar lblDetails{*this, QStringLiteral("lblDetails"), 3};
  Label lblRealTime{*this, QStringLiteral("lblRealTime")};
  CheckBox chkCloseRealTime{*this, QStringLiteral("chkCloseRealTime")};
  Splitter imgSplitterHoriz{*this, QStringLiteral("imgSplitterHoriz")};
  Splitter imgSplitterVert{*this, QStringLiteral("imgSplitterVert")};
  Area shpDrag{*this, QStringLiteral("shpDrag")};
  std::array<Area, 2> lneSep{Area{*this, QStringLiteral("lneSep_0")},
                             Area{*this, QStringLiteral("lneSep_1")}};
  Area panWorking{*this, QStringLiteral("panWorking")};
  Animation aniWorking{*this, QStringLiteral("aniWorking")};

  Panel panDiagramOuter{*this, QStringLiteral("panDiagramOuter")};
  Panel panDiagram{*this, QStringLiteral("panDiagram")};
  DiagramPanel fraConnectionPanel{*this, QStringLiteral("fraConnectionPanel")};
  ScrollBar scrConnectionPanelHoriz{*this, QStringLiteral("scrConnectionPanelHoriz")};
  ScrollBar scrConnectionPanelVert{*this, QStringLiteral("scrConnectionPanelVert")};
  Area shpHighlight{*this, QStringLiteral("shpHighlight")};
  ProgressBar pgrRefresh{*this, QStringLiteral("pgrRefresh")};
  Label lblClientHeading{*this, QStringLiteral("lblClientHeading")};
  Label lblVLTHeading{*this, QStringLiteral("lblVLTHeading")};
  Label lblServerHeading{*this, QStringLiteral("lblServerHeading")};

  // Captions stand in the table of the menus.
  MenuItem mnuClearAllData{*this, QStringLiteral("mnuClearAllData"), {}};
  MenuItem mnuExit{*this, QStringLiteral("mnuExit"), {}};
  MenuItem mnuEventHistory{*this, QStringLiteral("mnuEventHistory"), {}};
  MenuItem mnuConnectionDiagram{*this, QStringLiteral("mnuConnectionDiagram"), {}};
  MenuItem mnuRealTimeData{*this, QStringLiteral("mnuRealTimeData"), {}};
  MenuItem mnuViewErrorMessages{*this, QStringLiteral("mnuViewErrorMessages"), {}};
  MenuItem mnuKeepOnTop{*this, QStringLiteral("mnuKeepOnTop"), {}};
  MenuItem mnuSaveHistory{*this, QStringLiteral("mnuSaveHistory"), {}};
  MenuItem mnuConfigure{*this, QStringLiteral("mnuConfigure"), {}};
  MenuItem mnuFailureSimulation{*this, QStringLiteral("mnuFailureSimulation"), {}};
  MenuItem mnuRealTimeLogging{*this, QStringLiteral("mnuRealTimeLogging"), {}};
  MenuItem mnuOptions{*this, QStringLiteral("mnuOptions"), {}};
  MenuItem mnuContents{*this, QStringLiteral("mnuContents"), {}};
  MenuItem mnuAbout{*this, QStringLiteral("mnuAbout"), {}};
  MenuItem mnuStopListening{*this, QStringLiteral("mnuStopListening"), {}};
  MenuItem mnuProtocol{*this, QStringLiteral("mnuProtocol"), {}};
  MenuItem mnuSaveHistoryPopUp{*this, QStringLiteral("mnuSaveHistoryPopUp"), {}};
  /// The tree's context menu; its tag is the port that it was opened on.
  PopUpMenu mnuPopup{*this, QStringLiteral("mnuPopup")};

  Timer tmrRealTimeData;
  Timer tmrStats;
  Timer tmrKillDeadSockets;
  Timer tmrUnloadSocketPairs;

 protected:
  void OnLoad() override;
  void OnShown() override;
  void OnResize() override { ResizeForm(); }
  bool OnQueryUnload() override;
  void OnUnload() override;

 private:
  friend struct FrmMainTest;
  struct ToolRow;
  struct DropDownRow;
  struct PanelRow;
  struct GridColumn;
  struct ImageLoad;
  static const ToolRow kTools[];
  static const DropDownRow kDropDowns[];
  static const PanelRow kPanels[];

  // Shell.
  void SetupScreen();
  void StartTimers();
  void ShowMonitoringTitle();
  void UnloadSocketPairs();
  bool RunsFromTray() const;
  bool HidesInTray() const;
  void ApplyKeepOnTop();

  // Menus and bars.
  void SetUpMenus();
  void SetUpToolBars();
  void EnableByWindows();
  void SetSavePossible(bool possible);
  void ClickTool(const QString& key);
  void ClickDropDown(const QString& key);
  void DoubleClickPanel(int panel);
  /// Shows a window without blocking, owned by this one, and on top with it.
  void ShowWindow(Form* window, Form* owner);
  void ClearAllData();
  void ToggleKeepOnTop();
  void ShowHelp();
  void StopListening();
  void ShowProtocol();
  void ShowRealTime();
  void HideRealTime();
  void SetRealTimeShown(bool shown);

  // Switches of other windows; a missing one has the default.
  static CheckBox* BoxOf(const Form* window, const char* name);
  static bool IsOn(const Form* window, const char* name, bool whenMissing);
  bool RealTimeShown() const;

  // Layout.
  void SetUpLayout();
  MainSizes Sizes() const;
  void Place(const MainPlaces& places);
  void PlaceRealTimePane(const MainPlaces& places, bool shown);
  void BeginDrag(const Splitter& splitter, bool& dragging);
  void DragHoriz(int y);
  void DragVert(int x);
  void DropHoriz();
  void DropVert();

  // Selection.
  void SelectNode(TreeNode& node);
  void FollowSelection(TreeNode& node);
  void ShowSelection();
  bool PruneOff(const TreeNode& node);
  void RemoveChildren(TreeNode& node);
  /// Whether a stands on the path from the root to b. wasClosed becomes false when a is b or stands right
  /// below it.
  bool IsNodeRelated(const TreeNode& a, const TreeNode& b, bool& wasClosed);
  void LoadBranch(TreeNode& node);
  void LoadRoot(TreeNode& node);
  void LoadPort(TreeNode& node);
  void LoadPeers(TreeNode& node);
  void LoadSocket(TreeNode& node);
  void LoadEvent(TreeNode& node);
  /// Where an event's node says that its event is.
  struct EventPlace {
    QString connection;
    qint32 position;
  };
  static EventPlace PlaceOf(const TreeNode& node);
  /// The event of an event's node, or nullptr when it is gone from its connection.
  SocketEventRef EventOf(const TreeNode& node) const;
  void ShowEventInDiagram(const SocketPairHistory& history, qint16 position);
  void ExpandSelected();
  void FillBranch(TreeNode& node);
  void LoadConnections(const TreeNode& node);
  void RightClick(TreeNode* node, int x, int y);
  void ChooseForMenu(TreeNode& node);
  void OpenPortMenu(TreeNode& node, int x, int y);
  void OpenHistoryMenu(TreeNode& node, int x, int y);
  SocketPairHistoryRef HistoryOf(const QString& key) const;

  // Grid.
  void ConfigureGrid(std::span<const GridColumn> columns);
  void SortByColumn(int column);
  void GoDeeper();
  void GoToConnection(const ListItem& row);
  void GoToEvent(const ListItem& row);
  void ShowEventDetails();

  // Navigation.
  void ChooseDiagram();
  void ChooseEventHistory();
  void ToggleView();
  void ChooseView(bool diagram);
  void RefreshDiagramVisibility();
  void RefreshNavigation();
  void RefreshCounters();
  void TurnPage(const QString& key);
  void ClickLink(const std::shared_ptr<DiagramFigure>& link);
  void OpenLink(DiagramFigure& link);
  bool FollowPurges(DiagramFigure& link) const;

  General& mGeneral;
  Logging& mLogging;
  MainSurroundings mAround;
  DiagramPages mPages;
  ConnectionDiagram mDiagram;
  float msngTreeWidth = 0;
  float msngDetailsHeight = 0;
  qint32 mlngLastScaleHeight;
  bool mblnDraggingHoriz = false;
  bool mblnDraggingVert = false;
  bool mblnWorkingAnimation = false;
  bool mSavePossible = false;
  bool mTerminating = false;
};

}  // namespace veltrane
