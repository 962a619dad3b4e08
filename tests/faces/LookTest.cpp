// Walks all dialogs, page by page: names for those who hear, order and keys for those without a mouse, and
// room for the texts in a small and in a large font.
#include <QAbstractItemView>
#include <QApplication>
#include <QHeaderView>
#include <QPushButton>
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
#include "tests/support/DialogFakes.h"
#include "tests/support/FakeStatusPanes.h"
#include "ui/EventDiagram.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmAbout.h"
#include "ui/frmConfigure.h"
#include "ui/frmError.h"
#include "ui/frmEventDetails.h"
#include "ui/frmOptions.h"
#include "ui/frmPort.h"
#include "ui/frmRealTimeData.h"
#include "ui/frmSysTray.h"

namespace veltrane {
namespace {

using testing::ElementsAre;

class NoDiagram : public EventDiagram {
 public:
  bool CheckForPageChange(qint16) override { return false; }
  void DisplayConnectionDiagram(const SocketPairHistoryRef&) override {}
  bool IsDrawn(const std::shared_ptr<DiagramFigure>&) const override { return true; }
  bool HighlightEvent(const std::shared_ptr<DiagramFigure>&) override { return true; }
  void UnhighlightEvent() override {}
};

/// Every window but the main one, each as a user may meet it first.
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
    return {&about, &configure, &port, &error, &details, &options, &failures, &passThru,
            &http,  &https,     &pop3, &ftp,   &data,    &logFile, &save};
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

/// Shows each window and each of its pages, in a font of that size, and puts together what a look finds.
QStringList Walk(int points, const std::function<QStringList(const FormFace&)>& look) {
  const QFont before = QApplication::font();
  QFont font = before;
  font.setPointSize(points);
  QApplication::setFont(font);
  QStringList wrong;
  {
    Windows windows;
    for (Form* form : windows.All()) {
      form->Show();
      const FormFace* face = windows.desktop.FaceOf(*form);
      auto* tabs = face->findChild<QTabWidget*>();
      for (int page = 0; page < (tabs ? tabs->count() : 1); ++page) {
        if (tabs) tabs->setCurrentIndex(page);
        QCoreApplication::processEvents();
        wrong += look(*face);
      }
    }
  }
  QApplication::setFont(before);
  wrong.removeDuplicates();
  return wrong;
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

TEST(LookTest, Every_field_and_button_is_reached_by_the_tab_key) {
  const QStringList out = Walk(kUsual, [](const FormFace& face) {
    QStringList wrong;
    for (QWidget* widget : face.findChildren<QWidget*>()) {
      // The head of a list is no part of its way by keys.
      if (qobject_cast<QHeaderView*>(widget)) continue;
      const bool wanted = qobject_cast<QLineEdit*>(widget) || qobject_cast<QPushButton*>(widget) ||
                          qobject_cast<QComboBox*>(widget) || qobject_cast<QAbstractItemView*>(widget);
      if (wanted && widget->isVisibleTo(&face) && !(widget->focusPolicy() & Qt::TabFocus) &&
          !widget->focusProxy())
        wrong.append(look::Name(*widget));
    }
    return wrong;
  });
  EXPECT_THAT(out, ElementsAre());
}

}  // namespace
}  // namespace veltrane
