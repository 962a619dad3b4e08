// Walks all windows, page by page: names for those who hear, order and keys for those without a mouse, room
// for the texts in a small and in a large font, and colours in which they can be read.
#include <QApplication>
#include <QPalette>
#include <QRegularExpression>
#include <QScreen>
#include <QTabWidget>
#include <QTest>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "failure/frmProblemSimulation.h"
#include "history/Logging.h"
#include "history/frmRealTimeLogging.h"
#include "protocols/frmProtocolFTPPP.h"
#include "protocols/frmProtocolHTTPPP.h"
#include "protocols/frmProtocolHTTPSPP.h"
#include "protocols/frmProtocolPOP3PP.h"
#include "protocols/frmProtocolPassThruPP.h"
#include "reports/frmSaveHistory.h"
#include "tests/faces/Look.h"
#include "tests/faces/MainWindowWorld.h"
#include "tests/support/DialogFakes.h"
#include "tests/support/FakeStatusPanes.h"
#include "ui/EventDiagram.h"
#include "ui/faces/BarFaces.h"
#include "ui/faces/Faces.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmAbout.h"
#include "ui/frmConfigure.h"
#include "ui/frmError.h"
#include "ui/frmEventDetails.h"
#include "ui/frmOptions.h"
#include "ui/frmPort.h"
#include "ui/frmRealTimeData.h"
#include "ui/frmSplash.h"
#include "ui/frmSysTray.h"

namespace veltrane {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

class NoDiagram : public EventDiagram {
 public:
  bool CheckForPageChange(qint16) override { return false; }
  void DisplayConnectionDiagram(const SocketPairHistoryRef&) override {}
  bool IsDrawn(const std::shared_ptr<DiagramFigure>&) const override { return true; }
  bool HighlightEvent(const std::shared_ptr<DiagramFigure>&) override { return true; }
  void UnhighlightEvent() override {}
};

/// Every window but the main one, which has a world of its own, each as a user may meet it first.
struct Windows {
  Windows() {
    world.AddPort(8080, QStringLiteral("HTTP"), QStringLiteral("HTTP Proxy - Web"));
    world.Listen();
    for (const auto& create : ListedProtocols()) {
      const ProtocolHandlerRef handler = create(general);
      general.gcolProtocols.Add(handler, handler->GetProtocolName());
    }
    SetPage(passThru, QStringLiteral("Pass Through"));
    SetPage(http, QStringLiteral("HTTP"));
    SetPage(https, QStringLiteral("HTTPS"));
    SetPage(pop3, QStringLiteral("POP3"));
    SetPage(ftp, QStringLiteral("FTP"));
    const auto event = std::make_shared<SocketEvent>();
    event->mstrDescription = QStringLiteral("12 bytes of data has been received from the remote client.");
    event->mstrData = Payload(QByteArray("some payload"));
    history->AddEvent(event);
    details.SetDetails(history, 1);
    logging.mobjSocketPairHistory.Add(history, QStringLiteral("KEY1"));
    world.mMain.tvwSockets.SetSelectedItem(&world.mMain.tvwSockets.Add(
        {}, QStringLiteral("KEY1"), QStringLiteral("One"), QStringLiteral("Socket")));
  }
  void SetPage(PropertyPage& page, const QString& protocol) {
    page.mlngPort = 8080;
    page.mobjParent = general.gcolProtocols.Item(protocol).get();
  }
  std::vector<Form*> All() {
    return {&splash,   &about, &configure, &port, &error, &details, &options, &failures,
            &passThru, &http,  &https,     &pop3, &ftp,   &data,    &logFile, &save};
  }

