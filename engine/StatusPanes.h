// The main window's status bar, as the dialogs know it whose state it shows.
#pragma once

class QString;

namespace veltrane {

class StatusPanes {
 public:
  virtual ~StatusPanes() = default;

  /// Panes are counted from 1.
  virtual void SetPaneText(int pane, const QString& text) = 0;
};

}  // namespace veltrane
