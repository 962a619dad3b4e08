// The history of a connection as a folder of web pages: a page that redraws the connection diagram as a table
// of pictures, and one small page per event, which opens when its picture or text is clicked.
#pragma once

#include <QByteArray>
#include <QString>

#include "history/SocketPairHistory.h"

namespace veltrane {

class General;
class frmSaveHistory;

/// Writes the report: the events' pages, then the page strFile, then the pictures. Digits and bytes per row
/// are those of the save dialog. False after the first failure, which is reported; what was written by then
/// stays.
bool SaveHTMLFile(General& general, const frmSaveHistory& options, const QString& strFile,
                  const SocketPairHistory& objHistory);

/// Where the parts of a report go.
struct ReportPath {
  QString subFolder;   // of the events' pages: what stands before the first dot of the whole path
  QString folder;      // of the report itself, without a slash at its end
  QString folderName;  // of the sub folder, as the links call it
};

/// All empty for a path without a dot. A file without a folder is in the current one, ".".
ReportPath SplitReportPath(const QString& strFile);

/// The page of the event at a 1-based position.
QString EventPagePath(const QString& subFolder, qsizetype position);

/// Text between tags: "&", "<" and ">" as entities, each blank as "&nbsp;", and "<br>" before each CR LF.
QByteArray EscapeForPage(QByteArrayView text);

}  // namespace veltrane
