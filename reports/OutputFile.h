// A file that a save writes. What was written counts only when the system has taken it: each failure goes to
// the caller, and what is in the file by then stays.
#pragma once

#include <QByteArrayView>
#include <QString>

namespace veltrane {

class OutputFile {
 public:
  enum class Old {
    kReplaced,  // the file's old contents go
    kStays,     // what is not written over stays, so a longer file keeps its tail
  };

  /// Opens the file, or makes it. Fails with a file's failure, as the other operations do.
  OutputFile(const QString& path, Old old);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Gives the bytes to the system, with one call where it takes them at once.
  void Write(QByteArrayView bytes);
  /// Some systems refuse only here what they took before.
  void Close();

 private:
  int mDescriptor = -1;
};

/// Replaces the contents of the file by bytes.
void WriteFile(const QString& path, QByteArrayView bytes);

/// Replaces the contents of the file to by those of from. What was copied before a failure stays. Where both
/// are one file, by whatever links, it stays as it is.
void CopyFile(const QString& from, const QString& to);

/// Makes a folder below one that exists; no failure when it is there.
void MakeFolder(const QString& path);

}  // namespace veltrane
