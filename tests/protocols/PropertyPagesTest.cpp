#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "protocols/frmProtocolFTPPP.h"
#include "protocols/frmProtocolHTTPPP.h"
#include "protocols/frmProtocolHTTPSPP.h"
#include "protocols/frmProtocolPOP3PP.h"
#include "protocols/frmProtocolPassThruPP.h"
#include "tests/support/World.h"

namespace veltrane {
namespace {

constexpr qint32 kPort = 2000;
const QString kRejected = QStringLiteral("The port must be numeric and less than 65536");

struct PagesTest : testing::Test {
  ProtocolHandlerRef Handler(const QString& name) {
    for (const auto& create : ListedProtocols()) {
      ProtocolHandlerRef handler = create(world.mGeneral);
      if (handler->GetProtocolName() == name) return handler;
    }
    return nullptr;
  }
  /// Opens the page of a handler for the port, and does with it what its user does.
  template <class Page>
  void Open(const char* name, const std::function<void(Page&)>& user) {
    bool opened = false;
    world.mDesktop.mModalScripts.append([&](Form& form) {
      opened = true;
      user(dynamic_cast<Page&>(form));
    });
    Handler(QLatin1String(name))->ShowProperties(kPort, &world.mMain);
    EXPECT_TRUE(opened);
  }
  QString Get(const char* name, const char* key) {
    return world.Get(PortSection(QLatin1String(name), kPort), QLatin1String(key));
  }
  void Set(const char* name, const char* key, const char* value) {
    world.Save(PortSection(QLatin1String(name), kPort), QLatin1String(key), QLatin1String(value));
  }
  int RowsOf(const char* name) {
    return static_cast<int>(
        world.mStore.GetAllSettings(kApplicationName, PortSection(QLatin1String(name), kPort)).size());
  }
  /// The one box that was shown.
  void ExpectRejection() {
    ASSERT_EQ(world.mDesktop.mBoxes.size(), 1);
    const MessageBox& box = world.mDesktop.mBoxes[0];
    EXPECT_EQ(box.text, kRejected);
    EXPECT_EQ(box.icon, BoxIcon::kExclamation);
    EXPECT_EQ(box.title, QStringLiteral("Veltrane"));
  }

