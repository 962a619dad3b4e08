#include "forms/Control.h"

#include "forms/Form.h"

namespace veltrane {

Control::Control(Form& form, const QString& name) : mForm(form) {
  setObjectName(name);
  form.AddControl(*this);
}

void Control::SetPlace(const Rect& place) {
  if (mPlace == place) return;
  mPlace = place;
  Q_EMIT Placed();
}

}  // namespace veltrane
