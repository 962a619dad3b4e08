// The save dialog as the user sees it: its texts, and real clicks and keys.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <gtest/gtest.h>

#include "history/Logging.h"
#include "reports/frmSaveHistory.h"
#include "tests/support/World.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"

namespace veltrane {
namespace {

struct FrmSaveHistoryFaceTest : testing::Test, World {
  FrmSaveHistoryFaceTest() {
    general.frmMain = &mMain;
    logging.mobjSocketPairHistory.Add(std::make_shared<SocketPairHistory>(), QStringLiteral("KEY1"));
    mMain.tvwSockets.SetSelectedItem(
        &mMain.tvwSockets.Add({}, QStringLiteral("KEY1"), QStringLiteral("One"), QStringLiteral("Socket")));
    form.Show();
    face = widgets.FaceOf(form);
  }
  template <class Widget>
  Widget& Find(const char* name) {
    auto* widget = face->findChild<Widget*>(QLatin1String(name));
    if (!widget) throw std::runtime_error(std::string("no widget ") + name);
    return *widget;
  }
  void Choose(const char* option) {
    QTest::mouseClick(&Find<QRadioButton>(option), Qt::LeftButton, {}, {8, 8});
  }

  WidgetDesktop widgets;
  General general{{mStore, mSockets, mTimers, mClock, mRandom, widgets, mErrors,
                   QStringLiteral("/opt/veltrane"), mWriteFolder.path()},
                  AllProtocols()};
  Logging logging{general};
  frmSaveHistory form{general, logging, mMain};
  FormFace* face = nullptr;
};

TEST_F(FrmSaveHistoryFaceTest, Every_control_has_its_widget) {
  for (const Control* control : form.Controls()) {
    const QString& name = control->objectName();
    const auto* group = qobject_cast<const OptionGroup*>(control);
    for (int i = 0; group && i < group->Count(); ++i)
      EXPECT_NE(face->findChild<QRadioButton*>(name + u'_' + QString::number(i)), nullptr);
    const bool isSpin = qobject_cast<const SpinButton*>(control);
    for (const char* arrow : {"_up", "_down"})
      EXPECT_TRUE(!isSpin || face->findChild<QToolButton*>(name + QLatin1String(arrow)));
    EXPECT_TRUE(group || isSpin || face->findChild<QWidget*>(name)) << name.toStdString();
  }
}

TEST_F(FrmSaveHistoryFaceTest, Its_texts_read_as_they_should) {
  EXPECT_EQ(face->windowTitle(), QStringLiteral("Save Data"));
  const struct {
    const char* name;
    const char* text;
  } texts[] = {{"cmdView", "View..."},
               {"optFormat_0", "Connection diagram as HTML"},
               {"cmdHTMLOptions", "Options..."},
               {"optFormat_1", "Save to log file:"},
               {"optDisplayAs_0", "Save raw data:"},
               {"optDisplayAs_1", "Hexadecimal"},
               {"optDisplayAs_2", "Octal"},
               {"optDisplayAs_3", "Decimal"},
               {"optDisplayAs_4", "Binary"},
               {"chkIncludeBufferedData", "Save data placed in buffer"},
               {"chkIncludeNonDataEvents", "Save events that do not contain data"},
               {"chkIncludeDateTimeStamp", "Include Date/Time Stamp"},
               {"chkIncludeDataDirection", "Include data direction description"},
               {"chkIncludeDescription", "Include description"},
               {"chkAutoOpen", "Open file after save"},
               {"cmdSave", "Save"},
               {"cmdCancel", "Cancel"}};
  for (const auto& row : texts)
    EXPECT_EQ(Find<QAbstractButton>(row.name).text(), QLatin1String(row.text));
  EXPECT_EQ(Find<QLabel>("lblBytesPerRow").text(), QStringLiteral("bytes per row"));
  EXPECT_EQ(Find<QComboBox>("cboDirection").currentText(), QStringLiteral("VLT to Remote Server"));
}

TEST_F(FrmSaveHistoryFaceTest, Escape_cancels_and_Enter_saves) {
  QTest::keyClick(&Find<QLineEdit>("txtFile"), Qt::Key_Escape);
  EXPECT_FALSE(face->isVisible());
  EXPECT_FALSE(form.IsLoaded());
  int saves = 0;
  form.cmdSave.OnClick = [&] { ++saves; };
  form.Show();
  QTest::keyClick(&Find<QLineEdit>("txtFile"), Qt::Key_Return);
  EXPECT_EQ(saves, 1);
}

TEST_F(FrmSaveHistoryFaceTest, Clicks_choose_and_what_does_not_apply_is_off) {
  EXPECT_FALSE(Find<QRadioButton>("optDisplayAs_0").isEnabled());
  EXPECT_FALSE(Find<QCheckBox>("chkIncludeDescription").isEnabled());
  EXPECT_TRUE(Find<QLineEdit>("txtBytesPerRow").isEnabled());
  Choose("optFormat_1");
  EXPECT_EQ(form.optFormat.Selected(), 1);
  EXPECT_TRUE(Find<QCheckBox>("chkIncludeDescription").isEnabled());
  Choose("optDisplayAs_0");
  EXPECT_EQ(form.optDisplayAs.Selected(), 0);
  EXPECT_TRUE(Find<QComboBox>("cboDirection").isEnabled());
  EXPECT_FALSE(Find<QLineEdit>("txtBytesPerRow").isEnabled());
  EXPECT_FALSE(Find<QToolButton>("upBytesPerRow_up").isEnabled());
  Choose("optFormat_0");
  EXPECT_TRUE(Find<QRadioButton>("optDisplayAs_1").isChecked());
  EXPECT_FALSE(Find<QRadioButton>("optDisplayAs_0").isEnabled());
}

TEST_F(FrmSaveHistoryFaceTest, A_number_is_corrected_as_it_is_typed_and_the_arrows_count) {
  auto& field = Find<QLineEdit>("txtBytesPerRow");
  field.selectAll();
  QTest::keyClicks(&field, QStringLiteral("x"));
  EXPECT_EQ(field.text(), QStringLiteral("8"));
  QTest::keyClicks(&field, QStringLiteral("0"));
  EXPECT_EQ(field.text(), QStringLiteral("80"));
  QTest::mouseClick(&Find<QToolButton>("upBytesPerRow_up"), Qt::LeftButton);
  EXPECT_EQ(field.text(), QStringLiteral("84"));
  QTest::mouseClick(&Find<QToolButton>("upBytesPerRow_down"), Qt::LeftButton);
  EXPECT_EQ(field.text(), QStringLiteral("80"));
}

TEST_F(FrmSaveHistoryFaceTest, Typing_a_path_and_Save_writes_the_file_and_the_dialog_goes) {
  Choose("optFormat_1");
  const QString path = mWriteFolder.filePath(QStringLiteral("a.txt"));
  auto& field = Find<QLineEdit>("txtFile");
  field.selectAll();
  QTest::keyClicks(&field, path);
  EXPECT_FALSE(Find<QPushButton>("cmdView").isEnabled());
  QTest::mouseClick(&Find<QPushButton>("cmdSave"), Qt::LeftButton);
  EXPECT_FALSE(face->isVisible());
  EXPECT_TRUE(QFile::exists(path));
  EXPECT_EQ(mErrors.mTexts, QStringList());
}

TEST_F(FrmSaveHistoryFaceTest, A_path_in_a_folder_that_does_not_exist_is_refused_and_asked_for_again) {
  const QString there = mWriteFolder.filePath(QStringLiteral("x.htm"));
  QStringList typed{QStringLiteral("/none/x.htm"), there};
  QStringList told;
  QTimer hand;
  QObject::connect(&hand, &QTimer::timeout, &hand, [&] {
    if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
      if (typed.isEmpty()) return dialog->reject();
      dialog->findChild<QLineEdit*>()->setText(typed.takeFirst());
      QMetaObject::invokeMethod(dialog, "accept");
    } else if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
      told.append(box->text());
      QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
    }
  });
  hand.start(10);
  QTest::mouseClick(&Find<QToolButton>("cmdFile"), Qt::LeftButton);
  EXPECT_EQ(told, QStringList{QStringLiteral("The folder /none does not exist. Choose one that does.")});
  EXPECT_EQ(form.txtFile.Text(), there);
}

TEST_F(FrmSaveHistoryFaceTest, All_texts_are_seen_whole) {
  for (const QWidget* widget : face->findChildren<QWidget*>()) {
    const bool hasText = qobject_cast<const QLabel*>(widget) ||
                         qobject_cast<const QAbstractButton*>(widget) ||
                         qobject_cast<const QComboBox*>(widget);
    const bool isArrow = widget->objectName().startsWith(QStringLiteral("upBytesPerRow"));
    if (!widget->isVisible() || !hasText || isArrow) continue;
    EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << widget->objectName().toStdString();
    EXPECT_GE(widget->height(), widget->minimumSizeHint().height()) << widget->objectName().toStdString();
  }
}

}  // namespace
}  // namespace veltrane