  World world;
};

/// Counts how often a control was given the focus.
struct FocusWatch {
  explicit FocusWatch(Control& control) {
    QObject::connect(&control, &Control::FocusAsked, &control, [this] { ++count; });
  }
  int count = 0;
};

TEST_F(PagesTest, Each_handler_shows_its_own_page_over_its_owner) {
  const std::pair<const char*, const char*> pages[] = {{"Pass Through", "frmProtocolPassThruPP"},
                                                       {"HTTP", "frmProtocolHTTPPP"},
                                                       {"HTTPS", "frmProtocolHTTPSPP"},
                                                       {"POP3", "frmProtocolPOP3PP"},
                                                       {"FTP", "frmProtocolFTPPP"}};
  for (const auto& [name, page] : pages) {
    world.mJournal.Take();
    Open<PropertyPage>(name, [&, title = QLatin1String(name)](PropertyPage& form) {
      EXPECT_EQ(form.Caption(), title + QStringLiteral(" Properties"));
      EXPECT_EQ(form.mlngPort, kPort);
      EXPECT_EQ(form.mobjParent->GetProtocolName(), title);
      EXPECT_EQ(form.cmdOK.Caption(), QStringLiteral("OK"));
      EXPECT_EQ(form.Command1.Caption(), QStringLiteral("Cancel"));
    });
    EXPECT_EQ(world.mJournal.Take(),
              QStringList{QStringLiteral("show modal %1 over frmMain").arg(QLatin1String(page))});
  }
}

TEST_F(PagesTest, A_page_is_kept_on_top_with_the_main_window) {
  world.mMain.mKeepOnTop = true;
  Open<frmProtocolFTPPP>("FTP", [](frmProtocolFTPPP&) {});
  EXPECT_EQ(world.mJournal.lines.first(), QStringLiteral("top-most frmProtocolFTPPP"));
}

TEST_F(PagesTest, Cancel_leaves_the_store_untouched) {
  for (const char* name : {"Pass Through", "HTTP", "HTTPS", "POP3", "FTP"}) {
    Open<PropertyPage>(name, [](PropertyPage& page) {
      for (Control* control : page.Controls()) {
        if (auto* box = dynamic_cast<TextBox*>(control)) box->SetText(QStringLiteral("7"));
      }
      page.Command1.Click();
      EXPECT_FALSE(page.Visible());
    });
    EXPECT_EQ(RowsOf(name), 0) << name;
  }
  EXPECT_TRUE(world.mDesktop.mBoxes.isEmpty());
}

TEST_F(PagesTest, A_port_of_70000_is_stored_as_typed_on_any_page) {
  const auto type = [](TextBox& box) { box.SetText(QStringLiteral("70000")); };
  Open<frmProtocolPassThruPP>("Pass Through", [&](frmProtocolPassThruPP& page) {
    type(page.txtPort);
    page.cmdOK.Click();
  });
  Open<frmProtocolPOP3PP>("POP3", [&](frmProtocolPOP3PP& page) {
    type(page.txtPort);
    page.cmdOK.Click();
  });
  for (const char* name : {"HTTP", "HTTPS"}) {
    Open<frmProtocolHTTPPP>(name, [&](frmProtocolHTTPPP& page) {
      type(page.txtPort);
      type(page.txtSpecificPort);
      page.cmdOK.Click();
    });
    EXPECT_EQ(Get(name, "SpecificPort"), QStringLiteral("70000"));
  }
  for (const char* name : {"Pass Through", "HTTP", "HTTPS", "POP3"})
    EXPECT_EQ(Get(name, "Port"), QStringLiteral("70000")) << name;
  EXPECT_TRUE(world.mDesktop.mBoxes.isEmpty());
}

// Pass Through and POP3.

TEST_F(PagesTest, The_Pass_Through_page_shows_its_defaults_and_stores_them_at_the_first_OK) {
  Open<frmProtocolPassThruPP>("Pass Through", [](frmProtocolPassThruPP& page) {
    EXPECT_EQ(page.txtPort.Text(), QStringLiteral("1000"));
    EXPECT_TRUE(page.txtProxyServer.Text().endsWith(QStringLiteral(".invalid")));
    EXPECT_NE(page.txtProxyServer.Text(), kServerPlaceholder) << "not that of the handler";
    page.cmdOK.Click();
    EXPECT_FALSE(page.Visible());
  });
  EXPECT_EQ(Get("Pass Through", "Port"), QStringLiteral("1000"));
  EXPECT_EQ(Get("Pass Through", "Server"), QStringLiteral("enter-the-remote-server.invalid"));
}

TEST_F(PagesTest, The_Pass_Through_page_shows_and_stores_the_keys_of_its_port) {
  world.SetDestination(kPort, QStringLiteral("server"), 25);
  world.SetDestination(kPort + 1, QStringLiteral("other"), 26);
  Open<frmProtocolPassThruPP>("Pass Through", [](frmProtocolPassThruPP& page) {
    EXPECT_EQ(page.txtPort.Text(), QStringLiteral("25"));
    EXPECT_EQ(page.txtProxyServer.Text(), QStringLiteral("server"));
    page.txtPort.SetText(QStringLiteral("27"));
    page.txtProxyServer.SetText(QStringLiteral("new"));
    page.cmdOK.Click();
  });
  EXPECT_EQ(Get("Pass Through", "Port"), QStringLiteral("27"));
  EXPECT_EQ(Get("Pass Through", "Server"), QStringLiteral("new"));
}

TEST_F(PagesTest, The_Pass_Through_page_with_a_bad_port_says_so_and_goes_and_the_old_values_stay) {
  world.SetDestination(kPort, QStringLiteral("server"), 25);
  Open<frmProtocolPassThruPP>("Pass Through", [&](frmProtocolPassThruPP& page) {
    const FocusWatch focus(page.txtPort);
    page.txtPort.SetText(QStringLiteral("abc"));
    page.txtProxyServer.SetText(QStringLiteral("new"));
    world.mDesktop.OnBox = [&](const MessageBox&) {
      EXPECT_EQ(focus.count, 1) << "the focus comes before the box";
      EXPECT_TRUE(page.Visible());
    };
    page.cmdOK.Click();
    EXPECT_FALSE(page.Visible());
    world.mDesktop.OnBox = nullptr;
  });
  ExpectRejection();
  EXPECT_EQ(Get("Pass Through", "Port"), QStringLiteral("25"));
  EXPECT_EQ(Get("Pass Through", "Server"), QStringLiteral("server"));
}

TEST_F(PagesTest, A_store_that_is_full_at_OK_is_not_caught_by_the_page_and_the_port_is_written_first) {
  world.SetDestination(kPort, QStringLiteral("server"), 25);
  Open<frmProtocolPassThruPP>("Pass Through", [&](frmProtocolPassThruPP& page) {
    page.txtPort.SetText(QStringLiteral("27"));
    page.txtProxyServer.SetText(QStringLiteral("new"));
    world.mStore.mWritesBeforeFailure = 1;
    EXPECT_THROW(page.cmdOK.Click(), Failure);
    EXPECT_TRUE(page.Visible()) << "what was typed is still there";
    world.mStore.mWritesBeforeFailure = -1;
  });
  EXPECT_EQ(Get("Pass Through", "Port"), QStringLiteral("27"));
  EXPECT_EQ(Get("Pass Through", "Server"), QStringLiteral("server"));
}

TEST_F(PagesTest, The_POP3_page_shows_stores_and_rejects_alike) {
  Open<frmProtocolPOP3PP>("POP3", [](frmProtocolPOP3PP& page) {
    EXPECT_EQ(page.txtPort.Text(), QStringLiteral("110"));
    page.txtPort.SetText(QStringLiteral("1110"));
    page.cmdOK.Click();
    EXPECT_FALSE(page.Visible());
  });
  EXPECT_EQ(Get("POP3", "Port"), QStringLiteral("1110"));
  Open<frmProtocolPOP3PP>("POP3", [](frmProtocolPOP3PP& page) {
    const FocusWatch focus(page.txtPort);
    page.txtPort.SetText(QString());
    page.cmdOK.Click();
    EXPECT_EQ(focus.count, 1);
    EXPECT_FALSE(page.Visible());
  });
  ExpectRejection();
  EXPECT_EQ(Get("POP3", "Port"), QStringLiteral("1110"));
}

// HTTP and HTTPS.

struct WebPage {
  const char* name;
  const char* port;
  const char* specificPort;
};

struct WebPagesTest : PagesTest, testing::WithParamInterface<WebPage> {
  using PagesTest::Get;
  using PagesTest::Set;

