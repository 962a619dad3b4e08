// What the event window asks of the connection diagram. ui/frmMain keeps it.
#pragma once

#include <QtGlobal>

#include <memory>

#include "history/SocketPairHistory.h"

namespace veltrane {

class DiagramFigure;

class EventDiagram {
 public:
  virtual ~EventDiagram() = default;

  /// Turns to the page of an event, counted from 1; false when it was the right one.
  virtual bool CheckForPageChange(qint16 event) = 0;
  /// Draws the page in view afresh, of this history.
  virtual void DisplayConnectionDiagram(const SocketPairHistoryRef& history) = 0;
  /// Whether a link stands among what is drawn.
  virtual bool IsDrawn(const std::shared_ptr<DiagramFigure>& figure) const = 0;
  /// False when the figure is not there, which is reported.
  virtual bool HighlightEvent(const std::shared_ptr<DiagramFigure>& figure) = 0;
  virtual void UnhighlightEvent() = 0;
};

}  // namespace veltrane
