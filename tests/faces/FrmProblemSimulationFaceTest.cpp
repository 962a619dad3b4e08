// The failure window as the user sees it: its texts, and real clicks and keys.
#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "failure/frmProblemSimulation.h"
#include "tests/support/FakeStatusPanes.h"
#include "tests/support/World.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"

namespace veltrane {
namespace {

/// A World whose windows are real.
struct WidgetWorld : World {
  WidgetDesktop mWidgets;
  General mWidgetGeneral{{mStore, mSockets, mTimers, mClock, mRandom, mWidgets, mErrors, QString()},
                         AllProtocols()};
};

struct FrmProblemSimulationFaceTest : testing::Test {
  FrmProblemSimulationFaceTest() {
    form.Show();
    face = world.mWidgets.FaceOf(form);
    Activate();
  }
  template <class Widget>
  Widget& Find(const QString& name) {
    auto* widget = face->findChild<Widget*>(name);
    if (!widget) throw std::runtime_error("no widget " + name.toStdString());
    return *widget;
  }
  QLineEdit& Field(const char* name) { return Find<QLineEdit>(QLatin1String(name)); }
  void Type(QLineEdit& field, const QString& text) {
    field.setFocus();
    field.selectAll();
    QTest::keyClick(&field, Qt::Key_Delete);
    QTest::keyClicks(&field, text);
  }
  /// Closes each message box that comes up and notes its text; at most so many, so that a ring of boxes ends.
  void AnswerBoxes(int atMost = 5) {
    auto* timer = new QTimer(face);
    QObject::connect(timer, &QTimer::timeout, face, [this, atMost] {
      auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
      if (!box) return;
      boxes.append(box->windowTitle() + QStringLiteral(": ") + box->text());
      if (boxes.size() > atMost)
        form.txtTerminateTime.OnLostFocus = form.txtTerminateTimeFrom.OnLostFocus = {};
      QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
    });
    timer->start(10);
  }
  static void Serve() { QTest::qWait(100); }
  void Activate() {
    face->activateWindow();
    QCoreApplication::processEvents();
  }
  /// The widget of the window that gets the keys. The window itself is not always the active one again behind
  /// a box: that is the window manager's part, which is missing here.
  bool HasFocus(const QWidget& widget) const { return face->focusWidget() == &widget; }
  void ClickTab(int tab) {
    QTabBar* bar = Find<QTabWidget>(QStringLiteral("tabOptions")).tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(tab).center());
  }

  /// A page of the tabs, shown.
  const QWidget& Page(int tab) {
    form.tabOptions.SetTab(tab);
    QCoreApplication::processEvents();
    return *Find<QTabWidget>(QStringLiteral("tabOptions")).widget(tab);
  }
  /// What gets the focus in turn, from the tabs on, until they have it again.
  QString TabOrder(int tab) {
    Page(tab);
    QWidget* const start = Find<QTabWidget>(QStringLiteral("tabOptions")).tabBar();
    start->setFocus();
    QStringList names;
    for (int i = 0; i < 40; ++i) {
      QTest::keyClick(face->focusWidget(), Qt::Key_Tab);
      if (HasFocus(*start)) break;
      names.append(face->focusWidget()->objectName());
    }
    return names.join(u' ');
  }

