#include "ui/faces/Faces.h"

#include <QHash>

#include "ui/faces/Binder.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/StartFaces.h"
#include "ui/faces/frmMainFace.h"
#include "ui/frmMain.h"
#include "ui_frmAbout.h"
#include "ui_frmConfigure.h"
#include "ui_frmError.h"
#include "ui_frmEventDetails.h"
#include "ui_frmOptions.h"
#include "ui_frmPort.h"
#include "ui_frmProblemSimulation.h"
#include "ui_frmProtocolFTPPP.h"
#include "ui_frmProtocolHTTPPP.h"
#include "ui_frmProtocolHTTPSPP.h"
#include "ui_frmProtocolPOP3PP.h"
#include "ui_frmProtocolPassThruPP.h"
#include "ui_frmRealTimeData.h"
#include "ui_frmRealTimeLogging.h"
#include "ui_frmSaveHistory.h"
#include "ui_frmSplash.h"

namespace veltrane {
namespace {

template <class Ui>
void SetUp(QWidget& widget) {
  Ui().setupUi(&widget);
}

struct Row {
  const char* form = nullptr;
  void (*setUp)(QWidget& widget) = nullptr;
  /// What the designed file cannot say.
  void (*finish)(Form& form, QWidget& widget) = nullptr;
};

constexpr Row kFaces[] = {
    {"frmAbout", SetUp<Ui::frmAbout>, FinishAbout},
    {"frmConfigure", SetUp<Ui::frmConfigure>},
    {"frmError", SetUp<Ui::frmError>},
    {"frmEventDetails", SetUp<Ui::frmEventDetails>},
    {"frmOptions", SetUp<Ui::frmOptions>},
    {"frmPort", SetUp<Ui::frmPort>},
    {"frmProblemSimulation", SetUp<Ui::frmProblemSimulation>},
    {"frmProtocolFTPPP", SetUp<Ui::frmProtocolFTPPP>},
    {"frmProtocolHTTPPP", SetUp<Ui::frmProtocolHTTPPP>},
    {"frmProtocolHTTPSPP", SetUp<Ui::frmProtocolHTTPSPP>},
    {"frmProtocolPOP3PP", SetUp<Ui::frmProtocolPOP3PP>},
    {"frmProtocolPassThruPP", SetUp<Ui::frmProtocolPassThruPP>},
    {"frmRealTimeData", SetUp<Ui::frmRealTimeData>},
    {"frmRealTimeLogging", SetUp<Ui::frmRealTimeLogging>},
    {"frmSaveHistory", SetUp<Ui::frmSaveHistory>},
    {"frmSplash", SetUp<Ui::frmSplash>, FinishSplash},
};

}  // namespace

FormFace* BuildFace(Form& form) {
  // Its form places everything itself.
  if (auto* main = qobject_cast<frmMain*>(&form)) return BuildMainFace(*main);
  for (const Row& row : kFaces) {
    if (form.Name() != QLatin1String(row.form)) continue;
    auto* face = new FormFace(form);
    row.setUp(*face);
    if (row.finish) row.finish(form, *face);
    // The form's own caption rules over the designed one.
    if (!form.Caption().isEmpty()) face->setWindowTitle(form.Caption());
    BindControls(form, *face);
    return face;
  }
  return nullptr;
}

QStringList NamesOfFaces() {
  QStringList names{QStringLiteral("frmMain")};
  for (const Row& row : kFaces)
    names.append(QLatin1String(row.form));
  return names;
}

}  // namespace veltrane
