#include <QApplication>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "tests/support/World.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmError.h"

namespace veltrane {
namespace {

struct WidgetDesktopTest : testing::Test {
  World world;
  WidgetDesktop desktop;
  frmError error{desktop};
};

TEST_F(WidgetDesktopTest, The_error_window_comes_up_with_its_log_and_hides_when_closed) {
  error.SetGeneral(world.mGeneral);
  EXPECT_EQ(desktop.FaceOf(error), nullptr);
  error.LogError(QStringLiteral("it failed"));
  FormFace* face = desktop.FaceOf(error);
  ASSERT_NE(face, nullptr);
  EXPECT_TRUE(face->isVisible());
  EXPECT_EQ(face->windowTitle(), QStringLiteral("Error"));
  auto* log = face->findChild<QPlainTextEdit*>(QStringLiteral("txtErrorMessage"));
  ASSERT_NE(log, nullptr);
  EXPECT_EQ(log->toPlainText(), QStringLiteral("07:05:03.042\nit failed\n\n"));
  face->close();
  EXPECT_FALSE(face->isVisible());
  EXPECT_FALSE(error.Visible());
  error.LogError(QStringLiteral("again"));
  EXPECT_TRUE(face->isVisible());
  EXPECT_TRUE(log->toPlainText().contains(QStringLiteral("it failed")));
}

TEST_F(WidgetDesktopTest, The_log_fills_its_window_and_the_window_keeps_its_least_height) {
  error.SetGeneral(world.mGeneral);
  error.LogError(QStringLiteral("x"));
  FormFace* face = desktop.FaceOf(error);
  face->resize(800, 500);
  const auto* log = face->findChild<QPlainTextEdit*>(QStringLiteral("txtErrorMessage"));
  EXPECT_EQ(log->width(), (800 * 15 - 160) / 15);
  EXPECT_LE(log->geometry().bottom(), 500);
  EXPECT_GT(log->geometry().bottom(), 450);
  face->resize(800, 50);
  EXPECT_EQ(face->height(), 1800 / 15);
}

TEST_F(WidgetDesktopTest, A_form_without_a_face_is_shown_as_nothing) {
  Form form(desktop, QStringLiteral("frmNowhere"));
  form.Show();
  form.ShowModal(nullptr);
  form.Repaint();
  form.BringToFront();
  desktop.SetTopMost(form, true);
  form.Hide();
  EXPECT_EQ(desktop.FaceOf(form), nullptr);
}

TEST_F(WidgetDesktopTest, A_modal_form_waits_until_it_is_hidden_and_serves_events_meanwhile) {
  error.SetGeneral(world.mGeneral);
  int ticks = 0;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
    if (++ticks == 3) error.Hide();
  });
  timer.start(5);
  error.ShowModal(nullptr);
  EXPECT_EQ(ticks, 3);
  EXPECT_FALSE(error.Visible());
}

TEST_F(WidgetDesktopTest, A_modal_form_stays_open_while_it_or_its_owner_is_minimised) {
  error.SetGeneral(world.mGeneral);
  frmError owner(desktop);
  owner.Show();
  bool returned = false;
  QStringList steps;
  const auto step = [&](int ms, const char* name, std::function<void(FormFace&)> act) {
    QTimer::singleShot(ms, &error, [&steps, &returned, this, name, act = std::move(act)] {
      if (returned) return;
      steps.append(QLatin1String(name));
      act(*desktop.FaceOf(error));
    });
  };
  step(10, "minimise", [](FormFace& face) { face.showMinimized(); });
  step(30, "restore", [](FormFace& face) { face.showNormal(); });
  step(50, "minimise the owner", [&](FormFace&) { desktop.FaceOf(owner)->showMinimized(); });
  step(70, "restore the owner", [&](FormFace&) { desktop.FaceOf(owner)->showNormal(); });
  // What a desktop tells of a window that it has taken off the screen.
  step(90, "taken away", [](FormFace& face) {
    QHideEvent hide;
    QSpontaneKeyEvent::setSpontaneous(&hide);
    qApp->notify(&face, &hide);
  });
  step(110, "close", [](FormFace& face) {
    EXPECT_TRUE(face.isVisible());
    EXPECT_EQ(QApplication::activeModalWidget(), &face);
    face.close();
  });
  error.ShowModal(&owner);
  returned = true;
  EXPECT_EQ(steps.join(u','), u"minimise,restore,minimise the owner,restore the owner,taken away,close");
  EXPECT_FALSE(error.Visible());
}

TEST_F(WidgetDesktopTest, The_face_goes_with_its_form) {
  auto form = std::make_unique<frmError>(desktop);
  form->Show();
  EXPECT_NE(desktop.FaceOf(*form), nullptr);
  const Form* gone = form.get();
  form.reset();
  EXPECT_EQ(desktop.FaceOf(*gone), nullptr);
}

