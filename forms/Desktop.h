// The desktop as forms know it: it shows forms, asks the user short questions, and opens documents. The
// program has one with windows (ui/faces); tests have one that answers from a queue.
#pragma once

#include <QString>

#include <optional>

#include "forms/Controls.h"

namespace veltrane {

class Form;

enum class BoxIcon { kInformation, kExclamation, kQuestion };
enum class BoxButtons { kOk, kYesNo };
enum class BoxAnswer { kOk, kYes, kNo };

/// A modal message box. Sockets are served while it is open.
struct MessageBox {
  QString text;
  BoxIcon icon = BoxIcon::kInformation;
  BoxButtons buttons = BoxButtons::kOk;
  QString title;
};

/// A modal file dialog.
struct FileBox {
  QString title;
  QString path;    // where it starts: a folder and a file name
  QString filter;  // "*.*"
  bool forSaving = false;
  bool folderMustExist = false;  // a path elsewhere is refused, and asked for again
};

class Desktop {
 public:
  virtual ~Desktop() = default;

  /// Puts a form on the screen. Modal: returns when the form is hidden or unloaded; events are served
  /// meanwhile. owner may be nullptr.
  virtual void ShowForm(Form& form, bool modal, Form* owner) = 0;
  virtual void HideForm(Form& form) = 0;
  /// The form is going: drop what stands for it.
  virtual void ForgetForm(Form& form) = 0;
  /// Draws at once, without serving sockets, timers or the user.
  virtual void RepaintForm(Form& form) = 0;
  virtual void BringToFront(Form& form) = 0;
  virtual void SetTopMost(Form& form, bool topMost) = 0;

  virtual BoxAnswer Ask(const MessageBox& box) = 0;
  /// Nothing when the user cancelled.
  virtual std::optional<QString> AskForFile(const FileBox& box) = 0;
  virtual std::optional<Colour> AskForColour(Colour start) = 0;

  /// Opens a file or a web address with the program that the user's desktop has for it.
  virtual void OpenDocument(const QString& address) = 0;

  /// Serves what is waiting in the message loop once, and returns.
  virtual void DoEvents() = 0;
};

}  // namespace veltrane
