// The options as the user sees them: texts, and real clicks and keys.
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

#include "tests/support/DialogFakes.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmOptions.h"
#include "ui/frmSysTray.h"

namespace veltrane {
namespace {

struct FrmOptionsFaceTest : testing::Test {
  FrmOptionsFaceTest() {
    world.Listen();
    form.Show();
    face = widgets.FaceOf(form);
    world.mJournal.Take();
  }
  template <class Widget>
  Widget& Find(const QString& name) {
    auto* widget = face->findChild<Widget*>(name);
    if (!widget) throw std::runtime_error("no widget " + name.toStdString());
    return *widget;
  }
  void Click(const char* name) {
    QTest::mouseClick(&Find<QCheckBox>(QLatin1String(name)), Qt::LeftButton, {}, {8, 8});
  }
  void Press(const char* name) {
    QTest::mouseClick(&Find<QAbstractButton>(QLatin1String(name)), Qt::LeftButton);
  }
  QString Stored(const char* key) { return world.Get(QStringLiteral("Options"), QLatin1String(key)); }
  void ClickTab(int tab) {
    QTabBar* bar = Find<QTabWidget>(QStringLiteral("tabOptions")).tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(tab).center());
  }

  WidgetDesktop widgets;
  DialogWorld world{&widgets};
  QTemporaryDir folder;
  Form configure{widgets, QStringLiteral("frmConfigure")};
  Form error{widgets, QStringLiteral("frmError")};
  FakeNotificationArea area;
  frmSysTray tray{world.mDialogGeneral, world.mShell, area, {configure, error}};
  frmOptions form{world.mDialogGeneral, world.mShell, tray, folder.path()};
  FormFace* face = nullptr;
};

TEST_F(FrmOptionsFaceTest, Every_control_has_its_widget) {
  for (const Control* control : form.Controls()) {
    if (qobject_cast<const SpinButton*>(control)) {
      for (const char* const arrow : {"_up", "_down"})
        EXPECT_NE(face->findChild<QToolButton*>(control->Name() + QLatin1String(arrow)), nullptr);
      continue;
    }
    EXPECT_NE(face->findChild<QWidget*>(control->Name()), nullptr) << control->Name().toStdString();
  }
}

TEST_F(FrmOptionsFaceTest, Title_tabs_and_texts_read_as_they_should) {
  const auto& tabs = Find<QTabWidget>(QStringLiteral("tabOptions"));
  ASSERT_EQ(tabs.count(), 3);
  EXPECT_EQ(tabs.tabText(0), QStringLiteral("General "));
  EXPECT_EQ(tabs.tabText(1), QStringLiteral("User Interface"));
  EXPECT_EQ(tabs.tabText(2), QStringLiteral("Data Purging"));
  const struct {
    const char* name;
    const char* text;
  } boxes[] = {
      {"chkShowToolBar", "S&how toolbar"},
      {"chkRunAtStartup", "Run &Veltrane at startup"},
      {"chkAnimateConnectionDiagram", "A&nimate connection diagram"},
      {"chkShowStatusBar", "Show St&atus Bar"},
      {"chkDisplayInSysTray", "Run &from the system tray"},
      {"chkRunMinimized", "Run minimi&zed"},
      {"chkRemoveEphemeralPortReferences", "&Automatically remove references to empty ephemeral connections"},
      {"chkDiscard", "&Discard dead socket connections and events"},
  };
  for (const auto& row : boxes)
    EXPECT_EQ(Find<QCheckBox>(QLatin1String(row.name)).text(), QLatin1String(row.text));
  QStringList labels;
  for (const QLabel* label : tabs.widget(2)->findChildren<QLabel*>())
    labels.append(label->text());
  EXPECT_EQ(labels, (QStringList{QStringLiteral("&Retain a maximum of"),
                                 QStringLiteral("dead socket connections before discarding oldest."),
                                 QStringLiteral("or discard dead socket &connections when more than "),
                                 QStringLiteral("Kbytes"), QStringLiteral("of memory has been consumed."),
                                 QStringLiteral("&Keep a maximum of "),
                                 QStringLiteral("events per socket connection.")}));
}

TEST_F(FrmOptionsFaceTest, The_five_boxes_act_at_the_click) {
  ClickTab(0);
  Click("chkRunAtStartup");
  EXPECT_TRUE(QFile::exists(folder.filePath(QStringLiteral("Veltrane.desktop"))));
  Click("chkDisplayInSysTray");
  EXPECT_FALSE(area.mHasIcon);
  ClickTab(1);
  Click("chkShowToolBar");
  Click("chkShowStatusBar");
  Click("chkAnimateConnectionDiagram");
  EXPECT_EQ(world.mJournal.lines, (QStringList{QStringLiteral("toolbar off"), QStringLiteral("ResizeForm"),
                                               QStringLiteral("status bar off"), QStringLiteral("ResizeForm"),
                                               QStringLiteral("animations off")}));
  Press("cmdCancel");
  EXPECT_FALSE(face->isVisible());
  EXPECT_TRUE(area.mHasIcon);
  EXPECT_FALSE(QFile::exists(folder.filePath(QStringLiteral("Veltrane.desktop"))));
  EXPECT_TRUE(Find<QCheckBox>(QStringLiteral("chkShowToolBar")).isChecked());
}

TEST_F(FrmOptionsFaceTest, Escape_gives_up_what_was_changed_and_Enter_keeps_it) {
  auto& bar = Find<QCheckBox>(QStringLiteral("chkShowToolBar"));
  for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return}) {
    ClickTab(1);
    Click("chkShowToolBar");
    EXPECT_FALSE(bar.isChecked());
    QTest::keyClick(&bar, key);
    EXPECT_FALSE(face->isVisible());
    EXPECT_EQ(bar.isChecked(), key == Qt::Key_Escape);
    form.Show();
  }
  EXPECT_EQ(Stored("ShowToolBar"), QStringLiteral("0"));
}

