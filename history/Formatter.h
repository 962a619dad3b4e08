// Bytes as rows of numbers, for all windows and files that show them so. A row has the characters of its
// bytes ('.' for what is not printable), " : ", the bytes as digits with a blank after every fourth, and
// CR LF. Beyond the end of the data a blank stands for a character and dots stand for digits.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace veltrane {

/// Format codes: 'h' hexadecimal (2 digits a byte), 'o' octal (3), 'd' decimal (3), 'b' binary (8). Any other
/// code counts as 'h'.

/// The most characters that so many bytes of data need; 0 for no data. Bytes per row are at least 1; the
/// dialogs see to a multiple of 4 from 4 to 128.
qsizetype FormatTextRequiredLength(qsizetype lngDataLength, quint8 bytFormat, qint16 intBytesPerRow);

/// Writes the rows into output, which has room for the required length, and gives the characters written.
qsizetype FormatText(const char* data, char* output, quint8 bytFormat, qint16 intBytesPerRow,
                     qsizetype lngDataLength);

/// Both calls: data as rows.
QByteArray FormatRows(QByteArrayView data, quint8 bytFormat, qint16 intBytesPerRow);

/// Whether a byte is shown as itself: codes 32 to 126 but for the backslash.
constexpr bool IsPrintableByte(unsigned char code) {
  return code >= 32 && code <= 126 && code != '\\';
}

}  // namespace veltrane
