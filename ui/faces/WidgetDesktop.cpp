#include "ui/faces/WidgetDesktop.h"

#include <QApplication>
#include <QColorDialog>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDesktopServices>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QThread>
#include <QUrl>
#include <QWindow>

#include "base/Failure.h"
#include "forms/Form.h"
#include "ui/faces/ColourNumber.h"
#include "ui/faces/Faces.h"
#include "ui/faces/FormFace.h"

namespace veltrane {
namespace {

constexpr std::chrono::milliseconds kLongestWaitForScreen{300};

QMessageBox::Icon IconOf(BoxIcon icon) {
  switch (icon) {
    case BoxIcon::kExclamation:
      return QMessageBox::Warning;
    case BoxIcon::kQuestion:
      return QMessageBox::Question;
    case BoxIcon::kInformation:
      break;
  }
  return QMessageBox::Information;
}

// Before the window comes up: its manager is told then whom it belongs to, and only of dialogs. A dialog that
// belongs to nobody would be kept above all windows of the program.
void SetOwner(FormFace& face, const FormFace* owner) {
  if (!owner && face.windowType() != Qt::Dialog) return;
  face.setWindowFlags((face.windowFlags() & ~Qt::WindowType_Mask) | (owner ? Qt::Dialog : Qt::Window));
  face.winId();
  face.windowHandle()->setTransientParent(owner ? owner->windowHandle() : nullptr);
}

// Failures are told whatever is open: their window takes input over a modal one, as a window of that one.
bool TellsFailures(const Form& form) {
  return dynamic_cast<const ErrorSink*>(&form);
}

FormFace* ModalFace() {
  auto* face = qobject_cast<FormFace*>(QApplication::activeModalWidget());
  return face && face->windowModality() == Qt::ApplicationModal ? face : nullptr;
}

}  // namespace

/// For one showing of a modal window: the windows of failures are its own. Those that were on the screen
/// before get back the owner that they had, those that came since then have none.
class WidgetDesktop::Lending {
 public:
  Lending(const QHash<const Form*, FormFace*>& faces, const FormFace& modal)
      : mFaces(faces), mModal(modal.windowHandle()) {
    for (const FormFace* face : mFaces) {
      QWindow* window = face->windowHandle();
      if (!TellsFailures(face->GetForm()) || !face->isVisible() || window == mModal) continue;
      if (window->isAncestorOf(mModal, QWindow::IncludeTransients)) continue;
      mLent.emplace_back(window, window->transientParent());
      window->setTransientParent(mModal);
    }
  }
  ~Lending() {
    for (const FormFace* face : mFaces) {
      QWindow* window = face->windowHandle();
      const bool isOwned = mModal && window && window->transientParent() == mModal;
      if (isOwned && TellsFailures(face->GetForm())) window->setTransientParent(nullptr);
    }
    for (const auto& [window, owner] : mLent)
      if (window) window->setTransientParent(owner);
  }
  Q_DISABLE_COPY_MOVE(Lending)

