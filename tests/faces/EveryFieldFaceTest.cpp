// Ten megabytes pasted into real fields: they take what a field can hold, at once.
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QMessageBox>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "failure/frmProblemSimulation.h"
#include "history/frmRealTimeLogging.h"
#include "tests/support/FakeStatusPanes.h"
#include "tests/support/FieldTime.h"
#include "tests/support/World.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"

namespace veltrane {
namespace {

struct EveryFieldFaceTest : testing::Test {
  /// Pastes into each field of the window and leaves it; boxes that come up are answered.
  void PasteIntoAll(Form& form, const QString& text) {
    form.Show();
    QWidget* face = widgets.FaceOf(form);
    QTimer answer;
    QObject::connect(&answer, &QTimer::timeout, &answer, [] {
      if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) box->accept();
    });
    answer.start(5);
    QApplication::clipboard()->setText(text);
    const QList<QLineEdit*> fields = face->findChildren<QLineEdit*>();
    EXPECT_FALSE(fields.isEmpty());
    for (QLineEdit* field : fields) {
      const QString before = field->text();
      const ProcessorTime time;
      field->selectAll();
      field->paste();
      QCoreApplication::processEvents();
      auto* box = qobject_cast<TextBox*>(form.FindControl(field->objectName()));
      ASSERT_TRUE(box) << field->objectName().toStdString();
      EXPECT_EQ(box->Text(), field->text()) << field->objectName().toStdString();
      box->LeaveFocus();
      QCoreApplication::processEvents();
      EXPECT_LT(time.Spent(), kLongestForAField) << field->objectName().toStdString();
      box->SetText(before);
    }
    form.Unload();
  }

  World world;
  WidgetDesktop widgets;
  General general{{world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, widgets,
                   world.mErrors, world.mWriteFolder.path(), world.mWriteFolder.path()},
                  AllProtocols()};
  FakeStatusPanes panes;
  frmProblemSimulation failures{general, panes};
  frmRealTimeLogging logging{general, panes};
};

TEST_F(EveryFieldFaceTest, Ten_megabytes_of_digits) {
  PasteIntoAll(failures, QString(10'000'000, u'9'));
  PasteIntoAll(logging, QString(10'000'000, u'9'));
}

TEST_F(EveryFieldFaceTest, Ten_megabytes_of_letters_of_another_script) {
  PasteIntoAll(failures, QStringLiteral("\u6f22\u0661").repeated(5'000'000));
  PasteIntoAll(logging, QStringLiteral("\u6f22\u0661").repeated(5'000'000));
}

}  // namespace
}  // namespace veltrane
