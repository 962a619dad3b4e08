// The property pages as windows: their captions, and real clicks and keys.
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include <cstring>
#include <gtest/gtest.h>

#include "protocols/frmProtocolFTPPP.h"
#include "protocols/frmProtocolHTTPPP.h"
#include "protocols/frmProtocolHTTPSPP.h"
#include "protocols/frmProtocolPOP3PP.h"
#include "protocols/frmProtocolPassThruPP.h"
#include "tests/support/World.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"

namespace veltrane {
namespace {

struct PagesFaceTest : testing::Test {
  PagesFaceTest()
      : general({world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, desktop,
                 world.mErrors, QStringLiteral("/opt/veltrane")},
                AllProtocols()) {}

  /// A page that is shown, and its window.
  template <class Page>
  struct Shown {
    Shown(PagesFaceTest& test, const char* protocol) : page(test.general) {
      for (const auto& create : ListedProtocols()) {
        const ProtocolHandlerRef one = create(test.general);
        if (one->GetProtocolName() == QLatin1String(protocol)) handler = one;
      }
      page.mlngPort = 2000;
      page.mobjParent = handler.get();
      page.Show();
      face = test.desktop.FaceOf(page);
      QCoreApplication::processEvents();
    }
    template <class Widget>
    Widget& Find(const char* name) {
      auto* widget = face->template findChild<Widget*>(QLatin1String(name));
      if (!widget) throw std::runtime_error(name);
      return *widget;
    }
    void Click(const char* name) {
      auto& button = Find<QAbstractButton>(name);
      QTest::mouseClick(&button, Qt::LeftButton, {}, {8, button.height() / 2});
    }
    void Type(const char* name, const char* text) {
      auto& edit = Find<QLineEdit>(name);
      edit.setFocus();
      edit.selectAll();
      QTest::keyClicks(&edit, QLatin1String(text));
    }

    ProtocolHandlerRef handler;
    Page page;
    FormFace* face = nullptr;
  };

  World world;
  WidgetDesktop desktop;
  General general;
};

/// Every control has its widget, every text its room.
template <class Page>
void ExpectWhole(PagesFaceTest& test, const char* protocol) {
  PagesFaceTest::Shown<Page> shown(test, protocol);
  ASSERT_NE(shown.face, nullptr) << protocol;
  auto& tabs = shown.template Find<QTabWidget>("SSTab1");
  EXPECT_EQ(tabs.count(), 1);
  EXPECT_EQ(tabs.tabText(0), QStringLiteral("General"));
  EXPECT_EQ(shown.face->windowTitle(), QLatin1String(protocol) + QStringLiteral(" Properties"));
  for (Control* control : shown.page.Controls()) {
    if (dynamic_cast<OptionGroup*>(control)) continue;
    auto* widget = shown.face->template findChild<QWidget*>(control->Name());
    ASSERT_NE(widget, nullptr) << control->Name().toStdString();
    EXPECT_TRUE(widget->isVisible());
    if (auto* label = qobject_cast<QLabel*>(widget)) {
      EXPECT_EQ(label->text(), static_cast<Label*>(control)->Caption());
      EXPECT_GE(label->height(), label->heightForWidth(label->width())) << control->Name().toStdString();
    }
    if (auto* box = qobject_cast<QLineEdit*>(widget)) {
      EXPECT_FALSE(box->accessibleName().isEmpty());
    }
  }
  for (const QWidget* one : shown.face->template findChildren<QWidget*>()) {
    if (!one->isVisible() || one->isWindow()) continue;
    const QRect place(one->mapTo(shown.face, QPoint()), one->size());
    EXPECT_TRUE(shown.face->rect().contains(place)) << one->objectName().toStdString();
  }
  // For a look at the pages.
  const QString folder = qEnvironmentVariable("VELTRANE_PICTURES");
  if (!folder.isEmpty()) shown.face->grab().save(folder + u'/' + shown.page.Name() + QStringLiteral(".png"));
}

TEST_F(PagesFaceTest, Each_page_shows_all_of_its_form) {
  ExpectWhole<frmProtocolPassThruPP>(*this, "Pass Through");
  ExpectWhole<frmProtocolHTTPPP>(*this, "HTTP");
  ExpectWhole<frmProtocolHTTPSPP>(*this, "HTTPS");
  ExpectWhole<frmProtocolPOP3PP>(*this, "POP3");
  ExpectWhole<frmProtocolFTPPP>(*this, "FTP");
}

TEST_F(PagesFaceTest, The_options_read_as_they_should_and_enable_the_proxys_fields) {
  Shown<frmProtocolHTTPPP> shown(*this, "HTTP");
  EXPECT_EQ(shown.Find<QRadioButton>("optPort_0").text(),
            QStringLiteral("On the web server, connect to port:"));
  EXPECT_EQ(shown.Find<QRadioButton>("optPort_1").text(), QStringLiteral("Connect via another proxy"));
  EXPECT_TRUE(shown.Find<QRadioButton>("optPort_0").isChecked());
  EXPECT_FALSE(shown.Find<QLineEdit>("txtPort").isEnabled());
  EXPECT_FALSE(shown.Find<QLineEdit>("txtProxyServer").isEnabled());
  shown.Click("optPort_1");
  EXPECT_TRUE(shown.Find<QLineEdit>("txtPort").isEnabled());
  EXPECT_TRUE(shown.Find<QLineEdit>("txtProxyServer").isEnabled());
  EXPECT_TRUE(shown.Find<QLineEdit>("txtSpecificPort").isEnabled());
}

TEST_F(PagesFaceTest, What_is_typed_is_stored_by_OK) {
  Shown<frmProtocolPassThruPP> shown(*this, "Pass Through");
  shown.Type("txtProxyServer", "server.example");
  shown.Type("txtPort", "2525");
  shown.Click("cmdOK");
  EXPECT_FALSE(shown.face->isVisible());
  const QString section = PortSection(QStringLiteral("Pass Through"), 2000);
  EXPECT_EQ(world.Get(section, QStringLiteral("Server")), QStringLiteral("server.example"));
  EXPECT_EQ(world.Get(section, QStringLiteral("Port")), QStringLiteral("2525"));
}

/// Enter is OK and Escape is Cancel, from the field that has the focus when the page opens.
template <class Page>
void ExpectKeys(PagesFaceTest& test, const char* protocol, const char* firstField) {
  SCOPED_TRACE(protocol);
  const qsizetype rows = test.world.mStore.mRows.size();
  for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter}) {
    PagesFaceTest::Shown<Page> shown(test, protocol);
    QWidget* focus = shown.face->focusWidget();
    ASSERT_NE(focus, nullptr);
    EXPECT_EQ(focus->objectName(), QLatin1String(firstField));
    EXPECT_TRUE(shown.template Find<QPushButton>("cmdOK").isDefault());
    QTest::keyClick(focus, key);
    EXPECT_FALSE(shown.face->isVisible());
    const bool stores = key != Qt::Key_Escape && std::strcmp(protocol, "FTP") != 0;
    EXPECT_EQ(test.world.mStore.mRows.size() > rows, stores);
  }
}

