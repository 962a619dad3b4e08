// A text file that only grows. Each append goes to the system with one write, whole or not at all: a crash of
// the program loses nothing that was appended, and a full disk leaves no half line.
#pragma once

#include <QByteArray>
#include <QString>

namespace veltrane {

class LogFile {
 public:
  LogFile() = default;
  ~LogFile() { Close(); }
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  /// Opens the file, or makes it and begins it with header. Fails with a file's failure; a file that could
  /// not take its header is not left behind.
  void Open(const QString& path, const QByteArray& header);
  void Close();
  /// False also when the file was deleted, or moved away, under the program.
  bool IsOpen() const;
  const QString& Path() const { return mPath; }

  void Append(const QByteArray& text);

 private:
  void RequireFile() const;

  int mDescriptor = -1;
  QString mPath;
};

}  // namespace veltrane
