// The log file's window as the user sees it: its texts, and real clicks and keys.
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <gtest/gtest.h>

#include "history/frmRealTimeLogging.h"
#include "tests/support/FakeStatusPanes.h"
#include "tests/support/World.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"

namespace veltrane {
namespace {

/// A World whose windows are real.
struct WidgetWorld : World {
  WidgetDesktop mWidgets;
  General mWidgetGeneral{{mStore, mSockets, mTimers, mClock, mRandom, mWidgets, mErrors,
                          QStringLiteral("/opt/veltrane"), mWriteFolder.path()},
                         AllProtocols()};
};

struct FrmRealTimeLoggingFaceTest : testing::Test {
  FrmRealTimeLoggingFaceTest() {
    form.Show();
    face = world.mWidgets.FaceOf(form);
    face->activateWindow();
    QCoreApplication::processEvents();
  }
  template <class Widget>
  Widget& Find(const char* name) {
    auto* widget = face->findChild<Widget*>(QLatin1String(name));
    if (!widget) throw std::runtime_error(std::string("no widget ") + name);
    return *widget;
  }
  void Click(const char* name) {
    QTest::mouseClick(&Find<QAbstractButton>(name), Qt::LeftButton, {}, {8, 8});
  }
  QString DefaultFile() const { return world.mWriteFolder.path() + QStringLiteral("/Log/Log.txt"); }
  void WriteFile(const QByteArray& text) {
    QFile file(DefaultFile());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
  }
  void Tick() { world.mTimers.Advance(std::chrono::seconds(1)); }
  /// Answers the next question and notes how it was put.
  void AnswerWith(QMessageBox::StandardButton answer) {
    auto* timer = new QTimer(face);
    QObject::connect(timer, &QTimer::timeout, face, [this, timer, answer] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) return;
      timer->stop();
      question = box->windowTitle() + QStringLiteral(": ") + box->text();
      icon = box->icon();
      QTest::mouseClick(box->button(answer), Qt::LeftButton);
    });
    timer->start(10);
  }

  WidgetWorld world;
  FakeStatusPanes panes;
  frmRealTimeLogging form{world.mWidgetGeneral, panes};
  FormFace* face = nullptr;
  QString question;
  QMessageBox::Icon icon = QMessageBox::NoIcon;
};

TEST_F(FrmRealTimeLoggingFaceTest, Every_control_has_its_widget_and_its_text) {
  for (const Control* control : form.Controls())
    EXPECT_NE(face->findChild<QWidget*>(control->objectName()), nullptr)
        << control->objectName().toStdString();
  EXPECT_EQ(face->windowTitle(), QStringLiteral("Real Time Logging"));
  const struct {
    const char* name;
    const char* text;
  } texts[] = {{"chkLoggingEnabled", "Enable real time logging of all data and events"},
               {"cmdView", "View..."},
               {"cmdDelete", "Delete"},
               {"cmdClose", "Close"}};
  for (const auto& row : texts)
    EXPECT_EQ(Find<QAbstractButton>(row.name).text(), QLatin1String(row.text));
}

TEST_F(FrmRealTimeLoggingFaceTest, It_opens_with_the_default_file_and_logging_off) {
  EXPECT_EQ(Find<QLineEdit>("txtLogFile").text(), DefaultFile());
  EXPECT_FALSE(Find<QCheckBox>("chkLoggingEnabled").isChecked());
  EXPECT_EQ(Find<QLabel>("lblLogSize").text(), QStringLiteral("0 bytes"));
}

TEST_F(FrmRealTimeLoggingFaceTest, Clicks_and_keys_change_the_controls_at_once) {
  Click("chkLoggingEnabled");
  EXPECT_TRUE(form.chkLoggingEnabled.IsOn());
  EXPECT_EQ(panes.mTexts[8], QStringLiteral("Logging: ON "));
  Click("chkLoggingEnabled");
  EXPECT_EQ(panes.mTexts[8], QStringLiteral("Logging: Off "));
  auto& field = Find<QLineEdit>("txtLogFile");
  field.selectAll();
  QTest::keyClicks(&field, QStringLiteral("/tmp/other.txt"));
  EXPECT_EQ(form.txtLogFile.Text(), QStringLiteral("/tmp/other.txt")) << "without leaving the field";
}

TEST_F(FrmRealTimeLoggingFaceTest, Tab_goes_through_all_controls_in_the_order_of_reading) {
  QStringList names;
  Find<QCheckBox>("chkLoggingEnabled").setFocus();
  for (int i = 0; i < 6; ++i) {
    names.append(face->focusWidget()->objectName());
    QTest::keyClick(face->focusWidget(), Qt::Key_Tab);
  }
  EXPECT_EQ(names.join(u' '),
            QStringLiteral("chkLoggingEnabled txtLogFile cmdOpen cmdView cmdDelete cmdClose"));
}

TEST_F(FrmRealTimeLoggingFaceTest, The_size_follows_the_file_once_a_second) {
  WriteFile("12345");
  world.mTimers.Advance(std::chrono::milliseconds(999));
  EXPECT_EQ(Find<QLabel>("lblLogSize").text(), QStringLiteral("0 bytes"));
  world.mTimers.Advance(std::chrono::milliseconds(1));
  EXPECT_EQ(Find<QLabel>("lblLogSize").text(), QStringLiteral("5 bytes"));
}

