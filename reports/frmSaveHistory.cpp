#include "reports/frmSaveHistory.h"

#include <QDir>
#include <QFileInfo>

#include "engine/General.h"
#include "engine/MainWindow.h"
#include "forms/TreeView.h"
#include "history/BytesPerRow.h"
#include "history/Logging.h"
#include "reports/SavingData.h"
#include "reports/SavingHTML.h"

namespace veltrane {
namespace {

const QString kSection = QStringLiteral("SaveHistory");
const QString kFile = QStringLiteral("File");

constexpr int kHtmlFormat = 0;
constexpr int kTextFormat = 1;
constexpr int kRawData = 0;
constexpr int kHexadecimal = 1;

}  // namespace

frmSaveHistory::frmSaveHistory(General& general, const Logging& logging, Form& mainWindow)
    : Form(general.mPlatform.desktop, QStringLiteral("frmSaveHistory")),
      upBytesPerRow(*this, QStringLiteral("upBytesPerRow"), txtBytesPerRow, kFewestPerRow, kMostPerRow,
                    kPerRowStep),
      mGeneral(general),
      mLogging(logging),
      mMainWindow(mainWindow) {
  SetCaption(QStringLiteral("Save Data"));
  cboDirection.SetList({QStringLiteral("Remote Client to VLT"), QStringLiteral("VLT to Remote Server"),
                        QStringLiteral("Remote Server to VLT"), QStringLiteral("VLT to remote client")});
  txtFile.OnChange = [this] { RefreshView(); };
  cmdFile.OnClick = [this] { PastFailures([this] { ChooseFile(); }); };
  cmdView.OnClick = [this] { OpenSavedFile(); };
  optFormat.OnClick = [this](int index) { ChooseFormat(index); };
  optDisplayAs.OnClick = [this](int index) { ChooseDigits(index); };
  txtBytesPerRow.OnChange = [this] { txtBytesPerRow.SetText(CorrectedBytesPerRow(txtBytesPerRow.Text())); };
  cmdSave.OnClick = [this] { Save(); };
  cmdCancel.OnClick = [this] { Unload(); };
  SetDefaultButton(cmdSave);
  SetCancelButton(cmdCancel);
}

// An event's node that was removed has no parent any more; its tag names the connection before the last dash.
QString frmSaveHistory::HistoryKeyOf(const TreeNode* node) {
  if (!node) return {};
  if (node->Image() == QStringLiteral("Event")) {
    return node->Parent() ? node->Parent()->Key() : node->Tag().left(node->Tag().lastIndexOf(u'-'));
  }
  const bool isConnection =
      node->Image() == QStringLiteral("Socket") || node->Image() == QStringLiteral("SocketDisconnected");
  return isConnection ? node->Key() : QString();
}

// Nothing fails on the way: a dialog that is loaded by half would have no history to save.
void frmSaveHistory::OnLoad() {
  mHistory = SelectedHistory();
  SetDesignedOptions();
  txtFile.SetText(RememberedFile());
  RefreshView();
  cboDirection.SetListIndex(1);
  optFormat.Select(kHtmlFormat);
  if (!mHistory) Unload();
}

QString frmSaveHistory::RememberedFile() {
  QString file = DefaultFile();
  mFileIsRemembered = PastFailures([&] { file = mGeneral.mSettings.Get(kSection, kFile, file); });
  return file;
}

void frmSaveHistory::SetDesignedOptions() {
  for (CheckBox* box : {&chkIncludeBufferedData, &chkIncludeNonDataEvents, &chkIncludeDateTimeStamp,
                        &chkIncludeDataDirection, &chkIncludeDescription, &chkAutoOpen}) {
    box->SetValue(0);
  }
  txtBytesPerRow.SetText(QStringLiteral("16"));
  txtBytesPerRow.SetEnabled(true);
  upBytesPerRow.SetEnabled(true);
}

SocketPairHistoryRef frmSaveHistory::SelectedHistory() const {
  const QString key = HistoryKeyOf(mGeneral.frmMain->SelectedNode().get());
  const SocketPairHistoryRef* history = mLogging.mobjSocketPairHistory.Find(key);
  return history ? *history : nullptr;
}

// The program's own folder, where it can be written. The pages of a report's events go to what stands before
// the first dot of its path, so in place of that folder none serves that has a dot in its path: a hidden one,
// or the home of a user john.doe.
QString frmSaveHistory::DefaultFile() const {
  const Platform& platform = mGeneral.mPlatform;
  QString folder = platform.writeFolder;
  if (folder != platform.programFolder && folder.contains(u'.')) folder = QDir::homePath();
  if (folder != platform.programFolder && folder.contains(u'.')) folder = QDir::tempPath();
  return folder + QStringLiteral("/Log.htm");
}

void frmSaveHistory::ChooseFormat(int index) {
  if (index == kHtmlFormat) optDisplayAs.Select(kHexadecimal);
  optDisplayAs.SetOptionEnabled(kRawData, index == kTextFormat);
  EnableIncludes(index == kTextFormat);
  cboDirection.SetEnabled(index == kTextFormat);
}

// Raw data has no rows. The report leaves the boxes as it has set them.
void frmSaveHistory::ChooseDigits(int index) {
  if (index != kRawData && optFormat.Value(kHtmlFormat)) return;
  EnableIncludes(index != kRawData);
  txtBytesPerRow.SetEnabled(index != kRawData);
  upBytesPerRow.SetEnabled(index != kRawData);
}

void frmSaveHistory::EnableIncludes(bool enabled) {
  for (CheckBox* box : {&chkIncludeBufferedData, &chkIncludeNonDataEvents, &chkIncludeDateTimeStamp,
                        &chkIncludeDataDirection, &chkIncludeDescription}) {
    box->SetEnabled(enabled);
  }
}

void frmSaveHistory::RefreshView() {
  const QFileInfo file(txtFile.Text());
  cmdView.SetEnabled(file.exists() && !file.isDir());
}

void frmSaveHistory::ChooseFile() {
  FileBox box;
  box.title = QStringLiteral("Save History As");
  box.path = txtFile.Text();
  box.filter = QStringLiteral("*.*");
  box.forSaving = true;
  box.folderMustExist = true;
  if (const std::optional<QString> path = GetDesktop().AskForFile(box)) txtFile.SetText(*path);
}

void frmSaveHistory::Save() {
  if (!SaveAsChosen()) {
    RefreshView();
    return;
  }
  if (chkAutoOpen.IsOn()) OpenSavedFile();
  if (mMainWindow.State() != WindowState::kMinimized) mMainWindow.BringToFront();
  Unload();
}

// The file is saved whether there is a program that opens it or not.
void frmSaveHistory::OpenSavedFile() {
  mGeneral.Guard(
      u"An error occurred while attempting to open the saved file.  The operating system reports: ",
      [this] { GetDesktop().OpenDocument(txtFile.Text()); });
}

bool frmSaveHistory::SaveAsChosen() {
  if (optFormat.Value(kHtmlFormat)) return SaveHTMLFile(mGeneral, *this, txtFile.Text(), *mHistory);
  if (optDisplayAs.Value(kRawData)) return SaveRawDataFile(mGeneral, *this, txtFile.Text(), *mHistory);
  return SaveDataFile(mGeneral, *this, txtFile.Text(), *mHistory);
}

void frmSaveHistory::OnUnload() {
  // A default that stands in for what could not be read must not be written over it.
  const bool isStandIn = !mFileIsRemembered && txtFile.Text() == DefaultFile();
  if (!isStandIn) PastFailures([this] { mGeneral.mSettings.Save(kSection, kFile, txtFile.Text()); });
  mHistory = nullptr;
}

}  // namespace veltrane
