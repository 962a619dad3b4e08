#include "ui/faces/WidgetDesktop.h"

#include <QApplication>
#include <QColorDialog>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QUrl>
#include <QWindow>

#include "forms/Form.h"
#include "ui/faces/Faces.h"
#include "ui/faces/FormFace.h"

namespace veltrane {
namespace {

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

}  // namespace

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
  const FormFace* ownerFace = owner ? FaceOf(*owner) : nullptr;
  face->setWindowModality(modal ? Qt::ApplicationModal : Qt::NonModal);
  face->show();
  if (ownerFace && face->windowHandle()) face->windowHandle()->setTransientParent(ownerFace->windowHandle());
  if (!modal) return;
  QEventLoop loop;
  QObject::connect(face, &FormFace::Hidden, &loop, &QEventLoop::quit);
  QObject::connect(face, &QObject::destroyed, &loop, &QEventLoop::quit);
  if (face->isVisible()) loop.exec();
}

void WidgetDesktop::HideForm(Form& form) {
  if (FormFace* face = FaceOf(form)) face->hide();
}

void WidgetDesktop::ForgetForm(Form& form) {
  delete mFaces.take(&form);
}

void WidgetDesktop::RepaintForm(Form& form) {
  if (FormFace* face = FaceOf(form)) face->RepaintNow();
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
  QWidget* parent = QApplication::activeWindow();
  const QString path = box.forSaving
                           ? QFileDialog::getSaveFileName(parent, box.title, box.path, box.filter, nullptr,
                                                          QFileDialog::DontConfirmOverwrite)
                           : QFileDialog::getOpenFileName(parent, box.title, box.path, box.filter);
  if (path.isEmpty()) return std::nullopt;
  return path;
}

std::optional<Colour> WidgetDesktop::AskForColour(Colour start) {
  const QColor before(static_cast<int>(start & 0xff), static_cast<int>((start >> 8) & 0xff),
                      static_cast<int>((start >> 16) & 0xff));
  const QColor chosen = QColorDialog::getColor(before, QApplication::activeWindow());
  if (!chosen.isValid()) return std::nullopt;
  return static_cast<Colour>(chosen.red() | chosen.green() << 8 | chosen.blue() << 16);
}

void WidgetDesktop::OpenDocument(const QString& address) {
  const QUrl url = QFileInfo::exists(address) ? QUrl::fromLocalFile(address) : QUrl(address);
  QDesktopServices::openUrl(url);
}

void WidgetDesktop::DoEvents() {
  QCoreApplication::processEvents();
}

}  // namespace veltrane
