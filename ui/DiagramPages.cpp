#include "ui/DiagramPages.h"

namespace veltrane {

bool DiagramPages::CheckForPageChange(qint16 event) {
  const qint32 before = mintCurrentPage;
  while (event > kEventsPerPage * (mintCurrentPage + 1))
    ++mintCurrentPage;
  // No event stands before the first page.
  while (event <= kEventsPerPage * mintCurrentPage && mintCurrentPage > 0)
    --mintCurrentPage;
  return mintCurrentPage != before;
}

qint32 DiagramPages::PageCount(qsizetype events) {
  return static_cast<qint32>((events - 1) / kEventsPerPage + 1);
}

}  // namespace veltrane
