// Which part of a connection the diagram shows: its events in pages of 20.
#pragma once

#include <QtGlobal>

namespace veltrane {

constexpr qint16 kEventsPerPage = 20;

struct DiagramPages {
  // As wide as the histories may grow.
  qint32 mintCurrentPage = 0;  // counted from 0
  qint32 mintPageCount = 0;
  qint32 mintCurrentEvent = 0;  // the highlighted one, counted from 1
  qint32 mlngDiagramRow = 0;    // the row that is drawn on

  /// Positions of events on the current page, counted from 1.
  qsizetype FirstOnPage() const { return kEventsPerPage * mintCurrentPage + 1; }
  qsizetype LastOnPage() const { return kEventsPerPage * (mintCurrentPage + 1); }
  bool IsOnPage(qsizetype event) const { return event >= FirstOnPage() && event <= LastOnPage(); }

  /// Turns to the page of an event, counted from 1. False when it was the right one.
  bool CheckForPageChange(qint16 event);
  static qint32 PageCount(qsizetype events);
};

}  // namespace veltrane
