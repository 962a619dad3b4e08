// The event window as the user sees it: real clicks and keys, and its size.
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

#include "tests/support/FaceFrame.h"
#include "tests/support/World.h"
#include "ui/EventDiagram.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/RichTextView.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmEventDetails.h"

namespace veltrane {
namespace {

class NoDiagram : public EventDiagram {
 public:
  bool CheckForPageChange(qint16) override { return false; }
  void DisplayConnectionDiagram(const SocketPairHistoryRef&) override {}
  bool IsDrawn(const std::shared_ptr<DiagramFigure>&) const override { return true; }
  bool HighlightEvent(const std::shared_ptr<DiagramFigure>&) override { return true; }
  void UnhighlightEvent() override {}
};

struct FrmEventDetailsFaceTest : testing::Test {
  FrmEventDetailsFaceTest() {
    history->mstrRemoteClientIP = u"10.0.0.1"_qs;
    for (int i = 1; i <= 3; ++i) {
      const auto event = std::make_shared<SocketEvent>();
      event->mstrEventTime = u"10:00:00.00%1"_qs.arg(i);
      event->mstrDescription = u"event & %1"_qs.arg(i);
      event->mstrData = Payload(QByteArray(i * 1000, static_cast<char>('a' + i)));
      history->AddEvent(event);
    }
    form.SetDetails(history, 2);
    form.Show();
    face = desktop.FaceOf(form);
    form.FaceActivated();
    Frame();
  }
  void Frame() {
    WaitForFrame();
    WaitUntilSettled(Data());
  }
  template <class Widget>
  Widget& Find(const QString& name) {
    auto* widget = face->findChild<Widget*>(name);
    if (!widget) throw std::runtime_error("no widget " + name.toStdString());
    return *widget;
  }
  void Press(const QString& name) {
    QTest::mouseClick(&Find<QAbstractButton>(name), Qt::LeftButton);
    Frame();
  }
  void ClickTab(int tab) {
    QTabBar* bar = Find<QTabWidget>(u"tabTab"_qs).tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(tab).center());
    Frame();
  }
  RichTextView& Data() { return Find<RichTextView>(u"txtData"_qs); }

  /// Whatever the pause behind an expensive frame is.
  bool ComesToLines(qsizetype count) {
    return QTest::qWaitFor([&] { return Data().LineCount() == count; }, 1000);
  }

