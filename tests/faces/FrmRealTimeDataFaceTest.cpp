// The options of the real-time pane as the user sees them: texts, and real clicks and keys.
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>

#include "tests/support/DialogFakes.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmRealTimeData.h"

namespace veltrane {
namespace {

/// Windows for real, but what is asked is answered from a queue.
class AnsweringDesktop : public WidgetDesktop {
 public:
  std::optional<Colour> AskForColour(Colour start) override {
    mStarts.append(start);
    return mAnswers.isEmpty() ? std::nullopt : mAnswers.takeFirst();
  }
  QList<Colour> mStarts;
  QList<std::optional<Colour>> mAnswers;
};

struct FrmRealTimeDataFaceTest : testing::Test {
  FrmRealTimeDataFaceTest() {
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
  void Click(const QString& name) {
    QTest::mouseClick(&Find<QAbstractButton>(name), Qt::LeftButton, {}, {8, 8});
  }
  void Press(const QString& name) { QTest::mouseClick(&Find<QAbstractButton>(name), Qt::LeftButton); }
  void ClickTab(int tab) {
    QTabBar* bar = Find<QTabWidget>(u"tabOptions"_qs).tabBar();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(tab).center());
  }
  QColor Swatch(int index) {
    const QImage picture = Find<QLabel>(u"lblColor_%1"_qs.arg(index)).grab().toImage();
    return picture.pixelColor(picture.width() / 2, picture.height() / 2);
  }
  QString Stored(const char* section, const char* key) {
    return world.Get(QLatin1String(section), QLatin1String(key));
  }