  WidgetDesktop desktop;
  DialogWorld world{&desktop};
  General& general = world.mDialogGeneral;
  QTemporaryDir folder;
  FakeStatusPanes panes;
  FakeNotificationArea area;
  NoDiagram diagram;
  SocketPairHistoryRef history = std::make_shared<SocketPairHistory>();
  Logging logging{general};
  frmSplash splash{desktop, {1, 0, 1}};
  frmAbout about{general, {1, 0, 1}};
  frmPort port{general};
  frmConfigure configure{general, world.mShell, port};
  frmError error{desktop};
  frmEventDetails details{general, diagram};
  frmSysTray tray{general, world.mShell, area, {configure, error}};
  frmOptions options{general, world.mShell, tray, folder.path()};
  frmProblemSimulation failures{general, panes};
  frmProtocolPassThruPP passThru{general};
  frmProtocolHTTPPP http{general};
  frmProtocolHTTPSPP https{general};
  frmProtocolPOP3PP pop3{general};
  frmProtocolFTPPP ftp{general};
  frmRealTimeData data{general, world.mShell};
  frmRealTimeLogging logFile{general, panes};
  frmSaveHistory save{general, logging, world.mMain};
};

using Look = std::function<QStringList(const FormFace&)>;

QStringList LookAtPages(const FormFace& face, const Look& look) {
  QStringList wrong;
  auto* tabs = face.findChild<QTabWidget*>();
  for (int page = 0; page < (tabs ? tabs->count() : 1); ++page) {
    if (tabs) tabs->setCurrentIndex(page);
    QCoreApplication::processEvents();
    wrong += look(face);
  }
  return wrong;
}

/// The size of the program's font, for as long as this lives.
class FontOf {
 public:
  explicit FontOf(int points) {
    QFont font = mBefore;
    font.setPointSize(points);
    QApplication::setFont(font);
  }
  ~FontOf() { QApplication::setFont(mBefore); }
  Q_DISABLE_COPY_MOVE(FontOf)

