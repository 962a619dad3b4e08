#include "ui/RealTimeDrain.h"

#include <limits>

#include "base/Numbers.h"
#include "base/Timer.h"
#include "forms/RichTextBox.h"
#include "history/FormattedText.h"
#include "history/Logging.h"
#include "ui/frmRealTimeData.h"

namespace veltrane {
namespace {

constexpr qsizetype kMostEntries = 10;
constexpr double kKByte = 1024;
const TextSourceRef kLineBreak = PlainText(QStringLiteral("\r\n"));

quint8 FormatCode(const QString& text) {
  return static_cast<quint8>(ToInt16(text));
}

/// Characters that the pane may hold. Without a number there is no limit, and one that cannot be held is
/// never reached.
double RoomOf(const QString& limit) {
  double room = std::numeric_limits<double>::infinity();
  if (IsNumeric(limit)) PastFailures([&] { room = ToDouble(limit) * kKByte; });
  return room;
}

}  // namespace

void RealTimeDrain::Drain() {
  if (mLogging.gstrData.size() == 1) tmrRealTimeData.SetEnabled(false);
  DropWhatIsTooMuch();
  const TextSourceRef text = NextText();
  ClearFullPane(text->Length());
  // From here on failures are passed over, each for itself.
  PastFailures([this] { ShowPreamble(); });
  PastFailures([&] { ShowData(text); });
  MoveToEnd();
  mLogging.gstrData.removeFirst();
  if (!mLogging.gstrPreamble.isEmpty()) mLogging.gstrPreamble.removeFirst();
  if (!mLogging.gcolColour.isEmpty()) mLogging.gcolColour.removeFirst();
}

// Preambles and colours stay, on purpose: from then on they belong to older data than the text that they go
// with.
void RealTimeDrain::DropWhatIsTooMuch() {
  while (mLogging.gstrData.size() > kMostEntries)
    mLogging.gstrData.removeFirst();
}

TextSourceRef RealTimeDrain::NextText() {
  if (mLogging.gstrData.isEmpty()) throw Failure(FailureNumber::kOutOfRange);
  const Payload& data = mLogging.gstrData.first();
  if (mOptions.optDisplayAs.Value(0)) return BytesAsText(data);
  const quint8 format = mFormatCode.Of(mOptions.GetPrintFFormat(), FormatCode);
  const qint16 bytesPerRow =
      mBytesPerRow.Of(mOptions.txtBytesPerRow.Text(), [](const QString& text) { return ToInt16(text); });
  return FormattedText(data, format, bytesPerRow);
}

// The whole pane goes, not its oldest part.
void RealTimeDrain::ClearFullPane(qsizetype coming) {
  const double room = mRoom.Of(mOptions.txtRealTimeDataSize.Text(), RoomOf);
  if (static_cast<double>(txtRealTime.TextLength() + coming) > room) txtRealTime.SetText(QString());
}

void RealTimeDrain::ShowPreamble() {
  if (mLogging.gstrPreamble.isEmpty() || mLogging.gstrPreamble.first().isEmpty()) return;
  MoveToEnd();
  txtRealTime.SetSelColor(0);
  txtRealTime.SetSelText(kLineBreak);
  txtRealTime.SetSelText(mLogging.gstrPreamble.first());
}

// A replay of kinds without a direction leaves the colours one short. Such data takes the colour of what
// stands before it.
void RealTimeDrain::ShowData(const TextSourceRef& text) {
  const QList<Colour>& colours = mLogging.gcolColour;
  if (!colours.isEmpty() && colours.first() == 0) {
    txtRealTime.AppendToText(text);
    return;
  }
  MoveToEnd();
  if (!colours.isEmpty()) txtRealTime.SetSelColor(colours.first());
  txtRealTime.SetSelText(text);
}

// Which is what the pane then shows.
void RealTimeDrain::MoveToEnd() {
  txtRealTime.SetSelStart(txtRealTime.TextLength());
}

}  // namespace veltrane
