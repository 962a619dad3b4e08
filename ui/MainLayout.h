// Where everything of the main window stands: pure arithmetic, from sizes and switches to rectangles. All
// lengths are in twips, counted from the corner of the inner area under the menu.
#pragma once

#include "forms/Rect.h"

namespace veltrane {

struct MainSizes {
  int width = 0;  // of the inner area
  int height = 0;
  float treeWidth = 0;      // msngTreeWidth
  float detailsHeight = 0;  // msngDetailsHeight, heeded while the real-time pane is shown
  bool toolBarShown = true;
  bool statusBarShown = true;
  bool realTimeShown = true;
  int toolBarHeight = 0;
  int statusBarHeight = 0;
  int navigationWidth = 0;
  int realTimeTitleHeight = 0;
  Rect closeBox;          // its size alone counts
  int computerWidth = 0;  // of a computer in the diagram
  Rect diagramFrame;      // as it is scrolled now, and as high as it has grown
};

struct MainPlaces {
  Rect lneSep[2];
  Rect barToolbar;
  Rect panWorking;
  Rect aniWorking;  // on panWorking
  Rect lblSockets;
  Rect tvwSockets;
  Rect lblDetails;
  Rect barNavigation;
  Rect lvwDetails;
  Rect panDiagramOuter;
  Rect panDiagram;          // on panDiagramOuter
  Rect fraConnectionPanel;  // on panDiagram
  Rect scrHoriz;            // both on panDiagramOuter
  Rect scrVert;
  Rect headings[3];  // client, proxy, server, on fraConnectionPanel
  Rect lblRealTime;  // these four mean nothing while the pane is not shown
  Rect chkCloseRealTime;
  Rect txtRealTime;
  Rect imgSplitterHoriz;
  Rect imgSplitterVert;
  Rect barStatus;
};

/// Sizes come out negative where the window is too small for the arithmetic.
MainPlaces ArrangeMainWindow(const MainSizes& sizes);

// Splitters: where the drag shape stands while a splitter is moved by an offset. It stops at the limits.

/// The upper right pane is at least 1000 high and at most the window's height less 2800.
int DraggedTop(const Rect& splitter, const Rect& detailsTitle, float detailsHeight, int offset, int height);
/// The tree is at least 500 wide and leaves 1000 on the right.
int DraggedLeft(const Rect& splitter, float treeWidth, int offset, int width);
/// The sizes that belong to a shape that is let go.
float DetailsHeightAt(int shapeTop, const Rect& detailsTitle);
float TreeWidthAt(int shapeLeft);

}  // namespace veltrane