TEST_F(PagesFaceTest, Enter_is_OK_and_Escape_is_Cancel_from_the_first_field) {
  ExpectKeys<frmProtocolPassThruPP>(*this, "Pass Through", "txtProxyServer");
  ExpectKeys<frmProtocolHTTPPP>(*this, "HTTP", "optPort_0");
  ExpectKeys<frmProtocolHTTPSPP>(*this, "HTTPS", "optPort_0");
  ExpectKeys<frmProtocolPOP3PP>(*this, "POP3", "txtPort");
  ExpectKeys<frmProtocolFTPPP>(*this, "FTP", "cmdOK");
}

TEST_F(PagesFaceTest, What_was_typed_is_stored_by_Enter_in_any_field) {
  Shown<frmProtocolPassThruPP> shown(*this, "Pass Through");
  shown.Type("txtPort", "2525");
  QTest::keyClick(&shown.Find<QLineEdit>("txtPort"), Qt::Key_Return);
  EXPECT_EQ(world.Get(PortSection(QStringLiteral("Pass Through"), 2000), QStringLiteral("Port")),
            QStringLiteral("2525"));
}

TEST_F(PagesFaceTest, Enter_on_a_button_presses_that_button) {
  Shown<frmProtocolPassThruPP> shown(*this, "Pass Through");
  auto& cancel = shown.Find<QPushButton>("Command1");
  cancel.setFocus();
  QTest::keyClick(&cancel, Qt::Key_Return);
  EXPECT_FALSE(shown.face->isVisible());
  EXPECT_EQ(world.mStore.mRows.size(), 0);
}

TEST_F(PagesFaceTest, A_page_with_the_second_option_set_opens_on_that_one) {
  world.Save(PortSection(QStringLiteral("HTTP"), 2000), QStringLiteral("ConnectToPort"),
             QStringLiteral("False"));
  world.Save(PortSection(QStringLiteral("HTTP"), 2000), QStringLiteral("ConnectToProxy"),
             QStringLiteral("True"));
  Shown<frmProtocolHTTPPP> shown(*this, "HTTP");
  EXPECT_EQ(shown.face->focusWidget(), &shown.Find<QRadioButton>("optPort_1"));
}

TEST_F(PagesFaceTest, A_key_with_a_modifier_is_no_answer) {
  Shown<frmProtocolFTPPP> shown(*this, "FTP");
  QTest::keyClick(shown.face, Qt::Key_Return, Qt::ControlModifier);
  EXPECT_TRUE(shown.face->isVisible());
}

TEST_F(PagesFaceTest, Cancel_and_the_windows_own_button_store_nothing) {
  Shown<frmProtocolPOP3PP> shown(*this, "POP3");
  shown.Type("txtPort", "1");
  shown.Click("Command1");
  EXPECT_FALSE(shown.face->isVisible());
  shown.page.Show();
  EXPECT_EQ(shown.Find<QLineEdit>("txtPort").text(), QStringLiteral("110")) << "read afresh";
  shown.Type("txtPort", "1");
  shown.face->close();
  EXPECT_FALSE(shown.face->isVisible());
  EXPECT_EQ(world.Get(PortSection(QStringLiteral("POP3"), 2000), QStringLiteral("Port")),
            QStringLiteral("(none)"));
}

TEST_F(PagesFaceTest, A_handler_shows_its_page_modally_and_goes_on_when_it_is_closed) {
  bool seen = false;
  QTimer::singleShot(0, [&] {
    for (QWidget* window : QApplication::topLevelWidgets()) {
      if (window->objectName() != QStringLiteral("frmProtocolFTPPP")) continue;
      seen = window->isModal();
      QTest::mouseClick(window->findChild<QPushButton*>(QStringLiteral("cmdOK")), Qt::LeftButton);
    }
  });
  const auto handler = ListedProtocols().back()(general);
  handler->ShowProperties(2000, nullptr);
  EXPECT_TRUE(seen);
}

}  // namespace
}  // namespace veltrane