TEST_F(FrmRealTimeLoggingFaceTest, Delete_asks_first_and_no_keeps_the_file) {
  WriteFile("12345");
  AnswerWith(QMessageBox::No);
  Click("cmdDelete");
  EXPECT_EQ(question, QStringLiteral("Veltrane: Are you sure you want to delete this log file?"));
  EXPECT_EQ(icon, QMessageBox::Question);
  EXPECT_TRUE(QFile::exists(DefaultFile()));
}

TEST_F(FrmRealTimeLoggingFaceTest, After_a_yes_the_file_is_gone_and_so_is_its_size) {
  WriteFile("12345");
  Tick();
  AnswerWith(QMessageBox::Yes);
  Click("cmdDelete");
  EXPECT_FALSE(QFile::exists(DefaultFile()));
  Tick();
  EXPECT_EQ(Find<QLabel>("lblLogSize").text(), QStringLiteral("0 bytes"));
  EXPECT_EQ(world.mErrors.mTexts, QStringList());
}

TEST_F(FrmRealTimeLoggingFaceTest, The_file_can_be_chosen_and_a_cancelled_choice_keeps_the_old_one) {
  QString title;
  auto* timer = new QTimer(face);
  QObject::connect(timer, &QTimer::timeout, face, [&title] {
    if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
      title = dialog->windowTitle();
      dialog->reject();
    }
  });
  timer->start(10);
  Click("cmdOpen");
  EXPECT_EQ(title, QStringLiteral("Log File"));
  EXPECT_EQ(form.txtLogFile.Text(), DefaultFile());
  delete timer;
  auto* accept = new QTimer(face);
  const QString chosen = world.mWriteFolder.path() + QStringLiteral("/Log/new.txt");
  QObject::connect(accept, &QTimer::timeout, face, [&chosen] {
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (!dialog) return;
    dialog->findChild<QLineEdit*>()->setText(chosen);
    QMetaObject::invokeMethod(dialog, "accept");
  });
  accept->start(10);
  Click("cmdOpen");
  EXPECT_EQ(form.txtLogFile.Text(), chosen);
  EXPECT_EQ(Find<QLineEdit>("txtLogFile").text(), chosen);
}

TEST_F(FrmRealTimeLoggingFaceTest, A_path_in_a_folder_that_does_not_exist_is_refused_and_asked_for_again) {
  auto* hand = new QTimer(face);
  QStringList seen;
  QObject::connect(hand, &QTimer::timeout, face, [&seen] {
    if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
      seen.append(QStringLiteral("asked"));
      if (seen.size() > 1) return dialog->reject();
      dialog->findChild<QLineEdit*>()->setText(QStringLiteral("/missing/x.txt"));
      QMetaObject::invokeMethod(dialog, "accept");
    } else if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
      seen.append(box->text());
      QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
    }
  });
  hand->start(10);
  Click("cmdOpen");
  EXPECT_EQ(form.txtLogFile.Text(), DefaultFile());
  EXPECT_EQ(seen, (QStringList{QStringLiteral("asked"),
                               QStringLiteral("The folder /missing does not exist. Choose one that does."),
                               QStringLiteral("asked")}));
}

TEST_F(FrmRealTimeLoggingFaceTest, Close_hides_and_the_frame_saves_and_hides) {
  Click("cmdClose");
  EXPECT_FALSE(face->isVisible());
  EXPECT_TRUE(world.mStore.mRows.isEmpty());
  form.Show();
  EXPECT_TRUE(face->isVisible());
  Click("chkLoggingEnabled");
  face->close();
  EXPECT_FALSE(face->isVisible());
  EXPECT_EQ(world.Get(QStringLiteral("RealTimeLogging"), QStringLiteral("LoggingOn")), QStringLiteral("1"));
  EXPECT_EQ(world.Get(QStringLiteral("RealTimeLogging"), QStringLiteral("LogFile")), DefaultFile());
  EXPECT_TRUE(form.LoggingEnabled()) << "a window out of sight goes on to rule";
}

TEST_F(FrmRealTimeLoggingFaceTest, Escape_hides) {
  QTest::keyClick(&Find<QLineEdit>("txtLogFile"), Qt::Key_Escape);
  EXPECT_FALSE(face->isVisible());
  EXPECT_TRUE(form.IsLoaded());
}

TEST_F(FrmRealTimeLoggingFaceTest, The_size_is_told_again_after_the_frame_was_closed) {
  face->close();
  form.Show();
  WriteFile("12345");
  Tick();
  EXPECT_EQ(Find<QLabel>("lblLogSize").text(), QStringLiteral("5 bytes"));
}

TEST_F(FrmRealTimeLoggingFaceTest, All_texts_are_seen_whole) {
  for (const QWidget* widget : face->findChildren<QWidget*>()) {
    const bool hasText = qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget);
    if (!widget->isVisible() || !hasText) continue;
    EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << widget->objectName().toStdString();
    EXPECT_GE(widget->height(), widget->minimumSizeHint().height()) << widget->objectName().toStdString();
  }
}

}  // namespace
}  // namespace veltrane