  WidgetWorld world;
  FakeStatusPanes panes;
  frmProblemSimulation form{world.mWidgetGeneral, panes};
  FormFace* face = nullptr;
  QStringList boxes;
};

QString TextOf(QWidget* widget) {
  if (auto* button = qobject_cast<QAbstractButton*>(widget)) return button->text();
  if (auto* label = qobject_cast<QLabel*>(widget)) return label->text();
  return u'[' + widget->objectName() + u']';
}

QRect PlaceOn(const QWidget& page, const QWidget& widget) {
  return {widget.mapTo(&page, QPoint()), widget.size()};
}

/// The texts and fields of each row of options as they stand beside each other, joined by "|", from the top.
QStringList RowsOf(const QWidget& page) {
  QMap<int, QStringList> rows;
  for (const QRadioButton* option : page.findChildren<QRadioButton*>()) {
    const int middle = PlaceOn(page, *option).center().y();
    QMap<int, QString> parts;
    for (QWidget* widget : page.findChildren<QWidget*>()) {
      const bool isPart = qobject_cast<QLabel*>(widget) || qobject_cast<QLineEdit*>(widget) ||
                          qobject_cast<QRadioButton*>(widget);
      const QRect place = PlaceOn(page, *widget);
      if (isPart && place.top() <= middle && middle <= place.bottom())
        parts.insert(place.left(), TextOf(widget));
    }
    rows.insert(middle, parts.values());
  }
  QStringList joined;
  for (const QStringList& row : rows)
    joined.append(row.join(u'|'));
  return joined;
}

/// The lines of a text that begins behind a line's end.
QStringList Lines(const char* text) {
  return QString::fromLatin1(text).trimmed().split(u'\n');
}

TEST_F(FrmProblemSimulationFaceTest, Every_control_has_its_widget) {
  for (const Control* control : form.Controls()) {
    const auto* group = qobject_cast<const OptionGroup*>(control);
    for (int i = 0; group && i < group->Count(); ++i)
      EXPECT_NE(face->findChild<QRadioButton*>(group->Name() + u'_' + QString::number(i)), nullptr);
    const bool found = group || face->findChild<QWidget*>(control->objectName());
    EXPECT_TRUE(found) << control->objectName().toStdString();
  }
}

TEST_F(FrmProblemSimulationFaceTest, Title_tabs_boxes_and_buttons_read_as_they_should) {
  EXPECT_EQ(face->windowTitle(), QStringLiteral("Connection Failure Simulation Strategies"));
  const auto& tabs = Find<QTabWidget>(QStringLiteral("tabOptions"));
  ASSERT_EQ(tabs.count(), 3);
  EXPECT_EQ(tabs.tabText(0), QStringLiteral("Termination and Refusal"));
  EXPECT_EQ(tabs.tabText(1), QStringLiteral("Bandwidth Throttling"));
  EXPECT_EQ(tabs.tabText(2), QStringLiteral("Connection Dangling"));
  EXPECT_EQ(tabs.currentIndex(), 0);
  const struct {
    const char* name;
    const char* text;
  } texts[] = {{"cmdOK", "Close"},
               {"chkTerminateConnections", "Terminate connections"},
               {"chkRefuseConnections", "Refuse connections"},
               {"cmdTerminateAllConnections", "Terminate All Connections"},
               {"chkThrottleS2CData", "Throttle server to client data by:"},
               {"chkThrottleC2SData", "Throttle client to server data by:"},
               {"chkDangleConnections", "Dangle connections"},
               {"cmdDangleAll", "Start Dangle On All Open Connections"}};
  for (const auto& row : texts)
    EXPECT_EQ(Find<QAbstractButton>(QLatin1String(row.name)).text(), QLatin1String(row.text));
}

TEST_F(FrmProblemSimulationFaceTest,
       The_rows_read_from_their_caption_through_the_fields_to_the_label_behind) {
  EXPECT_EQ(RowsOf(Page(0)), Lines(R"(
Terminate every|[txtTerminateNthConnection]|th connection
Randomly terminate |[txtTerminateNPercOfConnections]|% of connections
Terminate the connection |[txtTerminateTime]|mSec after creation
Terminate the connection randomly between|[txtTerminateTimeFrom]|and |[txtTerminateTimeTo]|mSec after creation
Perform a graceful termination of socket connections
Attempt to force instant closure
Refuse every|[txtRefuseNthConnection]|th connection request
Randomly refuse|[txtRefuseNPercOfConnections]|% of connection requests
)"));
  EXPECT_EQ(RowsOf(Page(1)), Lines(R"(
Transmitting|[txtS2CBytes]|bytes every |[txtS2CPeriod]|mSecs
Transmitting between |[txtS2CBytesFrom]|&|[txtS2CBytesTo]|bytes|between every|[txtS2CPeriodFrom]|&|[txtS2CPeriodTo]|mSecs
Transmitting|[txtC2SBytes]|bytes every |[txtC2SPeriod]|mSecs
Transmitting between |[txtC2SBytesFrom]|&|[txtC2SBytesTo]|bytes|between every|[txtC2SPeriodFrom]|&|[txtC2SPeriodTo]|mSecs
)"));
  EXPECT_EQ(RowsOf(Page(2)), Lines(R"(
Dangle every|[txtDangleNthConnection]|th connection
Randomly dangle|[txtDangleNPercOfConnections]|% of connections
Dangle the connection |[txtDangleStartTime]|mSsec after creation
Dangle the connection randomly between|[txtDangleStartTimeFrom]|and |[txtDangleStartTimeTo]|mSsec after creation
Dangle the connection  for|[txtDangleStopTime]|mSsec
Dangle the connection between|[txtDangleStopTimeFrom]|and |[txtDangleStopTimeTo]|mSsec
Only apply dangle to data flowing from client to server
Only apply dangle to data flowing from server to client
Apply dangle to data flowing in both directions
Close the connection after dangling
Start transmitting the data after dangling
Discard data collected during dangle and leave open
)"));
}

TEST_F(FrmProblemSimulationFaceTest, The_first_fields_of_a_group_stand_below_each_other) {
  static const char* const kGroups[][3] = {
      {"0", "txtTerminateNthConnection", "txtTerminateNPercOfConnections"},
      {"0", "txtTerminateTime", "txtTerminateTimeFrom"},
      {"0", "txtRefuseNthConnection", "txtRefuseNPercOfConnections"},
      {"1", "txtS2CBytes", "txtS2CBytesFrom"},
      {"1", "txtC2SBytes", "txtC2SBytesFrom"},
      {"2", "txtDangleNthConnection", "txtDangleNPercOfConnections"},
      {"2", "txtDangleStartTime", "txtDangleStartTimeFrom"},
      {"2", "txtDangleStopTime", "txtDangleStopTimeFrom"},
  };
  for (const auto& [tab, first, second] : kGroups) {
    const QWidget& page = Page(*tab - '0');
    const QRect above = PlaceOn(page, Field(first));
    const QRect below = PlaceOn(page, Field(second));
    EXPECT_EQ(above.left(), below.left()) << second;
    EXPECT_LT(above.bottom(), below.top()) << second;
  }
}

// Of a group only the set option has the focus; the arrows go to the others.
TEST_F(FrmProblemSimulationFaceTest, The_focus_goes_from_the_top_to_the_bottom) {
  EXPECT_EQ(TabOrder(0),
            QStringLiteral(
                "chkTerminateConnections optClose_0 txtTerminateNthConnection txtTerminateNPercOfConnections "
                "optCloseTime_0 txtTerminateTime txtTerminateTimeFrom txtTerminateTimeTo "
                "optGracefulTermination_0 chkRefuseConnections optRefuse_0 txtRefuseNthConnection "
                "txtRefuseNPercOfConnections cmdTerminateAllConnections cmdOK"));
  EXPECT_EQ(TabOrder(1), QStringLiteral("chkThrottleS2CData optS2CThrottle_0 txtS2CBytes txtS2CPeriod "
                                        "txtS2CBytesFrom txtS2CBytesTo txtS2CPeriodFrom txtS2CPeriodTo "
                                        "chkThrottleC2SData optC2SThrottle_0 txtC2SBytes txtC2SPeriod "
                                        "txtC2SBytesFrom txtC2SBytesTo txtC2SPeriodFrom txtC2SPeriodTo "
                                        "cmdOK"));
  EXPECT_EQ(
      TabOrder(2),
      QStringLiteral("chkDangleConnections optDangle_0 txtDangleNthConnection "
                     "txtDangleNPercOfConnections optDangleStartTime_0 txtDangleStartTime "
                     "txtDangleStartTimeFrom txtDangleStartTimeTo optDangleStopTime_0 txtDangleStopTime "
                     "txtDangleStopTimeFrom txtDangleStopTimeTo optDangleDirections_2 optDangleClose_1 "
                     "cmdDangleAll cmdOK"));
}

TEST_F(FrmProblemSimulationFaceTest, It_shows_the_values_and_clicks_and_keys_change_them) {
  EXPECT_EQ(Field("txtTerminateTime").text(), QStringLiteral("20000"));
  EXPECT_TRUE(Find<QRadioButton>(QStringLiteral("optClose_0")).isChecked());
  QTest::mouseClick(&Find<QCheckBox>(QStringLiteral("chkTerminateConnections")), Qt::LeftButton, {}, {8, 8});
  EXPECT_TRUE(form.chkTerminateConnections.IsOn());
  EXPECT_EQ(panes.mTexts[4], QStringLiteral("Terminate: ON "));
  QTest::mouseClick(&Find<QRadioButton>(QStringLiteral("optCloseTime_1")), Qt::LeftButton, {}, {8, 8});
  EXPECT_EQ(form.optCloseTime.Selected(), 1);
  EXPECT_EQ(form.optClose.Selected(), 0) << "another group of the same page";
  Type(Field("txtTerminateTime"), QStringLiteral("300"));
  EXPECT_EQ(form.txtTerminateTime.Text(), QStringLiteral("300")) << "at once, without leaving the field";
}

TEST_F(FrmProblemSimulationFaceTest, Tabbing_out_of_a_wrong_field_says_so_and_goes_back) {
  AnswerBoxes();
  QLineEdit& field = Field("txtTerminateTimeFrom");
  Type(field, QString());
  QTest::keyClick(&field, Qt::Key_Tab);
  Serve();
  EXPECT_EQ(boxes, QStringList{QStringLiteral("Veltrane: This value must be numeric.")});
  EXPECT_TRUE(HasFocus(field));
  EXPECT_EQ(field.text(), QString());
  // A second try has the same result, and a right value lets the user go.
  Activate();
  QTest::keyClick(&field, Qt::Key_Tab);
  Serve();
  EXPECT_EQ(boxes.size(), 2);
  Activate();
  Type(field, QStringLiteral("60000"));
  QTest::keyClick(&field, Qt::Key_Tab);
  Serve();
  EXPECT_EQ(boxes.size(), 2);
  EXPECT_FALSE(HasFocus(field));
}

TEST_F(FrmProblemSimulationFaceTest, Two_wrong_fields_do_not_send_each_other_the_focus_for_ever) {
  QLineEdit& first = Field("txtTerminateTime");
  QLineEdit& second = Field("txtTerminateTimeFrom");
  form.txtTerminateTimeFrom.SetText(QStringLiteral("x"));
  AnswerBoxes();
  Type(first, QStringLiteral("y"));
  QTest::mouseClick(&second, Qt::LeftButton);
  Serve();
  Serve();
  EXPECT_EQ(boxes.size(), 1);
  EXPECT_TRUE(HasFocus(first));
}

TEST_F(FrmProblemSimulationFaceTest, A_wrong_field_on_a_page_that_was_turned_away_comes_back) {
  AnswerBoxes();
  Type(Field("txtTerminateTime"), QStringLiteral("70000"));
  ClickTab(2);
  Serve();
  EXPECT_EQ(boxes, QStringList{QStringLiteral("Veltrane: This value lie between 1 and 60000.")});
  EXPECT_EQ(form.tabOptions.Tab(), 0);
  EXPECT_TRUE(HasFocus(Field("txtTerminateTime")));
}

TEST_F(FrmProblemSimulationFaceTest, Close_hides_and_the_frame_saves_and_hides) {
  world.mWidgetGeneral.gobjListening = std::make_shared<Listening>(world.mWidgetGeneral);
  QTest::mouseClick(&Find<QPushButton>(QStringLiteral("cmdOK")), Qt::LeftButton);
  EXPECT_FALSE(face->isVisible());
  EXPECT_TRUE(world.mStore.mRows.isEmpty());
  form.Show();
  EXPECT_TRUE(face->isVisible());
  Type(Field("txtTerminateTime"), QStringLiteral("70000"));
  AnswerBoxes();
  face->close();
  Serve();
  EXPECT_EQ(boxes, QStringList()) << "a window that goes asks nothing";
  EXPECT_FALSE(face->isVisible());
  EXPECT_TRUE(form.IsLoaded());
  EXPECT_EQ(world.Get(QStringLiteral("FailureSim"), QStringLiteral("txtTerminateTime")),
            QStringLiteral("70000"));
}

TEST_F(FrmProblemSimulationFaceTest, Escape_hides_and_Enter_does_nothing) {
  auto& field = Field("txtTerminateTime");
  field.setFocus();
  QTest::keyClick(&field, Qt::Key_Return);
  EXPECT_TRUE(face->isVisible());
  QTest::keyClick(&field, Qt::Key_Escape);
  EXPECT_FALSE(face->isVisible());
  EXPECT_TRUE(form.IsLoaded());
}

TEST_F(FrmProblemSimulationFaceTest, All_texts_are_seen_whole) {
  for (int tab = 0; tab < 3; ++tab) {
    form.tabOptions.SetTab(tab);
    QCoreApplication::processEvents();
    for (const QWidget* widget : face->findChildren<QWidget*>()) {
      const bool hasText =
          qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget);
      if (!widget->isVisible() || !hasText) continue;
      EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << widget->objectName().toStdString();
      EXPECT_GE(widget->height(), widget->minimumSizeHint().height()) << widget->objectName().toStdString();
    }
  }
}

}  // namespace
}  // namespace veltrane