  World world;
  WidgetDesktop desktop;
  General general{{world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, desktop,
                   world.mErrors, QString()},
                  AllProtocols()};
  NoDiagram diagram;
  SocketPairHistoryRef history = std::make_shared<SocketPairHistory>();
  frmEventDetails form{general, diagram};
  FormFace* face = nullptr;
};

TEST_F(FrmEventDetailsFaceTest, Every_control_has_its_widget_and_the_texts_are_right) {
  for (const Control* control : form.Controls()) {
    if (qobject_cast<const SpinButton*>(control)) continue;
    EXPECT_NE(face->findChild<QWidget*>(control->Name()), nullptr) << control->Name().toStdString();
  }
  const auto& tabs = Find<QTabWidget>(u"tabTab"_qs);
  EXPECT_EQ(tabs.tabText(0), u"&General");
  EXPECT_EQ(tabs.tabText(1), u"&Data");
  EXPECT_EQ(Find<QLabel>(u"lblFormat"_qs).text(), u"&Format:");
  EXPECT_EQ(Find<QLabel>(u"lblBytesPerRow"_qs).text(), u"&Bytes Per Row:");
  const auto& formats = Find<QComboBox>(u"cboFormat"_qs);
  QStringList entries;
  for (int i = 0; i < formats.count(); ++i)
    entries.append(formats.itemText(i));
  EXPECT_EQ(entries.join(u' '), u"AscII Hex Octal Decimal Binary");
  EXPECT_EQ(Data().font().family(), u"Courier New");
}

TEST_F(FrmEventDetailsFaceTest, The_arrows_walk_on_both_pages) {
  EXPECT_EQ(face->windowTitle(), u"Event Details - #2  event & 2");
  EXPECT_EQ(Find<QLabel>(u"lblDescription"_qs).text(), u"Description: event & 2");
  Press(u"cmdRight_0"_qs);
  EXPECT_EQ(face->windowTitle(), u"Event Details - #3  event & 3");
  EXPECT_FALSE(Find<QToolButton>(u"cmdRight_0"_qs).isEnabled());
  Press(u"cmdRight_0"_qs);
  EXPECT_EQ(face->windowTitle(), u"Event Details - #3  event & 3");
  ClickTab(1);
  Press(u"cmdLeft_1"_qs);
  Press(u"cmdLeft_1"_qs);
  EXPECT_EQ(face->windowTitle(), u"Event Details - #1  event & 1");
  EXPECT_FALSE(Find<QToolButton>(u"cmdLeft_1"_qs).isEnabled());
  EXPECT_TRUE(Find<QToolButton>(u"cmdRight_1"_qs).isEnabled());
}

TEST_F(FrmEventDetailsFaceTest, Format_and_bytes_per_row_act_at_once) {
  ClickTab(1);
  EXPECT_EQ(Data().LineCount(), 1);
  auto& format = Find<QComboBox>(u"cboFormat"_qs);
  format.setFocus();
  QTest::keyClick(&format, Qt::Key_Down);
  Frame();
  EXPECT_EQ(form.cboFormat.Text(), u"Hex");
  EXPECT_TRUE(ComesToLines(2000 / 8 + 1));
  EXPECT_EQ(Data().FirstLine(), 0) << "from its beginning";
  auto& perRow = Find<QLineEdit>(u"txtBytesPerRow"_qs);
  perRow.selectAll();
  QTest::keyClicks(&perRow, u"5"_qs);
  Frame();
  EXPECT_EQ(perRow.text(), u"4");
  EXPECT_TRUE(ComesToLines(2000 / 4 + 1));
  Press(u"updBytesPerRow_up"_qs);
  EXPECT_EQ(perRow.text(), u"8");
  EXPECT_TRUE(ComesToLines(2000 / 8 + 1));
}

TEST_F(FrmEventDetailsFaceTest, Blank_it_is_switched_off) {
  form.ClearDetails();
  Frame();
  EXPECT_EQ(face->windowTitle(), u"Event Details - No Event");
  for (const char* const name : {"lblEventTime", "lblRemoteServer", "cmdLeft_0", "cmdRight_1", "txtData",
                                 "cboFormat", "txtBytesPerRow"})
    EXPECT_FALSE(Find<QWidget>(QLatin1String(name)).isEnabled()) << name;
  form.SetDetails(history, 1);
  EXPECT_TRUE(Find<QWidget>(u"cboFormat"_qs).isEnabled());
  EXPECT_TRUE(Data().isEnabled());
}

TEST_F(FrmEventDetailsFaceTest, It_does_not_become_smaller_than_it_may_and_its_parts_follow_its_size) {
  face->resize(50, 50);
  Frame();
  EXPECT_GE(face->width() * 15, frmEventDetails::kLeastWidth);
  EXPECT_GE(face->height() * 15, frmEventDetails::kLeastHeight);
  form.SetGeometry({0, 0, 3000, 3000});
  Frame();
  EXPECT_GE(face->width() * 15, frmEventDetails::kLeastWidth);
  EXPECT_GE(face->height() * 15, frmEventDetails::kLeastHeight);
  EXPECT_EQ(form.Geometry().width, face->width() * 15);
  for (const QSize size : {QSize(420, 340), QSize(900, 700), QSize(520, 380)}) {
    face->resize(size);
    Frame();
    const auto& tab = Find<QTabWidget>(u"tabTab"_qs);
    EXPECT_EQ(tab.width() * 15, size.width() * 15 - 120);
    EXPECT_EQ(tab.height() * 15, size.height() * 15 - 390);
    for (int page = 0; page < 2; ++page) {
      ClickTab(page);
      const auto& left = Find<QToolButton>(u"cmdLeft_%1"_qs.arg(page));
      const auto& right = Find<QToolButton>(u"cmdRight_%1"_qs.arg(page));
      const QWidget& area = *left.parentWidget();
      EXPECT_LT(left.x(), 12);
      const int rightEdge = right.mapTo(&tab, QPoint(right.width(), 0)).x();
      EXPECT_EQ(tab.width() - rightEdge, 120 / 15);
      EXPECT_LT(area.height() - right.geometry().bottom(), 12);
    }
    EXPECT_EQ(Data().width(), Data().parentWidget()->width());
    EXPECT_EQ(Data().width(), tab.width() - 160 / 15);
    for (const char* const name : {"lblDescription", "lblRemoteServer", "lblRemoteClient"})
      EXPECT_EQ(Find<QLabel>(QLatin1String(name)).width(), tab.width() - 200 / 15) << name;
    EXPECT_GT(Data().height(), tab.height() - 130);
  }
}

TEST_F(FrmEventDetailsFaceTest, It_opens_again_where_and_as_large_as_it_was_closed) {
  face->move(120, 90);
  face->resize(500, 400);
  Frame();
  face->close();
  EXPECT_FALSE(form.IsLoaded());
  EXPECT_EQ(world.Get(u"EventDetails"_qs, u"Width"_qs), u"7500");
  frmEventDetails next(general, diagram);
  next.Show();
  Frame();
  const FormFace& again = *desktop.FaceOf(next);
  EXPECT_EQ(again.size(), QSize(500, 400));
  EXPECT_EQ(again.pos(), QPoint(120, 90));
}

TEST_F(FrmEventDetailsFaceTest, A_place_on_a_screen_that_is_gone_is_the_desktops_to_choose) {
  world.Save(u"EventDetails"_qs, u"Left"_qs, u"900000"_qs);
  world.Save(u"EventDetails"_qs, u"Top"_qs, u"900000"_qs);
  frmEventDetails next(general, diagram);
  next.Show();
  Frame();
  EXPECT_LT(desktop.FaceOf(next)->x(), 2000);
}

TEST_F(FrmEventDetailsFaceTest, What_is_read_stays_in_place_when_the_window_comes_back_to_the_front) {
  ClickTab(1);
  form.cboFormat.SetListIndex(1);
  Frame();
  QTest::keyClick(&Data(), Qt::Key_PageDown);
  const qsizetype line = Data().FirstLine();
  EXPECT_GT(line, 0);
  form.FaceActivated();
  Frame();
  EXPECT_EQ(Data().FirstLine(), line);
}

}  // namespace
}  // namespace veltrane
