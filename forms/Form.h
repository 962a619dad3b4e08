// A window as the rest of the system knows it: its controls by name, and its logic. Loaded at the first use,
// then shown and hidden at will; unloading asks first and may be refused. Geometry is in twips, 15 to the
// pixel.
#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include "forms/Desktop.h"
#include "forms/Rect.h"

namespace veltrane {

class CommandButton;
class Control;

enum class WindowState { kNormal, kMinimized, kMaximized };

class Form : public QObject {
  Q_OBJECT

 public:
  Form(Desktop& desktop, const QString& name);
  ~Form() override;

  QString Name() const { return objectName(); }
  const QList<Control*>& Controls() const { return mControls; }
  /// The control of that name, or nullptr.
  Control* FindControl(const QString& name) const;
  void AddControl(Control& control) { mControls.append(&control); }

  const QString& Caption() const { return mCaption; }
  void SetCaption(const QString& caption);

  /// Whether its owner takes nothing from the user while it is shown, though showing it returns at once.
  virtual bool BlocksOwner() const { return false; }

  /// Whether it comes up minimised when it was minimised before it was hidden. Any other form that is shown
  /// anew comes up normal.
  virtual bool StaysMinimized() const { return false; }

  bool IsLoaded() const { return mLoaded; }
  bool Visible() const { return mVisible; }
  /// Runs OnLoad unless the form is loaded. Where that fails the form is not loaded, so the next use tries
  /// again.
  void Load();
  /// Loads the form and shows it, unless it has unloaded itself while it loaded.
  void Show(Form* owner = nullptr) { ShowAs(false, owner); }
  void ShowModal(Form* owner) { ShowAs(true, owner); }
  void Hide();
  /// Asks OnQueryUnload, then runs OnUnload and takes the window away. False when it was refused. A form
  /// that is not loaded has nothing to do.
  bool Unload();
  void Repaint() { GetDesktop().RepaintForm(*this); }
  void BringToFront() { GetDesktop().BringToFront(*this); }

  WindowState State() const { return mState; }
  void SetState(WindowState state);

  /// Place and size of the window's frame; a size of 0 leaves what the face was designed with.
  const Rect& Geometry() const { return mGeometry; }
  void SetGeometry(const Rect& geometry);
  /// Size of the inner area, as the face last measured it.
  int ScaleWidth() const { return mScaleWidth; }
  int ScaleHeight() const { return mScaleHeight; }

  /// The buttons that Enter and Escape press, wherever the keyboard focus is. A form that names the first is
  /// a dialog: its window opens with the focus on the first field. nullptr until set.
  CommandButton* DefaultButton() const { return mDefaultButton; }
  void SetDefaultButton(CommandButton& button) { mDefaultButton = &button; }
  CommandButton* CancelButton() const { return mCancelButton; }
  void SetCancelButton(CommandButton& button) { mCancelButton = &button; }

  Desktop& GetDesktop() const { return mDesktop; }

  // What the face tells: the user has done it to the window already.
  void FaceResized(const Rect& geometry, int scaleWidth, int scaleHeight);
  void FaceStateChanged(WindowState state);
  void FaceActivated() { OnActivate(); }

 Q_SIGNALS:
  void CaptionChanged();
  void StateChanged();
  void GeometryChanged();

 protected:
  virtual void OnLoad() {}
  virtual void OnActivate() {}
  /// Ends each showing that does not block.
  virtual void OnShown() {}
  virtual void OnResize() {}
  /// Return false to refuse the unload.
  virtual bool OnQueryUnload() { return true; }
  virtual void OnUnload() {}

 private:
  void ShowAs(bool modal, Form* owner);

  Desktop& mDesktop;
  QList<Control*> mControls;
  CommandButton* mDefaultButton = nullptr;
  CommandButton* mCancelButton = nullptr;
  QString mCaption;
  Rect mGeometry;
  int mScaleWidth = 0;
  int mScaleHeight = 0;
  WindowState mState = WindowState::kNormal;
  bool mLoaded = false;
  bool mVisible = false;
};

}  // namespace veltrane