TEST_F(FrmOptionsFaceTest, Enter_on_Cancel_saves_nothing) {
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
    form.Show();
    face->activateWindow();
    form.txtNumberToKeep.SetText(QStringLiteral("3"));
    auto& cancel = Find<QPushButton>(QStringLiteral("cmdCancel"));
    cancel.setFocus();
    QTest::qWait(20);
    QTest::keyClick(&cancel, key);
    QTest::qWait(150);
    EXPECT_FALSE(face->isVisible());
    EXPECT_EQ(form.txtNumberToKeep.Text(), QStringLiteral("100"));
    EXPECT_EQ(Stored("NumberToKeep"), QStringLiteral("(none)"));
  }
}

TEST_F(FrmOptionsFaceTest, All_eleven_are_changed_by_hand_and_saved_by_OK) {
  for (const char* const box : {"chkRunAtStartup", "chkDisplayInSysTray", "chkRunMinimized"})
    Click(box);
  ClickTab(1);
  for (const char* const box : {"chkShowToolBar", "chkShowStatusBar", "chkAnimateConnectionDiagram"})
    Click(box);
  ClickTab(2);
  for (const char* const box : {"chkDiscard", "chkRemoveEphemeralPortReferences"})
    Click(box);
  auto& number = Find<QLineEdit>(QStringLiteral("txtNumberToKeep"));
  number.selectAll();
  QTest::keyClicks(&number, QStringLiteral("12"));
  Press("updNumberToKeep_up");
  Press("updMaxMemorySize_down");
  Press("upMaximumEventCount_up");
  Press("cmdOK");
  EXPECT_FALSE(face->isVisible());
  const struct {
    const char* key;
    const char* value;
  } rows[] = {{"ShowToolBar", "0"},    {"SystemTray", "0"},
              {"RunMinimized", "1"},   {"StatusBar", "0"},
              {"RunAtStarup", "1"},    {"AnimateConnectionDiagram", "0"},
              {"Discard", "0"},        {"RemoveEmptyEphemeralReferences", "0"},
              {"NumberToKeep", "13"},  {"MaxMemorySize", "300"},
              {"MaxEventCount", "210"}};
  for (const auto& row : rows)
    EXPECT_EQ(Stored(row.key), QLatin1String(row.value)) << row.key;
}

TEST_F(FrmOptionsFaceTest, Escape_cancels_and_Return_confirms) {
  form.txtNumberToKeep.SetText(QStringLiteral("3"));
  QTest::keyClick(face, Qt::Key_Escape);
  EXPECT_FALSE(face->isVisible());
  EXPECT_EQ(form.txtNumberToKeep.Text(), QStringLiteral("100"));
  form.Show();
  form.txtNumberToKeep.SetText(QStringLiteral("3"));
  QTest::keyClick(face, Qt::Key_Return);
  EXPECT_FALSE(face->isVisible());
  EXPECT_EQ(Stored("NumberToKeep"), QStringLiteral("3"));
}

TEST_F(FrmOptionsFaceTest, Closing_the_frame_cancels) {
  ClickTab(1);
  Click("chkShowToolBar");
  face->close();
  EXPECT_FALSE(face->isVisible());
  EXPECT_TRUE(form.chkShowToolBar.IsOn());
  EXPECT_EQ(Stored("ShowToolBar"), QStringLiteral("(none)"));
}

TEST_F(FrmOptionsFaceTest, All_texts_are_seen_whole) {
  for (int tab = 0; tab < 3; ++tab) {
    form.tabOptions.SetTab(tab);
    QCoreApplication::processEvents();
    for (const QWidget* widget : face->findChildren<QWidget*>()) {
      const bool hasText = qobject_cast<const QLabel*>(widget) || qobject_cast<const QCheckBox*>(widget) ||
                           qobject_cast<const QPushButton*>(widget);
      if (!widget->isVisible() || !hasText) continue;
      EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << widget->objectName().toStdString();
      EXPECT_GE(widget->height(), widget->minimumSizeHint().height()) << widget->objectName().toStdString();
    }
  }
}

}  // namespace
}  // namespace veltrane
