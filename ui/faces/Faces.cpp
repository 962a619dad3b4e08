#include "ui/faces/Faces.h"

#include <QHash>

#include "ui/faces/Binder.h"
#include "ui/faces/FormFace.h"
#include "ui_frmError.h"
#include "ui_frmMain.h"

namespace veltrane {
namespace {

template <class Ui>
void SetUp(QWidget& widget) {
  Ui().setupUi(&widget);
}

struct Row {
  const char* form;
  void (*setUp)(QWidget& widget);
};

constexpr Row kFaces[] = {
    {"frmError", SetUp<Ui::frmError>},
    {"frmMain", SetUp<Ui::frmMain>},
};

}  // namespace

FormFace* BuildFace(Form& form) {
  for (const Row& row : kFaces) {
    if (form.Name() != QLatin1String(row.form)) continue;
    auto* face = new FormFace(form);
    row.setUp(*face);
    // The form's own caption rules over the designed one.
    if (!form.Caption().isEmpty()) face->setWindowTitle(form.Caption());
    BindControls(form, *face);
    return face;
  }
  return nullptr;
}

}  // namespace veltrane