 private:
  QFont mBefore = QApplication::font();
};

/// Shows each window and each of its pages, in a font of that size, and puts together what a look finds.
QStringList Walk(int points, const Look& look) {
  const FontOf font(points);
  QStringList wrong;
  {
    Windows windows;
    for (Form* form : windows.All()) {
      form->Show();
      wrong += LookAtPages(*windows.desktop.FaceOf(*form), look);
    }
  }
  {
    const MainWindowWorld main;
    wrong += LookAtPages(*main.face, look);
  }
  wrong.removeDuplicates();
  return wrong;
}

/// As dark desktops have it.
QPalette Dark() {
  const QColor paper(42, 46, 50);
  const QColor ink(239, 240, 241);
  QPalette palette(QColor(49, 54, 59), paper);
  for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    palette.setColor(role, ink);
  palette.setColor(QPalette::Base, QColor(35, 38, 41));
  palette.setColor(QPalette::Link, QColor(61, 174, 233));
  return palette;
}

constexpr int kUsual = 9;

TEST(LookTest, All_that_gets_the_keyboard_has_a_name) {
  EXPECT_THAT(Walk(kUsual, look::WithoutName), ElementsAre());
}

TEST(LookTest, The_tab_key_goes_as_one_reads) {
  EXPECT_THAT(Walk(kUsual, look::StepsBack), ElementsAre());
}

TEST(LookTest, Each_key_means_one_thing) {
  EXPECT_THAT(Walk(kUsual, look::KeysOfTwo), ElementsAre());
}

TEST(LookTest, Each_text_has_its_room_in_a_font_of_9_points) {
  EXPECT_THAT(Walk(kUsual, look::WithoutRoom), ElementsAre());
}

TEST(LookTest, Each_text_has_its_room_in_a_font_of_14_points) {
  EXPECT_THAT(Walk(14, look::WithoutRoom), ElementsAre());
}

TEST(LookTest, The_longest_name_of_a_port_and_its_protocol_has_its_room) {
  for (const int points : {kUsual, 14}) {
    const FontOf font(points);
    Windows windows;
    windows.world.AddPort(65535, QStringLiteral("Pass Through"), QStringLiteral("Applications"));
    windows.configure.Show();
    ListView& ports = windows.configure.lvwPort;
    ports.ClickItem(ports.Item(ports.Count()));
    ASSERT_EQ(ports.SelectedItem()->Text(), QStringLiteral("65535"));
    EXPECT_THAT(LookAtPages(*windows.desktop.FaceOf(windows.configure), look::WithoutRoom), ElementsAre())
        << points;
  }
}

// On a larger font or in a smaller window its tool tips have what is cut.
TEST(LookTest, The_status_bar_says_all_in_the_opening_window_in_a_font_of_9_points) {
  const FontOf font(kUsual);
  MainWindowWorld main;
  main.face->resize(1024, 700);
  int number = 0;
  for (const char* text : {"Memory: 1048576 KBytes", "Sockets: 100000", "Events: 1000000", "Terminate: Off ",
                           "Refuse: Off ", "Throttle: Off ", "Dangle: Off ", "Logging: Off "})
    main.window.barStatus.SetPanelText(++number, QLatin1String(text));
  QCoreApplication::processEvents();
  QStringList cut;
  for (const PanelLabel* panel : main.face->findChildren<PanelLabel*>(QRegularExpression("^barStatus_")))
    if (panel->WholeWidth() > panel->width())
      cut.append(QStringLiteral("%1 has %2 of %3: %4")
                     .arg(panel->objectName())
                     .arg(panel->width())
                     .arg(panel->WholeWidth())
                     .arg(panel->text()));
  EXPECT_THAT(cut, ElementsAre());
}

TEST(LookTest, Escape_closes_what_has_a_button_for_it_from_wherever_the_focus_is) {
  const QStringList open = Walk(kUsual, [](const FormFace& face) -> QStringList {
    if (!face.GetForm().CancelButton()) return {};
    QStringList wrong;
    for (QWidget* widget : look::InKeyOrder(face)) {
      face.GetForm().Show();
      widget->setFocus();
      QTest::keyClick(widget, Qt::Key_Escape);
      if (face.isVisible()) wrong.append(look::Name(*widget));
    }
    face.GetForm().Show();
    return wrong;
  });
  EXPECT_THAT(open, ElementsAre());
}

TEST(LookTest, Every_field_button_box_and_list_is_reached_by_the_tab_key) {
  EXPECT_THAT(Walk(kUsual, look::NotMet), ElementsAre());
}

TEST(LookTest, A_title_in_a_font_that_is_too_high_for_it_is_written_smaller) {
  PanelLabel title(nullptr);
  QFont large = title.font();
  large.setPointSize(16);
  title.setFont(large);
  title.setText(QStringLiteral("Monitoring"));
  title.resize(200, 20);
  const QFont fitting = title.FittingFont();
  EXPECT_GT(title.fontMetrics().height(), title.contentsRect().height());
  EXPECT_LE(QFontMetrics(fitting).height(), title.contentsRect().height());
  const QImage shown = title.grab().toImage();
  title.setFont(fitting);
  EXPECT_EQ(title.grab().toImage(), shown);
}

TEST(LookTest, Each_text_can_be_read) {
  EXPECT_THAT(Walk(kUsual, look::Pale), ElementsAre());
}

TEST(LookTest, Each_text_can_be_read_in_the_dark) {
  const QPalette before = QApplication::palette();
  QApplication::setPalette(Dark());
  const QStringList pale = Walk(kUsual, look::Pale);
  QApplication::setPalette(before);
  EXPECT_THAT(pale, ElementsAre());
}

TEST(LookTest, Every_window_is_walked) {
  Windows windows;
  QStringList walked{QStringLiteral("frmMain")};
  for (const Form* form : windows.All())
    walked.append(form->Name());
  EXPECT_THAT(walked, UnorderedElementsAreArray(NamesOfFaces()));
}

// ctest runs all this once more for finer screens.
TEST(LookTest, The_screen_is_as_fine_as_asked_for) {
  const double asked = qEnvironmentVariable("QT_SCALE_FACTOR", QStringLiteral("1")).toDouble();
  const MainWindowWorld main;
  EXPECT_EQ(main.face->devicePixelRatioF(), asked);
  EXPECT_EQ(main.face->screen()->geometry().size(), QSize(800, 800));
}

}  // namespace
}  // namespace veltrane
