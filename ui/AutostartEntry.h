// The entry by which the user's desktop starts the program with the session: a file "Veltrane.desktop" in the
// folder "autostart" of the user's configuration (freedesktop.org Desktop Application Autostart).
#pragma once

#include <QString>

namespace veltrane {

/// The contents of the entry that starts the executable at path; any character may stand in it.
QByteArray AutostartEntryText(const QString& path);

/// Writes the entry into folder, which is made when it is missing. Fails with the system's reason.
void WriteAutostartEntry(const QString& folder, const QString& path);

/// Fails when there is no entry, or with the system's reason.
void RemoveAutostartEntry(const QString& folder);

}  // namespace veltrane