  void Open(const std::function<void(frmProtocolHTTPPP&)>& user) {
    PagesTest::Open<frmProtocolHTTPPP>(GetParam().name, user);
  }
  QString Get(const char* key) { return Get(GetParam().name, key); }
  void Set(const char* key, const char* value) { Set(GetParam().name, key, value); }
};

INSTANTIATE_TEST_SUITE_P(Both, WebPagesTest,
                         testing::Values(WebPage{"HTTP", "8080", "80"}, WebPage{"HTTPS", "443", "443"}),
                         [](const auto& which) { return std::string(which.param.name); });

TEST_P(WebPagesTest, Shows_its_defaults_and_stores_them_at_the_first_OK) {
  Open([](frmProtocolHTTPPP& page) {
    EXPECT_TRUE(page.optPort.Value(0));
    EXPECT_EQ(page.txtPort.Text(), QLatin1String(GetParam().port));
    EXPECT_EQ(page.txtSpecificPort.Text(), QLatin1String(GetParam().specificPort));
    EXPECT_EQ(page.txtProxyServer.Text(), kProxyPlaceholder);
    page.cmdOK.Click();
    EXPECT_FALSE(page.Visible());
  });
  EXPECT_EQ(world.mStore.GetAllSettings(kApplicationName, PortSection(QLatin1String(GetParam().name), kPort)),
            (QList<SettingRow>{{QStringLiteral("ConnectToPort"), QStringLiteral("True")},
                               {QStringLiteral("ConnectToProxy"), QStringLiteral("False")},
                               {QStringLiteral("Port"), QLatin1String(GetParam().port)},
                               {QStringLiteral("Proxy"), kProxyPlaceholder},
                               {QStringLiteral("SpecificPort"), QLatin1String(GetParam().specificPort)}}));
}

TEST_P(WebPagesTest, Choosing_the_web_server_greys_the_proxy_out_and_its_texts_are_stored_all_the_same) {
  Set("ConnectToPort", "False");
  Set("ConnectToProxy", "True");
  Open([](frmProtocolHTTPPP& page) {
    EXPECT_TRUE(page.optPort.Value(1));
    EXPECT_TRUE(page.txtPort.Enabled());
    EXPECT_TRUE(page.txtProxyServer.Enabled());
    EXPECT_TRUE(page.txtSpecificPort.Enabled());
    page.txtProxyServer.SetText(QStringLiteral("my.proxy"));
    page.txtPort.SetText(QStringLiteral("3128"));
    page.optPort.Select(0);
    EXPECT_FALSE(page.txtPort.Enabled());
    EXPECT_FALSE(page.txtProxyServer.Enabled());
    EXPECT_TRUE(page.txtSpecificPort.Enabled());
    page.cmdOK.Click();
  });
  EXPECT_EQ(Get("ConnectToPort"), QStringLiteral("True"));
  EXPECT_EQ(Get("ConnectToProxy"), QStringLiteral("False"));
  EXPECT_EQ(Get("Proxy"), QStringLiteral("my.proxy"));
  EXPECT_EQ(Get("Port"), QStringLiteral("3128"));
}

TEST_P(WebPagesTest, A_store_with_neither_option_sets_neither_and_leaves_all_enabled) {
  Set("ConnectToPort", "False");
  Set("ConnectToProxy", "False");
  Open([](frmProtocolHTTPPP& page) {
    EXPECT_EQ(page.optPort.Selected(), -1);
    EXPECT_TRUE(page.txtPort.Enabled());
    EXPECT_TRUE(page.txtProxyServer.Enabled());
    // Nothing is in use, so nothing is checked.
    page.txtPort.SetText(QStringLiteral("abc"));
    page.txtSpecificPort.SetText(QStringLiteral("abc"));
    page.cmdOK.Click();
    EXPECT_FALSE(page.Visible());
  });
  EXPECT_EQ(Get("ConnectToPort"), QStringLiteral("False"));
  EXPECT_EQ(Get("ConnectToProxy"), QStringLiteral("False"));
  EXPECT_EQ(Get("Port"), QStringLiteral("abc"));
}

TEST_P(WebPagesTest, A_bad_port_of_the_field_in_use_is_told_and_the_page_stays) {
  Open([this](frmProtocolHTTPPP& page) {
    const FocusWatch port(page.txtPort);
    const FocusWatch specific(page.txtSpecificPort);
    page.txtSpecificPort.SetText(QStringLiteral("x"));
    page.cmdOK.Click();
    EXPECT_TRUE(page.Visible());
    EXPECT_EQ(specific.count, 1);
    ExpectRejection();
    world.mDesktop.mBoxes.clear();
    page.optPort.Select(1);
    page.txtPort.SetText(QStringLiteral("y"));
    page.cmdOK.Click();
    EXPECT_TRUE(page.Visible());
    EXPECT_EQ(port.count, 1);
    ExpectRejection();
  });
  EXPECT_EQ(RowsOf(GetParam().name), 0);
}

TEST_P(WebPagesTest, A_bad_port_of_the_field_not_in_use_is_stored) {
  Open([](frmProtocolHTTPPP& page) {
    page.txtPort.SetText(QStringLiteral("abc"));
    page.cmdOK.Click();
    EXPECT_FALSE(page.Visible());
  });
  EXPECT_EQ(Get("Port"), QStringLiteral("abc"));
  Open([](frmProtocolHTTPPP& page) {
    page.txtPort.SetText(QStringLiteral("1"));
    page.txtSpecificPort.SetText(QStringLiteral("abc"));
    page.optPort.Select(1);
    page.cmdOK.Click();
    EXPECT_FALSE(page.Visible());
  });
  EXPECT_EQ(Get("SpecificPort"), QStringLiteral("abc"));
  EXPECT_TRUE(world.mDesktop.mBoxes.isEmpty());
}

TEST_P(WebPagesTest, A_stored_flag_that_is_none_is_not_caught_by_the_page) {
  Set("ConnectToProxy", "maybe");
  EXPECT_THROW(Handler(QLatin1String(GetParam().name))->ShowProperties(kPort, &world.mMain), Failure);
}

TEST_P(WebPagesTest, What_the_page_stores_the_handler_reads_at_the_next_connection) {
  Open([](frmProtocolHTTPPP& page) {
    page.optPort.Select(1);
    page.txtProxyServer.SetText(QStringLiteral("my.proxy"));
    page.txtPort.SetText(QStringLiteral("3128"));
    page.cmdOK.Click();
  });
  world.AddPort(kPort, QLatin1String(GetParam().name), QStringLiteral("Web"));
  auto* listener =
      static_cast<StubSocket*>(world.StartListening().mcolListeningSocket.Item(ListeningSocketKey(kPort)));
  world.mSockets.mNames = {QStringLiteral("sckServer"), QStringLiteral("sckClient")};
  listener->Request(1);
  StubSocket* server = world.mSockets.mSockets[world.mSockets.mSockets.size() - 2];
  server->mLocalPort = kPort;
  server->Arrive("GET http://host/ HTTP/1.0\r\n\r\n");
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("sckClient.Connect my.proxy:3128"));
}

// FTP, and the texts.

TEST_F(PagesTest, The_FTP_page_closes_at_OK_and_stores_nothing) {
  Open<frmProtocolFTPPP>("FTP", [](frmProtocolFTPPP& page) {
    page.cmdOK.Click();
    EXPECT_FALSE(page.Visible());
  });
  EXPECT_EQ(RowsOf("FTP"), 0);
}

TEST_F(PagesTest, The_texts_stand_as_they_are) {
  const frmProtocolPassThruPP passThru(world.mGeneral);
  EXPECT_EQ(
      passThru.Label1.Caption(),
      QStringLiteral("The pass through protocol connects a remote client to a remote server.  Veltrane "
                     "mirrors all connection activity so that the client and the server behave as if VLT "
                     "was not present."));
  EXPECT_EQ(passThru.Label2.Caption(),
            QStringLiteral("On receiving a connection request from a remote client, connect to the following "
                           "computer on the specified port:"));
  EXPECT_EQ(passThru.lblProxyServer.Caption(), QStringLiteral("Remote Server:"));
  EXPECT_EQ(passThru.lblPort.Caption(), QStringLiteral("Port:"));
  const frmProtocolHTTPSPP https(world.mGeneral);
  EXPECT_EQ(
      https.Label1.Caption(),
      QStringLiteral("To use HTTPS ensure that your web browser is configured so that its secure socket port "
                     "(generally 443) is different to its non-secure HTTP socket port (generally 80 or "
                     "8080). In Internet Explorer's, this is dones be checking off the 'Use the same proxy "
                     "server for all protocols' option."));
  EXPECT_EQ(https.lblProxyServer.Caption(), QStringLiteral("Proxy server:"));
  EXPECT_EQ(https.lblPort.Caption(), QStringLiteral("Port:"));
  const frmProtocolPOP3PP pop3(world.mGeneral);
  EXPECT_EQ(pop3.Label1.Caption(),
            QStringLiteral(
                "In configuring your e-mail client, set the name of your POP3 server to the name of this "
                "computer.  In the user name field, change it to your username followed by a '#' "
                "followed by the name of your email server.  "));
  EXPECT_EQ(pop3.Label2.Caption(),
            QStringLiteral("For example, if the name of your email server is mail.example.com and your user "
                           "name is 'Fred', enter Fred#mail.example.com as the user name."));
  EXPECT_EQ(pop3.lblPort.Caption(), QStringLiteral("POP3 Server Port:"));
  EXPECT_EQ(pop3.lblUsualPort.Caption(), QStringLiteral("(This is almost always 110)"));
  const frmProtocolFTPPP ftp(world.mGeneral);
  EXPECT_EQ(
      ftp.Label1.Caption(),
      QStringLiteral("To configure your FTP Client, set it to use a Proxy Server of the format UserId = "
                     "UserId@FTPSite.  Set the name of the Proxy Server to be the name of this computer."));
}

// The error file.

struct ErrorFileTest : testing::Test {
  ErrorFileTest()
      : general({world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, world.mDesktop,
                 world.mErrors, folder.path()},
                AllProtocols()) {}
  void Write(const QByteArray& text) {
    QFile file(folder.filePath(QStringLiteral("HTTPDNSError.txt")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
  }

  World world;
  QTemporaryDir folder;
  General general;
};

TEST_F(ErrorFileTest, Its_lines_are_read_with_line_ends_of_the_wire) {
  const std::pair<QByteArray, QString> rows[] = {
      {"one\ntwo\n", QStringLiteral("one\r\ntwo\r\n")},
      {"one\r\ntwo", QStringLiteral("one\r\ntwo\r\n")},
      {"\n\n", QStringLiteral("\r\n\r\n")},
      {"", QString()},
      {"caf\xe9\n", QStringLiteral("caf\u00e9\r\n")},
  };
  for (const auto& [text, expected] : rows) {
    Write(text);
    EXPECT_EQ(frmProtocolHTTPPP(general).ReadNoSiteErrorFile(), expected);
    EXPECT_EQ(frmProtocolHTTPSPP(general).ReadNoSiteErrorFile(), expected);
    EXPECT_EQ(frmProtocolFTPPP(general).ReadNoSiteErrorFile(), expected);
  }
}

TEST_F(ErrorFileTest, Without_the_file_it_fails) {
  try {
    frmProtocolHTTPPP(general).ReadNoSiteErrorFile();
    FAIL() << "it must fail";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.Number(), 53);
  }
}

}  // namespace
}  // namespace veltrane
