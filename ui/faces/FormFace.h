// The window of a form. It is built at the form's first showing and lives as long as the form.
#pragma once

#include <QWidget>

#include "forms/Form.h"

namespace veltrane {

class FormFace : public QWidget {
  Q_OBJECT

 public:
  explicit FormFace(Form& form);

  Form& GetForm() const { return mForm; }
  void SetTopMost(bool topMost);
  /// Draws now; called often it draws once a frame.
  void RepaintNow();

 Q_SIGNALS:
  void Hidden();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void TellSize();
  void FollowGeometry();
  void FollowState();

  Form& mForm;
  qint64 mLastRepaint = 0;
};

}  // namespace veltrane
