#include "ui/frmPort.h"

#include <algorithm>
#include <limits>

#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/PortTable.h"
#include "ui/PortList.h"

namespace veltrane {
namespace {

constexpr int kLeastWidth = 4000;
constexpr int kLeastHeight = 3000;
constexpr int kPortWidth = 2250;
constexpr int kDescriptionWidth = 4050;
/// The first number that is no port.
constexpr double kPortLimit = 65536;

// Only the upper end is checked, so zero and less pass; but what mintPort cannot hold is no port either.
bool IsPort(const QString& text) {
  if (!IsNumeric(text)) return false;
  const double value = ToDoubleOrInfinity(text);
  return value < kPortLimit && value >= std::numeric_limits<qint32>::min();
}

}  // namespace

frmPort::frmPort(General& general)
    : Form(general.mPlatform.desktop, QStringLiteral("frmPort")), mGeneral(general) {
  SetCaption(QStringLiteral("Port Selection"));
  lstDetails.OnItemClick = [this](ListItem& item) { TakeItem(item); };
  lstDetails.OnDblClick = [this] { Accept(); };
  lstDetails.OnColumnClick = [this](int column) { SortBy(column - 1); };
  cmdOK.OnClick = [this] { Accept(); };
  cmdCancel.OnClick = [this] { BackOut(); };
  SetDefaultButton(cmdOK);
  SetCancelButton(cmdCancel);
}

void frmPort::OnLoad() {
  GetDesktop().DoEvents();
  lstDetails.ClearColumnHeaders();
  lstDetails.AddColumnHeader({QStringLiteral("Port"), QStringLiteral("Port Number"), kPortWidth, true});
  lstDetails.AddColumnHeader(
      {QStringLiteral("Description"), QStringLiteral("Description"), kDescriptionWidth});
  LoadWellKnownPorts();
}

void frmPort::LoadWellKnownPorts() {
  lstDetails.Clear();
  const QString path = mGeneral.mPlatform.programFolder + QStringLiteral("/PORTS.TXT");
  const QString message = QStringLiteral(
                              "An error occurred while attempting to retrieve the port information from the "
                              "file located at ") +
                          path + QStringLiteral(". The operating system reports: ");
  mGeneral.Guard(message, [&] {
    // Keys only tell rows apart: a port may stand in the list more than once.
    int row = 0;
    for (const WellKnownPort& port : ReadPortList(path)) {
      ListItem& item = lstDetails.Add(QStringLiteral("ROW%1").arg(++row), QString::number(port.port));
      item.SetSubItem(1, port.description);
    }
  });
}

void frmPort::OnResize() {
  if (State() == WindowState::kMinimized) return;
  Rect geometry = Geometry();
  geometry.width = std::max(geometry.width, kLeastWidth);
  geometry.height = std::max(geometry.height, kLeastHeight);
  SetGeometry(geometry);
}

void frmPort::TakeItem(const ListItem& item) {
  txtPort.SetText(item.Text());
  txtDescription.SetText(item.SubItem(1));
}

void frmPort::SortBy(int column) {
  const bool again = lstDetails.Sorted() && lstDetails.SortKey() == column;
  lstDetails.SetSortOrder(again ? 1 - lstDetails.SortOrder() : 0);
  lstDetails.SetSortKey(column);
  lstDetails.SetSorted(true);
}

void frmPort::Accept() {
  const QString port = txtPort.Text();
  if (port.isEmpty()) {
    BackOut();
    return;
  }
  if (!IsPort(port)) {
    txtPort.SetFocus();
    GetDesktop().Ask({QStringLiteral("The port number must be numeric and less than 65536."),
                      BoxIcon::kExclamation, BoxButtons::kOk, kApplicationName});
    return;
  }
  mintPort = ToInt32(port);
  mstrDescription = txtDescription.Text();
  Hide();
}

void frmPort::BackOut() {
  mTag = kCancelTag;
  Hide();
}

// Closing the frame is backing out; the window stays, with its texts. At the end of the program the listener
// goes before the windows.
bool frmPort::OnQueryUnload() {
  if (!mGeneral.gobjListening) return true;
  BackOut();
  return false;
}

}  // namespace veltrane
