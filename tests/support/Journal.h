// What happened, in order, as lines of text; several fakes write into one journal.
#pragma once

#include <QString>
#include <QStringList>

#include <ostream>

namespace veltrane {

struct Journal {
  QStringList lines;
  void Note(const QString& line) { lines.append(line); }
  QStringList Take() { return std::exchange(lines, {}); }
};

inline void PrintTo(const QString& text, std::ostream* out) {
  *out << '"' << text.toStdString() << '"';
}

}  // namespace veltrane

// For GoogleTest's messages.
QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& text, std::ostream* out) {
  *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QByteArray& bytes, std::ostream* out) {
  *out << '"' << bytes.left(200).toPercentEncoding(" \r\n").toStdString() << '"';
  if (bytes.size() > 200) *out << "... (" << bytes.size() << " bytes)";
}
inline void PrintTo(const QStringList& lines, std::ostream* out) {
  for (const QString& line : lines)
    *out << "\n    " << line.toStdString();
}
QT_END_NAMESPACE
