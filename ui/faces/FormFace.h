// The window of a form. It is built at the form's first showing and lives as long as the form.
#pragma once

#include <QElapsedTimer>
#include <QWidget>

#include "forms/Form.h"

namespace veltrane {

class FormFace : public QWidget {
  Q_OBJECT

 public:
  explicit FormFace(Form& form);

  Form& GetForm() const { return mForm; }
  /// Shows the window, minimised if and only if that is the form's state.
  void ShowInState();
  void SetTopMost(bool topMost);
  /// The widget whose size is that of the form's inner area, when it is not the whole window.
  void SetInner(QWidget& inner);
  /// Draws now; called often it draws once a frame.
  void RepaintNow();

 Q_SIGNALS:
  /// The form has been hidden.
  void Hidden();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void TellSize();
  void FollowGeometry();
  static bool CanOpenAt(QPoint place);
  void FollowState();
  void MakeRoomForText();
  void FocusFirstField();
  bool PressByKey(int key);

  Form& mForm;
  QWidget* mInner = this;
  QElapsedTimer mSinceRepaint;
};

}  // namespace veltrane
