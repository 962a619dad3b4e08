// The desktop with windows: builds the face of a form at its first showing, and asks with Qt's dialogs.
#pragma once

#include <QHash>

#include <functional>
#include <memory>

#include "forms/Desktop.h"

class QWidget;

namespace veltrane {

class FormFace;

class WidgetDesktop : public Desktop {
 public:
  WidgetDesktop();
  ~WidgetDesktop() override;

  /// The face of a form, or nullptr while it was never shown or has none.
  FormFace* FaceOf(const Form& form) const;

  void ShowForm(Form& form, bool modal, Form* owner) override;
  void HideForm(Form& form) override;
  void ForgetForm(Form& form) override;
  void RepaintForm(Form& form) override;
  void BringToFront(Form& form) override;
  void SetTopMost(Form& form, bool topMost) override;
  BoxAnswer Ask(const MessageBox& box) override;
  std::optional<QString> AskForFile(const FileBox& box) override;
  std::optional<Colour> AskForColour(Colour start) override;
  void OpenDocument(const QString& address) override;
  void DoEvents() override;

 private:
  class Lending;

  FormFace* Face(Form& form);
  static void WaitForScreen(const FormFace& face);
  static std::optional<QString> AskOnceForFile(const FileBox& box);

  QHash<const Form*, FormFace*> mFaces;
};

}  // namespace veltrane
