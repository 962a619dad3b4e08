// Files and folders that are nobody's business but their user's, from the moment that they exist.
#pragma once

#include <QString>

namespace veltrane {

/// Makes a folder that only its user can enter, and what is missing above it with the user's usual rights.
/// One that is there keeps its rights. What fails shows when the folder is used.
void MakePrivateFolder(const QString& path);

/// Makes an empty file that only its user can read and write. One that is there stays as it is. Links
/// are followed: whoever opens the path later would make the file at their end.
void MakePrivateFile(const QString& path);

}  // namespace veltrane
