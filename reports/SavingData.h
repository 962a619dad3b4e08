// The history of a connection as a text file, or the bytes of one direction as they are. All options are read
// from the save dialog's controls. Events are numbered from 1.
#pragma once

#include <QByteArray>

#include "history/SocketPairHistory.h"

namespace veltrane {

class General;
class frmSaveHistory;

/// Writes the texts of all events, one behind the other, in place of what the file held. False after a
/// failure, which is reported; what was written by then stays.
bool SaveDataFile(General& general, const frmSaveHistory& options, const QString& strFile,
                  const SocketPairHistory& objHistory);

/// Writes the bytes of the chosen direction from the start of the file on. The file is not emptied first: a
/// longer one keeps its tail. Failures as above.
bool SaveRawDataFile(General& general, const frmSaveHistory& options, const QString& strFile,
                     const SocketPairHistory& objHistory);

/// The text of one event, empty for one that the options leave out. Fails when there is no such event.
QByteArray GetEventAsText(const frmSaveHistory& options, const SocketPairHistory& objHistory,
                          qsizetype lngPosition);

/// The data of one event, empty when it is not of the chosen direction. Fails when there is no such event.
Payload GetEventRawData(const frmSaveHistory& options, const SocketPairHistory& objHistory,
                        qsizetype lngPosition);

/// The formatter's code of the chosen digits; 0 when none are chosen.
quint8 GetFormatCode(const frmSaveHistory& options);

/// The bytes per row that the dialog shows.
qint16 GetBytesPerRow(const frmSaveHistory& options);

}  // namespace veltrane