TEST_F(WidgetDesktopTest, Top_most_is_set_and_taken_back) {
  error.Show();
  FormFace* face = desktop.FaceOf(error);
  desktop.SetTopMost(error, true);
  EXPECT_TRUE(face->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
  desktop.SetTopMost(error, false);
  EXPECT_FALSE(face->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
  EXPECT_TRUE(face->isVisible());
}

TEST_F(WidgetDesktopTest, A_window_belongs_to_whoever_shows_it_or_to_nobody) {
  frmError owner(desktop);
  owner.Show();
  error.Show(&owner);
  const FormFace* face = desktop.FaceOf(error);
  EXPECT_EQ(face->windowHandle()->transientParent(), desktop.FaceOf(owner)->windowHandle());
  error.Show();
  EXPECT_EQ(face->windowHandle()->transientParent(), desktop.FaceOf(owner)->windowHandle())
      << "one that stands there keeps its owner";
  error.Hide();
  error.Show();
  EXPECT_EQ(face->windowHandle()->transientParent(), nullptr);
}

/// Answers the message box that is about to open.
void Answer(QMessageBox::StandardButton button, QString* text, QString* title) {
  QTimer::singleShot(0, [=] {
    auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    ASSERT_NE(box, nullptr);
    *text = box->text();
    *title = box->windowTitle();
    QTest::mouseClick(box->button(button), Qt::LeftButton);
  });
}

TEST_F(WidgetDesktopTest, Message_boxes_show_their_text_as_it_stands_and_give_the_answer) {
  QString text;
  QString title;
  Answer(QMessageBox::Ok, &text, &title);
  EXPECT_EQ(desktop.Ask({QStringLiteral("<b>not markup</b>"), BoxIcon::kInformation, BoxButtons::kOk,
                         QStringLiteral("Veltrane")}),
            BoxAnswer::kOk);
  EXPECT_EQ(text, QStringLiteral("<b>not markup</b>"));
  EXPECT_EQ(title, QStringLiteral("Veltrane"));
  for (const bool yes : {true, false}) {
    Answer(yes ? QMessageBox::Yes : QMessageBox::No, &text, &title);
    EXPECT_EQ(desktop.Ask({QStringLiteral("Sure?"), BoxIcon::kQuestion, BoxButtons::kYesNo, QString()}),
              yes ? BoxAnswer::kYes : BoxAnswer::kNo);
  }
}

TEST_F(WidgetDesktopTest, DoEvents_serves_what_is_waiting) {
  bool served = false;
  QTimer::singleShot(0, [&] { served = true; });
  desktop.DoEvents();
  EXPECT_TRUE(served);
}

TEST_F(WidgetDesktopTest, Before_the_event_loop_runs_a_repaint_draws_what_stands_there) {
  error.SetGeneral(world.mGeneral);
  error.LogError(QStringLiteral("it failed"));
  const FormFace* face = desktop.FaceOf(error);
  ASSERT_NE(face, nullptr);
  EXPECT_TRUE(face->windowHandle()->isExposed());
}

TEST_F(WidgetDesktopTest, Showing_a_minimised_window_again_brings_it_back) {
  error.SetGeneral(world.mGeneral);
  error.LogError(QStringLiteral("first"));
  FormFace* face = desktop.FaceOf(error);
  face->showMinimized();
  QCoreApplication::processEvents();
  ASSERT_TRUE(face->isMinimized());
  error.LogError(QStringLiteral("second"));
  EXPECT_FALSE(face->isMinimized());
}

TEST_F(WidgetDesktopTest, A_window_that_was_minimised_and_closed_comes_up_normal) {
  error.SetGeneral(world.mGeneral);
  error.LogError(QStringLiteral("first"));
  FormFace* face = desktop.FaceOf(error);
  face->showMinimized();
  QCoreApplication::processEvents();
  ASSERT_EQ(error.State(), WindowState::kMinimized);
  face->close();
  ASSERT_FALSE(face->isVisible());
  error.LogError(QStringLiteral("second"));
  EXPECT_TRUE(face->isVisible());
  EXPECT_FALSE(face->isMinimized());
  EXPECT_EQ(error.State(), WindowState::kNormal);
}

TEST_F(WidgetDesktopTest, The_next_failure_leaves_the_place_where_the_user_reads) {
  error.SetGeneral(world.mGeneral);
  for (int i = 0; i < 100; ++i)
    error.LogError(QStringLiteral("failure %1").arg(i));
  auto* log = desktop.FaceOf(error)->findChild<QPlainTextEdit*>(QStringLiteral("txtErrorMessage"));
  ASSERT_TRUE(log->find(QStringLiteral("failure 50")));
  error.LogError(QStringLiteral("failure 100"));
  EXPECT_EQ(log->textCursor().selectedText(), QStringLiteral("failure 50"));
  EXPECT_EQ(log->toPlainText(), error.txtErrorMessage.Text());
  EXPECT_TRUE(log->toPlainText().startsWith(QStringLiteral("07:05:03.042\nfailure 100\n")));
}

}  // namespace
}  // namespace veltrane
