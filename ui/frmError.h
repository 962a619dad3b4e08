// The one place for run-time failures: a window with a growing log, newest on top, which comes up by itself
// and never stops the proxy.
#pragma once

#include "base/Failure.h"
#include "forms/Controls.h"
#include "forms/Form.h"

namespace veltrane {

class General;

class frmError : public Form, public ErrorSink {
  Q_OBJECT

 public:
  explicit frmError(Desktop& desktop);

  /// To be called before anything is reported.
  void SetGeneral(General& general) { mGeneral = &general; }

  /// Puts the text, under the time, on top of the log and shows the window. Runs past its own failures.
  void LogError(const QString& text) override;

  Label Label1{*this, QStringLiteral("Label1")};
  TextBox txtErrorMessage{*this, QStringLiteral("txtErrorMessage")};

 Q_SIGNALS:
  /// For each report, before the window shows it.
  void Reported(const QString& text);

 protected:
  bool OnQueryUnload() override;
  void OnResize() override;

 private:
  void Add(const QString& block);

  General* mGeneral = nullptr;
  bool mReporting = false;
  bool mReadingClock = false;
};

}  // namespace veltrane