 private:
  const QHash<const Form*, FormFace*>& mFaces;
  const QPointer<QWindow> mModal;
  QList<std::pair<QPointer<QWindow>, QPointer<QWindow>>> mLent;
};

WidgetDesktop::WidgetDesktop() = default;

WidgetDesktop::~WidgetDesktop() {
  qDeleteAll(mFaces);
}

FormFace* WidgetDesktop::FaceOf(const Form& form) const {
  return mFaces.value(&form, nullptr);
}

FormFace* WidgetDesktop::Face(Form& form) {
  if (FormFace* face = FaceOf(form)) return face;
  FormFace* face = BuildFace(form);
  if (face) mFaces.insert(&form, face);
  return face;
}

void WidgetDesktop::ShowForm(Form& form, bool modal, Form* owner) {
  FormFace* face = Face(form);
  if (!face) return;
  const FormFace* ownerFace = owner ? FaceOf(*owner) : TellsFailures(form) ? ModalFace() : nullptr;
  face->setWindowModality(modal ? Qt::ApplicationModal : form.BlocksOwner() ? Qt::WindowModal : Qt::NonModal);
  if (!face->isVisible()) SetOwner(*face, ownerFace);
  if (face->isVisible()) {
    // A window that is shown again is one that the user shall see.
    if (face->isMinimized()) face->showNormal();
    face->raise();
  }
  std::optional<Lending> lending;
  if (modal) lending.emplace(mFaces, *face);
  face->ShowInState();
  if (!modal) return;
  QEventLoop loop;
  QObject::connect(face, &FormFace::Hidden, &loop, &QEventLoop::quit);
  QObject::connect(face, &QObject::destroyed, &loop, &QEventLoop::quit);
  if (form.Visible()) loop.exec();
}

void WidgetDesktop::HideForm(Form& form) {
  if (FormFace* face = FaceOf(form)) face->hide();
}

void WidgetDesktop::ForgetForm(Form& form) {
  delete mFaces.take(&form);
}

void WidgetDesktop::RepaintForm(Form& form) {
  FormFace* face = FaceOf(form);
  if (!face) return;
  WaitForScreen(*face);
  face->RepaintNow();
}

void WidgetDesktop::BringToFront(Form& form) {
  if (FormFace* face = FaceOf(form)) {
    face->raise();
    face->activateWindow();
  }
}

void WidgetDesktop::SetTopMost(Form& form, bool topMost) {
  if (FormFace* face = Face(form)) face->SetTopMost(topMost);
}

// Before the event loop runs, nothing tells a new window that it stands on the screen, and so nothing of it
// is drawn. Neither sockets nor the user are served here.
void WidgetDesktop::WaitForScreen(const FormFace& face) {
  if (QThread::currentThread()->loopLevel() > 0 || !face.isVisible() || !face.windowHandle()) return;
  const QDeadlineTimer end(kLongestWaitForScreen);
  while (!face.windowHandle()->isExposed() && !end.hasExpired()) {
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents | QEventLoop::ExcludeSocketNotifiers);
    QThread::msleep(1);
  }
}

BoxAnswer WidgetDesktop::Ask(const MessageBox& box) {
  QMessageBox dialog(QApplication::activeWindow());
  dialog.setIcon(IconOf(box.icon));
  dialog.setWindowTitle(box.title);
  dialog.setTextFormat(Qt::PlainText);
  dialog.setText(box.text);
  const bool yesNo = box.buttons == BoxButtons::kYesNo;
  dialog.setStandardButtons(yesNo ? QMessageBox::Yes | QMessageBox::No : QMessageBox::Ok);
  const int answer = dialog.exec();
  if (!yesNo) return BoxAnswer::kOk;
  return answer == QMessageBox::Yes ? BoxAnswer::kYes : BoxAnswer::kNo;
}

std::optional<QString> WidgetDesktop::AskForFile(const FileBox& box) {
  while (true) {
    const std::optional<QString> path = AskOnceForFile(box);
    const QString folder = path ? QFileInfo(*path).absolutePath() : QString();
    if (!path || !box.folderMustExist || QFileInfo(folder).isDir()) return path;
    Ask({QStringLiteral("The folder ") + folder + QStringLiteral(" does not exist. Choose one that does."),
         BoxIcon::kExclamation, BoxButtons::kOk, box.title});
  }
}

std::optional<QString> WidgetDesktop::AskOnceForFile(const FileBox& box) {
  QWidget* parent = QApplication::activeWindow();
  // A name without a dot is a file, too.
  const QString filter = box.filter == u"*.*" ? QStringLiteral("*") : box.filter;
  const QString path = box.forSaving
                           ? QFileDialog::getSaveFileName(parent, box.title, box.path, filter, nullptr,
                                                          QFileDialog::DontConfirmOverwrite)
                           : QFileDialog::getOpenFileName(parent, box.title, box.path, filter);
  if (path.isEmpty()) return std::nullopt;
  return path;
}

std::optional<Colour> WidgetDesktop::AskForColour(Colour start) {
  const QColor chosen = QColorDialog::getColor(ToQColor(start), QApplication::activeWindow());
  if (!chosen.isValid()) return std::nullopt;
  return ToColour(chosen);
}

void WidgetDesktop::OpenDocument(const QString& address) {
  const QFileInfo file(address);
  const QUrl url = file.exists() ? QUrl::fromLocalFile(file.absoluteFilePath()) : QUrl(address);
  if (!file.exists() && url.scheme().isEmpty()) throw Failure(FailureNumber::kFileNotFound);
  if (!QDesktopServices::openUrl(url)) {
    throw Failure(FailureNumber::kBadArgument,
                  QStringLiteral("The desktop has no program that opens ") + address);
  }
}

void WidgetDesktop::DoEvents() {
  QCoreApplication::processEvents();
}

}  // namespace veltrane