  AnsweringDesktop widgets;
  DialogWorld world{&widgets};
  frmRealTimeData form{world.mDialogGeneral, world.mShell};
  FormFace* face = nullptr;
};

TEST_F(FrmRealTimeDataFaceTest, Every_control_has_its_widget) {
  for (const Control* control : form.Controls()) {
    QStringList names{control->Name()};
    if (const auto* group = qobject_cast<const OptionGroup*>(control)) {
      names.clear();
      for (int i = 0; i < group->Count(); ++i)
        names.append(group->Name() + u'_' + QString::number(i));
    }
    if (qobject_cast<const SpinButton*>(control))
      names = {control->Name() + u"_up"_qs, control->Name() + u"_down"_qs};
    for (const QString& name : names)
      EXPECT_NE(face->findChild<QWidget*>(name), nullptr) << name.toStdString();
  }
}

TEST_F(FrmRealTimeDataFaceTest, Title_tabs_and_texts_read_as_they_should) {
  EXPECT_EQ(face->windowTitle(), u"Real Time Data");
  const auto& tabs = Find<QTabWidget>(u"tabOptions"_qs);
  ASSERT_EQ(tabs.count(), 3);
  EXPECT_EQ(tabs.tabText(0), u"Display");
  EXPECT_EQ(tabs.tabText(1), u"Colors");
  EXPECT_EQ(tabs.tabText(2), u"Format");
  const struct {
    const char* name;
    const char* text;
  } buttons[] = {
      {"chkShowRealTimeData", "Show the real time data window"},
      {"chkClientToVLT", "Client To VLT"},
      {"chkVLTToClient", "VLT To Client"},
      {"chkServerToVLT", "Server To VLT"},
      {"chkVLTToServer", "VLT To Server"},
      {"optDisplayAs_0", "AscII"},
      {"optDisplayAs_1", "Hex"},
      {"optDisplayAs_2", "Octal"},
      {"optDisplayAs_3", "Decimal"},
      {"optDisplayAs_4", "Binary"},
      {"chkIncludeDateTimeStamp", "Include Date/Time Stamp"},
      {"chkIncludeDataDirection", "Include data direction description"},
      {"chkIncludeDescription", "Include description"},
      {"chkColourCode", "Color code data direction"},
      {"chkIncludeBufferedData", "Display data placed in send buffer"},
      {"optRealTimeDisplay_0", "Show all real-time data"},
      {"optRealTimeDisplay_1", "Show real-time data for the selected branch of the Connection Tree"},
  };
  for (const auto& row : buttons)
    EXPECT_EQ(Find<QAbstractButton>(QLatin1String(row.name)).text(), QLatin1String(row.text));
  QStringList labels;
  for (int tab = 0; tab < 3; ++tab) {
    for (const QLabel* label : tabs.widget(tab)->findChildren<QLabel*>()) {
      if (!label->text().isEmpty()) labels.append(label->text());
    }
  }
  EXPECT_EQ(labels, (QStringList{u"Select the real time data to display:"_qs,
                                 u"&Clear real time data window when contents exceeds"_qs, u"Kbytes"_qs,
                                 u"Select the colours used to display the real-time data:"_qs,
                                 u"Client To VLT"_qs, u"VLT To Server"_qs, u"VLT to Client"_qs,
                                 u"Server To VLT"_qs, u"Show"_qs, u"bytes per row"_qs}));
  QStringList frames;
  for (int tab = 0; tab < 3; ++tab) {
    for (const QGroupBox* box : tabs.widget(tab)->findChildren<QGroupBox*>())
      frames.append(box->title());
  }
  EXPECT_EQ(frames, (QStringList{u"Data Selection"_qs, u"Color Encoding "_qs, u"Real time data format"_qs}));
}

TEST_F(FrmRealTimeDataFaceTest, Every_option_is_changed_by_hand_and_saved_by_OK) {
  for (const char* const name : {"chkClientToVLT", "chkVLTToClient", "chkServerToVLT", "chkVLTToServer",
                                 "chkIncludeBufferedData", "chkShowRealTimeData", "optRealTimeDisplay_1"})
    Click(QLatin1String(name));
  auto& size = Find<QLineEdit>(u"txtRealTimeDataSize"_qs);
  size.selectAll();
  QTest::keyClicks(&size, u"200"_qs);
  ClickTab(1);
  Click(u"chkColourCode"_qs);
  widgets.mAnswers = {0x010203U, 0x040506U, 0x070809U, 0x0a0b0cU};
  for (int i = 0; i < 4; ++i)
    Press(u"cmdColor_%1"_qs.arg(i));
  ClickTab(2);
  for (const char* const name :
       {"optDisplayAs_4", "chkIncludeDateTimeStamp", "chkIncludeDataDirection", "chkIncludeDescription"})
    Click(QLatin1String(name));
  Press(u"upBytesPerRow_up"_qs);
  EXPECT_EQ(Find<QLineEdit>(u"txtBytesPerRow"_qs).text(), u"20");
  Press(u"cmdOK"_qs);
  EXPECT_FALSE(face->isVisible());
  const struct {
    const char* section;
    const char* key;
    const char* value;
  } rows[] = {{"RealTime", "ShowRealTimeData", "0"},
              {"RealTime", "ClientToVLT", "0"},
              {"RealTime", "VLTToClient", "0"},
              {"RealTime", "ServerToVLT", "1"},
              {"RealTime", "VLTToServer", "1"},
              {"RealTime", "DisplayAs", "4"},
              {"RealTime", "IncludeDateTimeStamp", "0"},
              {"RealTime", "IncludeDataDirection", "0"},
              {"RealTime", "IncludeDescription", "0"},
              {"RealTime", "ColourCode", "0"},
              {"RealTime", "BytesPerRow", "20"},
              {"RealTime", "IncludeBufferedData", "1"},
              {"Options", "Color1", "66051"},
              {"Options", "Color2", "263430"},
              {"Options", "Color3", "460809"},
              {"Options", "Color4", "658188"},
              {"Options", "RealTimeDataSize", "200"},
              {"Options", "RealTimeDataSelection", "False"}};
  for (const auto& row : rows)
    EXPECT_EQ(Stored(row.section, row.key), QLatin1String(row.value)) << row.key;
}

TEST_F(FrmRealTimeDataFaceTest, Colours_are_shown_asked_for_and_kept_at_a_cancel) {
  ClickTab(1);
  EXPECT_EQ(Swatch(0), QColor(0, 0, 255));
  EXPECT_EQ(Swatch(1), QColor(0xa4, 0xa4, 255));
  EXPECT_EQ(Swatch(2), QColor(255, 0, 0));
  EXPECT_EQ(Swatch(3), QColor(255, 0x97, 0x97));
  widgets.mAnswers = {0x0000ff00U, std::nullopt};
  Press(u"cmdColor_2"_qs);
  EXPECT_EQ(Swatch(2), QColor(0, 255, 0));
  Press(u"cmdColor_2"_qs);
  EXPECT_EQ(Swatch(2), QColor(0, 255, 0));
  EXPECT_EQ(widgets.mStarts, (QList<Colour>{255, 0x00ff00}));
  Press(u"cmdCancel"_qs);
  EXPECT_FALSE(face->isVisible());
  EXPECT_EQ(form.lblColor[2].BackColor(), 255U);
}

TEST_F(FrmRealTimeDataFaceTest, What_black_means_is_told_where_it_can_be_chosen) {
  for (int i = 0; i < 4; ++i) {
    EXPECT_TRUE(
        Find<QPushButton>(u"cmdColor_%1"_qs.arg(i)).toolTip().startsWith(u"Black stands for no colour"))
        << i;
  }
}

TEST_F(FrmRealTimeDataFaceTest, The_pane_opens_and_closes_at_the_click) {
  Click(u"chkShowRealTimeData"_qs);
  EXPECT_EQ(world.mJournal.lines, QStringList{u"ResizeForm"_qs});
  EXPECT_FALSE(form.IsOn(RealTimeSwitch::kShowRealTimeData));
}

TEST_F(FrmRealTimeDataFaceTest, Bytes_per_row_are_corrected_as_they_are_typed) {
  ClickTab(2);
  auto& edit = Find<QLineEdit>(u"txtBytesPerRow"_qs);
  edit.selectAll();
  QTest::keyClicks(&edit, u"9"_qs);
  EXPECT_EQ(edit.text(), u"8");
  QTest::keyClicks(&edit, u"8"_qs);
  EXPECT_EQ(edit.text(), u"88");
  QTest::keyClicks(&edit, u"x"_qs);
  EXPECT_EQ(edit.text(), u"8");
  for (int i = 0; i < 40; ++i)
    Press(u"upBytesPerRow_up"_qs);
  EXPECT_EQ(edit.text(), u"128");
  for (int i = 0; i < 40; ++i)
    Press(u"upBytesPerRow_down"_qs);
  EXPECT_EQ(edit.text(), u"4");
}

TEST_F(FrmRealTimeDataFaceTest, Enter_confirms_except_on_another_button) {
  ASSERT_NE(face->focusWidget(), nullptr);
  EXPECT_EQ(face->focusWidget()->objectName(), u"chkShowRealTimeData") << "it opens with its first field";
  for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
    auto& size = Find<QLineEdit>(u"txtRealTimeDataSize"_qs);
    size.setFocus();
    size.selectAll();
    QTest::keyClicks(&size, QString::number(key % 1000));
    QTest::keyClick(&size, key, key == Qt::Key_Enter ? Qt::KeypadModifier : Qt::NoModifier);
    EXPECT_FALSE(face->isVisible());
    EXPECT_EQ(Stored("Options", "RealTimeDataSize"), QString::number(key % 1000));
    form.Show();
  }
  ClickTab(1);
  widgets.mAnswers = {0x0000ff00U};
  auto& colour = Find<QPushButton>(u"cmdColor_0"_qs);
  colour.setFocus();
  QTest::keyClick(&colour, Qt::Key_Return);
  EXPECT_EQ(Swatch(0), QColor(0, 255, 0));
  EXPECT_TRUE(face->isVisible());
  auto& cancel = Find<QPushButton>(u"cmdCancel"_qs);
  cancel.setFocus();
  QTest::keyClick(&cancel, Qt::Key_Return);
  EXPECT_FALSE(face->isVisible());
  EXPECT_EQ(form.lblColor[0].BackColor(), 0xff0000U);
}

TEST_F(FrmRealTimeDataFaceTest, Escape_cancels_and_the_frame_keeps) {
  ClickTab(2);
  Click(u"optDisplayAs_2"_qs);
  face->activateWindow();
  QTest::qWait(20);
  QTest::keyClick(face, Qt::Key_Escape);
  QTest::qWait(150);
  EXPECT_FALSE(face->isVisible());
  EXPECT_EQ(form.optDisplayAs.Selected(), 1);
  form.Show();
  Click(u"optDisplayAs_2"_qs);
  face->close();
  EXPECT_FALSE(face->isVisible());
  EXPECT_EQ(Stored("RealTime", "DisplayAs"), u"2");
}

TEST_F(FrmRealTimeDataFaceTest, All_texts_are_seen_whole) {
  for (int tab = 0; tab < 3; ++tab) {
    form.tabOptions.SetTab(tab);
    QCoreApplication::processEvents();
    for (const QWidget* widget : face->findChildren<QWidget*>()) {
      const bool hasText =
          qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget);
      if (!widget->isVisible() || !hasText || qobject_cast<const QToolButton*>(widget)) continue;
      EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << widget->objectName().toStdString();
      EXPECT_GE(widget->height(), widget->minimumSizeHint().height()) << widget->objectName().toStdString();
    }
  }
}

}  // namespace
}  // namespace veltrane
