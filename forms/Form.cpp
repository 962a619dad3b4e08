#include "forms/Form.h"

#include "forms/Control.h"

namespace veltrane {

Form::Form(Desktop& desktop, const QString& name) : mDesktop(desktop) {
  setObjectName(name);
}

Form::~Form() {
  mDesktop.ForgetForm(*this);
}

Control* Form::FindControl(const QString& name) const {
  for (Control* control : mControls) {
    if (control->Name() == name) return control;
  }
  return nullptr;
}

void Form::SetCaption(const QString& caption) {
  if (mCaption == caption) return;
  mCaption = caption;
  Q_EMIT CaptionChanged();
}

void Form::Load() {
  if (mLoaded) return;
  // Set first: what OnLoad calls may touch the form again.
  mLoaded = true;
  try {
    OnLoad();
  } catch (...) {
    mLoaded = false;
    throw;
  }
}

void Form::ShowAs(bool modal, Form* owner) {
  Load();
  if (!mLoaded) return;
  // Minimised, a modal form would block all others while the user sees none.
  if (!mVisible && mState == WindowState::kMinimized && !StaysMinimized()) mState = WindowState::kNormal;
  mVisible = true;
  mDesktop.ShowForm(*this, modal, owner);
  if (!modal) OnShown();
}

void Form::Hide() {
  Load();
  if (!mVisible) return;
  mVisible = false;
  mDesktop.HideForm(*this);
}

bool Form::Unload() {
  if (!mLoaded) return true;
  if (!OnQueryUnload()) return false;
  OnUnload();
  mLoaded = false;
  if (mVisible) {
    mVisible = false;
    mDesktop.HideForm(*this);
  }
  return true;
}

void Form::SetState(WindowState state) {
  if (mState == state) return;
  mState = state;
  Q_EMIT StateChanged();
  OnResize();
}

void Form::SetGeometry(const Rect& geometry) {
  if (mGeometry == geometry) return;
  mGeometry = geometry;
  Q_EMIT GeometryChanged();
}

void Form::FaceResized(const Rect& geometry, int scaleWidth, int scaleHeight) {
  mGeometry = geometry;
  if (scaleWidth == mScaleWidth && scaleHeight == mScaleHeight) return;
  mScaleWidth = scaleWidth;
  mScaleHeight = scaleHeight;
  OnResize();
}

void Form::FaceStateChanged(WindowState state) {
  if (mState == state) return;
  mState = state;
  OnResize();
}

}  // namespace veltrane
