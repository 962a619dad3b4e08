#include "ui/frmConfigure.h"

#include <QHash>
#include <QScopedValueRollback>

#include "base/Numbers.h"
#include "engine/General.h"
#include "engine/Listening.h"
#include "engine/MainWindow.h"
#include "engine/PortTable.h"
#include "forms/TreeView.h"
#include "ui/MainShell.h"
#include "ui/frmPort.h"

namespace veltrane {
namespace {

const QString kOptions = QStringLiteral("Options");
const QString kShowConfigAtStartUp = QStringLiteral("ShowConfigAtStartUp");
const QString kConfigureCaption = QStringLiteral("Confi&gure...");
constexpr int kPortWidth = 1050;
constexpr int kDescriptionWidth = 3900;
/// The row of lstProtocol that means no protocol.
constexpr int kDontUseRow = 0;

QString ItemKey(const QString& port) {
  return QStringLiteral("KEY") + port;
}

}  // namespace

frmConfigure::frmConfigure(General& general, MainShell& shell, frmPort& portDialog)
    : Form(general.mPlatform.desktop, QStringLiteral("frmConfigure")),
      mGeneral(general),
      mShell(shell),
      mPortDialog(portDialog) {
  SetCaption(QStringLiteral("Configure Veltrane"));
  lvwPort.AddColumnHeader({QStringLiteral("Port"), QStringLiteral("Port"), kPortWidth});
  lvwPort.AddColumnHeader({QStringLiteral("Description"), QStringLiteral("Description"), kDescriptionWidth});
  lblProtocol.SetCaption(QStringLiteral("Protocol assigned to &selected port:"));
  cmdConfigure.SetCaption(kConfigureCaption);
  lvwPort.OnItemClick = [this](ListItem&) { lvwPort_Click(); };
  lstProtocol.OnClick = [this] { ChooseProtocol(); };
  lstProtocol.OnItemTick = [this](int) { ChooseProtocol(); };
  cmdConfigure.OnClick = [this] { ConfigureProtocol(); };
  cmdStartListening.OnClick = [this] { StartListening(); };
  cmdDeletePort.OnClick = [this] { DeletePort(); };
  cmdPortAdd.OnClick = [this] { AddPort(); };
  cmdClose.OnClick = [this] { Close(); };
  SetCancelButton(cmdClose);
}

QString frmConfigure::SelectedPort() const {
  return lvwPort.SelectedItem() ? lvwPort.SelectedItem()->Text() : QString();
}

void frmConfigure::LoadAllDetails() {
  {
    const QScopedValueRollback loading(mblnLoading, true);
    lstProtocol.Clear();
    lvwPort.Clear();
    lstProtocol.AddItem(kDontUse);
    for (qsizetype i = 1; i <= mGeneral.gcolProtocols.Count(); ++i)
      lstProtocol.AddItem(mGeneral.gcolProtocols.Item(i)->GetProtocolName());
    LoadPorts();
    const bool usable = mGeneral.Guard(
        u"An error occurred while attempting to load the option ShowConfigAtStartUp.  The operating system "
        u"reports: ",
        [this] {
          chkShowAtStartUp.SetValue(
              ToInt32(mGeneral.mSettings.Get(kOptions, kShowConfigAtStartUp, QStringLiteral("1"))));
        });
    if (!usable) chkShowAtStartUp.SetValue(1);
  }
  EnableControls();
  lvwPort_Click();
}

void frmConfigure::LoadPorts() {
  for (const auto& [port, description] : mGeneral.mSettings.All(kPortsInUse)) {
    if (description.contains(kEphemeralProtocol, Qt::CaseInsensitive)) continue;
    lvwPort.Add(ItemKey(port), port).SetSubItem(1, description);
  }
  if (lvwPort.Count() > 0) lvwPort.SetSelectedItem(&lvwPort.Item(1));
}

void frmConfigure::EnableControls() {
  const bool any = lvwPort.Count() > 0;
  lstProtocol.SetEnabled(any);
  lblProtocol.SetEnabled(any);
  cmdDeletePort.SetEnabled(any);
  // A port without a protocol has nothing to configure.
  cmdConfigure.SetEnabled(any && lstProtocol.ListIndex() > kDontUseRow);
}

void frmConfigure::SelectPort(const QString& key) {
  Load();
  lvwPort.SetSelectedItem(&lvwPort.Item(key));
  lvwPort_Click();
}

void frmConfigure::lvwPort_Click() {
  if (!PastFailures([this] { ShowSelectedPort(); })) {
    mGeneral.LogError(QStringLiteral("An error occurred while attempting to process the port selection."));
  }
}

void frmConfigure::ShowSelectedPort() {
  cmdStartListening.SetEnabled(false);
  const QString port = SelectedPort();
  if (port.isEmpty()) return;
  lblProtocol.SetCaption(QStringLiteral("Protocol a&ssigned to port ") + port);
  const QString protocol = mGeneral.mSettings.Get(kProtocols, port);
  int row = lstProtocol.Count() - 1;
  while (row >= 0 && lstProtocol.Item(row) != protocol)
    --row;
  ShowProtocol(row);
  if (row < 0 || row == kDontUseRow || !mGeneral.gobjListening) return;
  const Socket& socket = *mGeneral.gobjListening->mcolListeningSocket.Item(ListeningSocketKey(ToInt32(port)));
  // Another program has the port, or had it: the user can try again.
  cmdStartListening.SetEnabled(socket.State() != SocketState::kListening);
}

/// Ticks one row and no other; none with a row of -1.
void frmConfigure::ShowProtocol(int row) {
  const QScopedValueRollback loading(mblnLoading, true);
  for (int i = 0; i < lstProtocol.Count(); ++i)
    lstProtocol.SetTicked(i, i == row);
  if (lstProtocol.ListIndex() != row) lstProtocol.SetListIndex(row);
  cmdConfigure.SetEnabled(row > kDontUseRow);
  ShowConfigureCaption();
}

// Another window may have changed the port meanwhile. What cannot be shown is told at the next click alone:
// the error window would activate this one again when it closes, and so come back for ever.
void frmConfigure::OnActivate() {
  PastFailures([this] { ShowSelectedPort(); });
  ShowConfigureCaption();
}

// The user's click or tick, on the row at the cursor. A tick that he takes away comes back, because one of
// the rows is always the port's; choosing that row again tries again to listen.
void frmConfigure::ChooseProtocol() {
  const QString port = SelectedPort();
  const int row = lstProtocol.ListIndex();
  if (mblnLoading || row < 0 || port.isEmpty()) return;
  ShowProtocol(row);
  mGeneral.mSettings.Save(kProtocols, port, lstProtocol.Item(row));
  mGeneral.mSettings.Save(kPortsInUse, port, lvwPort.SelectedItem()->SubItem(1));
  StartListening();
  ShowConfigureCaption();
}

void frmConfigure::ShowConfigureCaption() {
  const QString port = SelectedPort();
  const int row = lstProtocol.ListIndex();
  if (port.isEmpty() || row < 0) {
    cmdConfigure.SetCaption(kConfigureCaption);
    return;
  }
  cmdConfigure.SetCaption(QStringLiteral("Configure ") + lstProtocol.Item(row) +
                          QStringLiteral(" for port ") + port + QStringLiteral("..."));
}

void frmConfigure::ConfigureProtocol() {
  const QString port = SelectedPort();
  const int row = lstProtocol.ListIndex();
  if (port.isEmpty() || row <= kDontUseRow) return;
  mGeneral.gcolProtocols.Item(lstProtocol.Item(row))->ShowProperties(ToInt32(port), this);
}

// In line with the port table, whichever way it was changed.
void frmConfigure::StartListening() {
  const QString port = SelectedPort();
  if (port.isEmpty() || !mGeneral.gobjListening) return;
  mGeneral.gobjListening->CheckListeningStatus(ToInt32(port));
  lvwPort_Click();
}

void frmConfigure::DeletePort() {
  const QString port = SelectedPort();
  if (port.isEmpty()) return;
  const BoxAnswer answer = GetDesktop().Ask({QStringLiteral("Are you sure you want to remove this port?"),
                                             BoxIcon::kQuestion, BoxButtons::kYesNo, kApplicationName});
  // The program may have ended behind the box.
  if (answer != BoxAnswer::kYes || !mGeneral.gobjListening) return;
  DeleteRow(kProtocols, port);
  DeleteRow(kPortsInUse, port);
  // A row that is no port has neither socket nor node.
  if (IsNumeric(port)) {
    mGeneral.gobjListening->CheckListeningStatus(ToInt32(port));
    RemoveNode(ToInt32(port));
  }
  lvwPort.Remove(ItemKey(port));
  if (lvwPort.Count() > 0) {
    lvwPort.SetSelectedItem(&lvwPort.Item(lvwPort.Count()));
    lvwPort_Click();
  } else {
    cmdStartListening.SetEnabled(false);
    ShowConfigureCaption();
  }
  EnableControls();
}

// Another program may have taken the row already.
void frmConfigure::DeleteRow(const QString& section, const QString& port) {
  for (const SettingRow& row : mGeneral.mSettings.All(section)) {
    if (row.first == port) mGeneral.mSettings.Delete(section, port);
  }
}

void frmConfigure::RemoveNode(qint32 port) {
  const QString key = ProtocolNodeKey(port);
  if (!mGeneral.DoesNodeExist(key)) return;
  TreeView& tree = mGeneral.frmMain->SocketTree();
  tree.Remove(key);
  tree.Refresh();
}

// Nothing clears the tag: after one cancelled add, all later adds of the run end here without a sign. The
// dialog yields while it loads, so the button can be pressed again before it is there.
void frmConfigure::AddPort() {
  if (mAdding) return;
  const QScopedValueRollback adding(mAdding, true);
  if (mGeneral.frmMain->KeepOnTop()) mGeneral.SetTopMostWindow(mPortDialog, true);
  mPortDialog.ShowModal(this);
  if (mPortDialog.Tag() == kCancelTag || !mGeneral.gobjListening) return;
  const qint32 port = mPortDialog.mintPort;
  if (!mGeneral.gobjListening->mcolListeningSocket.Contains(ListeningSocketKey(port))) {
    if (mPortDialog.mstrDescription.isEmpty()) {
      mPortDialog.mstrDescription = QStringLiteral("Port ") + QString::number(port);
    }
    AddNewPort(port, mPortDialog.mstrDescription);
    return;
  }
  // A port that is there already stops; its item stays as it is.
  SaveUnused(QString::number(port), mPortDialog.mstrDescription);
  mGeneral.gobjListening->CheckListeningStatus(port);
  lvwPort_Click();
}

void frmConfigure::AddNewPort(qint32 port, const QString& description) {
  const QString text = QString::number(port);
  // A row of the table whose socket is missing has its item already.
  ListItem* item = lvwPort.Find(ItemKey(text));
  if (!item) item = &lvwPort.Add(ItemKey(text), text);
  lvwPort.SetSelectedItem(item);
  item->SetSubItem(1, description);
  lvwPort_Click();
  ShowProtocol(kDontUseRow);
  SaveUnused(text, description);
  mGeneral.gobjListening->CreateNewSocket(port, description);
  EnableControls();
}

void frmConfigure::SaveUnused(const QString& port, const QString& description) {
  mGeneral.mSettings.Save(kProtocols, port, kDontUse);
  mGeneral.mSettings.Save(kPortsInUse, port, description);
}

// A store that takes nothing is reported and holds no window.
void frmConfigure::Close() {
  mGeneral.Guard(
      u"An error occurred while attempting to save the list of ports.  The operating system reports: ", [&] {
        SavePorts();
        mGeneral.mSettings.Save(kOptions, kShowConfigAtStartUp, QString::number(chkShowAtStartUp.Value()));
      });
  Hide();
  Form& window = mShell.Window();
  if (window.State() != WindowState::kMinimized) window.BringToFront();
}

// The list is the master of the section; only the rows of ephemeral ports are left alone. A row that stands
// as the list has it is not written again: a store that fails half-way must not cost the user the others.
void frmConfigure::SavePorts() {
  QHash<QString, QString> stored;
  for (const auto& [port, description] : mGeneral.mSettings.All(kPortsInUse)) {
    stored.insert(port, description);
    if (description == kEphemeralProtocol || lvwPort.Contains(ItemKey(port))) continue;
    mGeneral.mSettings.Delete(kPortsInUse, port);
  }
  for (qsizetype i = 1; i <= lvwPort.Count(); ++i) {
    const ListItem& item = lvwPort.Item(i);
    const auto found = stored.constFind(item.Text());
    if (found != stored.cend() && *found == item.SubItem(1)) continue;
    mGeneral.mSettings.Save(kPortsInUse, item.Text(), item.SubItem(1));
  }
}

}  // namespace veltrane
