// The rows of numbers for any data: as long as foretold, printable, and the same in pieces as in whole. The
// first byte chooses the format, the second the bytes of a row.
#include "history/FormattedText.h"
#include "history/Formatter.h"
#include "tests/fuzz/Fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace veltrane;
  if (size < 3) return 0;
  constexpr quint8 kFormats[] = {'h', 'o', 'd', 'b'};
  // One input in two chooses what is no format.
  const quint8 format = data[0] % 2 == 0 ? kFormats[data[0] / 2 % 4] : data[0];
  const auto perRow = static_cast<qint16>(1 + data[1] % 128);
  const QByteArray bytes = Input(data + 2, size - 2);
  const QByteArray rows = FormatRows(bytes, format, perRow);
  Require(rows.size() == FormatTextRequiredLength(bytes.size(), format, perRow),
          "the length that was foretold");
  for (const char character : rows)
    Require((character >= 32 && character <= 126) || character == '\r' || character == '\n', "printable");
  const TextSourceRef text = FormattedText(Payload(bytes), format, perRow);
  Require(text->Length() == rows.size(), "the length of the text");
  const qsizetype rowLength = text->RowLength();
  Require(rowLength > 0, "rows of one length");
  Require(rowLength > 0 && rows.size() % rowLength == 0, "whole rows");
  const qsizetype offset = (data[0] * 251 + data[1]) % rows.size();
  const qsizetype length = std::min<qsizetype>(data[size - 1] * 3, rows.size() - offset);
  Require(text->Piece(offset, length) == QString::fromLatin1(rows.mid(offset, length)),
          "a piece of the whole");
  return 0;
}
