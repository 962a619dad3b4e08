// The panes of a status bar, by number.
#pragma once

#include <QMap>
#include <QString>

#include "engine/StatusPanes.h"

namespace veltrane {

class FakeStatusPanes : public StatusPanes {
 public:
  void SetPaneText(int pane, const QString& text) override { mTexts[pane] = text; }

  QMap<int, QString> mTexts;
};

}  // namespace veltrane
