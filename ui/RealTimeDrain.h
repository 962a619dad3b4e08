// Moves what the recorder has queued for the real-time pane into it, one entry at each call.
#pragma once

#include <optional>

#include "forms/TextSource.h"

namespace veltrane {

class Logging;
class RichTextBox;
class Timer;
class frmRealTimeData;

/// What a text stands for, worked out anew only when the text has become another one: the same few are asked
/// for with every event.
template <class Value>
class Understood {
 public:
  template <class Convert>
  const Value& Of(const QString& text, Convert convert) {
    if (!mValue || text != mText) {
      mValue.reset();
      mValue = convert(text);
      mText = text;
    }
    return *mValue;
  }

 private:
  QString mText;
  std::optional<Value> mValue;
};

class RealTimeDrain {
 public:
  /// All borrowed. The timer was meant to call this; nothing has ever switched it on, because each event
  /// does.
  RealTimeDrain(Logging& logging, const frmRealTimeData& options, RichTextBox& pane, Timer& timer)
      : mLogging(logging), mOptions(options), txtRealTime(pane), tmrRealTimeData(timer) {}

  /// A failure before the pane is touched goes to the caller, and the entry stays queued.
  void Drain();

 private:
  void DropWhatIsTooMuch();
  TextSourceRef NextText();
  void ClearFullPane(qsizetype coming);
  void ShowPreamble();
  void ShowData(const TextSourceRef& text);
  void MoveToEnd();

  Logging& mLogging;
  const frmRealTimeData& mOptions;
  RichTextBox& txtRealTime;
  Timer& tmrRealTimeData;
  Understood<quint8> mFormatCode;
  Understood<qint16> mBytesPerRow;
  Understood<double> mRoom;
};

}  // namespace veltrane
