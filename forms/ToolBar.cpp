#include "forms/ToolBar.h"

#include <algorithm>

#include "base/Failure.h"

namespace veltrane {

void ToolBar::AddButton(const QString& key, const QString& toolTip) {
  mButtons.append({key, toolTip, {}, true});
}

const ToolBar::Button& ToolBar::ButtonOf(const QString& key) const {
  const auto found = std::find_if(mButtons.begin(), mButtons.end(),
                                  [&key](const Button& button) { return button.key == key; });
  if (key.isEmpty() || found == mButtons.end()) throw Failure(FailureNumber::kBadArgument);
  return *found;
}

void ToolBar::AddMenuEntry(const QString& button, const Entry& entry) {
  ButtonOf(button).menu.append(entry);
}

void ToolBar::SetButtonEnabled(const QString& key, bool enabled) {
  Assign(ButtonOf(key).enabled, enabled);
}

void ToolBar::ClickButton(const QString& key) {
  if (Enabled() && ButtonOf(key).enabled && OnButtonClick) OnButtonClick(key);
}

void ToolBar::ClickMenu(const QString& button, const QString& key) {
  if (Enabled() && ButtonOf(button).enabled && OnButtonMenuClick) OnButtonMenuClick(key);
}

}  // namespace veltrane
