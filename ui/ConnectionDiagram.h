// The connection diagram: one connection as a ladder, a page of 20 events at a time, in the place of the
// grid. Owned by the main window, whose controls it fills. Every event is drawn by a table (DiagramKinds) at
// places that are pure arithmetic (DiagramGeometry); what is drawn stands in the panel (DiagramPanel).
#pragma once

#include <functional>
#include <memory>

#include "base/Failure.h"
#include "history/SocketPairHistory.h"
#include "ui/DiagramPages.h"
#include "ui/DiagramPanel.h"

namespace veltrane {

struct DiagramItem;

/// The main window's controls that belong to the diagram.
struct DiagramControls {
  Panel& panDiagramOuter;
  Panel& panDiagram;
  DiagramPanel& fraConnectionPanel;
  ScrollBar& scrConnectionPanelHoriz;
  ScrollBar& scrConnectionPanelVert;
  Area& shpHighlight;
  ProgressBar& pgrRefresh;
};

class ConnectionDiagram {
 public:
  /// pictureFolder is where the files of the pictures stand, with a slash at its end. animates tells whether
  /// what is drawn plays.
  ConnectionDiagram(DiagramPages& pages, const DiagramControls& controls, ErrorSink& errors,
                    QString pictureFolder, std::function<bool()> animates);

  /// One new event at the end of the connection in view. Off the current page it only counts.
  void AddEvent(const SocketPairHistory& history);
  /// The connection in view has lost its oldest events. The last page goes on with the newest ones; on a page
  /// before it the reader is not disturbed.
  void FollowPurge(const SocketPairHistory& history);
  /// Draws the current page afresh.
  void Display(const SocketPairHistory& history);
  void Clear();
  /// Draws the event at a 1-based position. followOn: it continues the row of the event before. Reports what
  /// fails.
  void DrawEvent(int row, qsizetype position, bool followOn, const SocketPairHistory& history);
  /// Whether a link stands among what is drawn, for an event that is still there.
  bool IsDrawn(const std::shared_ptr<DiagramFigure>& figure) const;
  /// Marks a drawn link and scrolls it into view. A link that is not drawn (any more) is reported as one
  /// whose event was purged, with false.
  bool HighlightEvent(const std::shared_ptr<DiagramFigure>& figure);
  void UnhighlightEvent();
  void RefreshScrollBars();
  void PlayAll(bool play) { mControls.fraConnectionPanel.PlayAll(play); }

  /// Tells the user that the event is gone.
  void ReportPurged();
  /// Reports a picture that could not be read.
  void ReportPicture(const Failure& failure);

 private:
  void BeginProgress();
  void EndProgress();
  void DrawPage(const SocketPairHistory& history);
  void BeginAnew(const SocketPairHistory& history);
  void Mark(const DiagramFigure& figure);
  void Draw(const DiagramItem& item, int row, qsizetype position, const SocketPairHistory& history);
  void MakeRoom(int row);
  void Scroll();

  DiagramPages& mPages;
  const DiagramControls mControls;
  ErrorSink& mErrors;
  const QString mPictureFolder;
  const std::function<bool()> mAnimates;
  std::weak_ptr<SocketEvent> mMarked;
  qsizetype mLastDrawn = 0;  // position on the page in view, 0 while it is empty
};

}  // namespace veltrane
