// The port dialogs as the user sees them: real clicks and keys, and clients on the wire between them.
#include <QApplication>
#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTreeView>

#include <gtest/gtest.h>

#include "protocols/ProtocolPassThru.h"
#include "tests/support/DialogFakes.h"
#include "tests/support/FaceFrame.h"
#include "tests/support/RealNet.h"
#include "ui/faces/FormFace.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmConfigure.h"
#include "ui/frmError.h"
#include "ui/frmPort.h"

namespace veltrane {
namespace {

struct FrmConfigureFaceTest : testing::Test {
  FrmConfigureFaceTest() {
    const auto handler = std::make_shared<ProtocolPassThru>(general);
    general.gcolProtocols.Add(handler, handler->GetProtocolName());
  }
  ~FrmConfigureFaceTest() override {
    if (general.gobjListening) general.gobjListening->DeInitaliseListeningSockets();
  }
  void Show() {
    world.Listen();
    form.Show();
    face = widgets.FaceOf(form);
    face->activateWindow();
    Serve();
  }
  template <class Widget>
  static Widget& FindIn(const QWidget& window, const char* name) {
    auto* widget = window.findChild<Widget*>(QLatin1String(name));
    if (!widget) throw std::runtime_error(std::string("no widget ") + name);
    return *widget;
  }
  template <class Widget>
  Widget& Find(const char* name) {
    return FindIn<Widget>(*face, name);
  }
  static void Press(const QWidget& window, const char* name) {
    QTest::mouseClick(&FindIn<QPushButton>(window, name), Qt::LeftButton);
  }
  void Press(const char* name) { Press(*face, name); }
  static void ClickRow(QTreeView& view, int row, bool twice = false) {
    const QPoint place = view.visualRect(view.model()->index(row, 0)).center();
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, place);
    if (twice) QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, place);
  }
  /// Clicks on the box in front of a row of the list of protocols.
  void ClickTick(int row) {
    auto& list = Find<QListWidget>("lstProtocol");
    const QRect rect = list.visualItemRect(list.item(row));
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, {rect.left() + 9, rect.center().y()});
    Serve();
  }
  QString Ticks() {
    QString marks;
    auto& list = Find<QListWidget>("lstProtocol");
    for (int row = 0; row < list.count(); ++row)
      marks += list.item(row)->checkState() == Qt::Checked ? u'x' : u'-';
    return marks;
  }
  static void Serve() { WaitForFrame(); }
  /// Runs hand on the dialog that the next click opens.
  static void WhenOpen(const std::function<void(QWidget&)>& hand) {
    QTimer::singleShot(60, [hand] {
      QWidget* dialog = QApplication::activeModalWidget();
      if (dialog) hand(*dialog);
    });
  }
  void Answer(QMessageBox::StandardButton button) {
    WhenOpen([this, button](QWidget& dialog) {
      auto& box = dynamic_cast<QMessageBox&>(dialog);
      asked = box.windowTitle() + QStringLiteral(": ") + box.text();
      QTest::mouseClick(box.button(button), Qt::LeftButton);
    });
  }
  /// Adds a port by hand, with the keys.
  void Add(const QString& number, const QString& description) {
    WhenOpen([=](QWidget& dialog) {
      auto& field = FindIn<QLineEdit>(dialog, "txtPort");
      field.selectAll();
      QTest::keyClicks(&field, number);
      QTest::keyClicks(&FindIn<QLineEdit>(dialog, "txtDescription"), description);
      Press(dialog, "cmdOK");
    });
    Press("cmdPortAdd");
    Serve();
  }
  /// Whether a client that connects reaches the server behind the port.
  bool GetsThrough(qint32 number) {
    const std::unique_ptr<Peer> client = net.ConnectTo(number);
    std::unique_ptr<Peer> accepted;
    client->Send("hello");
    net.Pump([&] {
      if (!accepted) accepted = server->Accept();
      return client->SawEnd() || (accepted && accepted->Received() == "hello");
    });
    return accepted && accepted->Received() == "hello";
  }

  RealNet net;
  WidgetDesktop widgets;
  DialogWorld world{&widgets, &net.Sockets()};
  General& general = world.mDialogGeneral;
  frmPort port{general};
  frmConfigure form{general, world.mShell, port};
  std::unique_ptr<PeerListener> server = net.Listen();
  FormFace* face = nullptr;
  QString asked;
};

TEST_F(FrmConfigureFaceTest, Escape_closes_and_Enter_presses_the_button_that_has_the_focus) {
  Show();
  auto& add = Find<QPushButton>("cmdPortAdd");
  bool opened = false;
  WhenOpen([&](QWidget& dialog) {
    opened = true;
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  add.setFocus();
  QTest::keyClick(&add, Qt::Key_Return);
  EXPECT_TRUE(opened);
  EXPECT_FALSE(port.Visible());
  EXPECT_TRUE(face->isVisible());
  EXPECT_EQ(form.lvwPort.Count(), 0);
  QTest::keyClick(&Find<QTreeView>("lvwPort"), Qt::Key_Escape);
  EXPECT_FALSE(face->isVisible());
}

TEST_F(FrmConfigureFaceTest, Enter_in_the_port_dialog_takes_what_was_typed) {
  Show();
  WhenOpen([&](QWidget& dialog) {
    QTest::keyClicks(&FindIn<QLineEdit>(dialog, "txtPort"), QStringLiteral("3456"));
    auto& description = FindIn<QLineEdit>(dialog, "txtDescription");
    description.setFocus();
    QTest::keyClicks(&description, QStringLiteral("Mine"));
    QTest::keyClick(&description, Qt::Key_Return);
    EXPECT_FALSE(dialog.isVisible());
    if (dialog.isVisible()) dialog.close();
  });
  Press("cmdPortAdd");
  EXPECT_EQ(world.Get(kPortsInUse, QStringLiteral("3456")), QStringLiteral("Mine"));
}

TEST_F(FrmConfigureFaceTest, The_keypads_Enter_confirms_the_port_and_Enter_on_Cancel_cancels) {
  Show();
  WhenOpen([](QWidget& dialog) {
    auto& number = FindIn<QLineEdit>(dialog, "txtPort");
    number.setFocus();
    QTest::keyClicks(&number, QStringLiteral("3456"));
    QTest::keyClick(&number, Qt::Key_Enter, Qt::KeypadModifier);
    QTest::qWait(150);
    if (dialog.isVisible()) Press(dialog, "cmdCancel");
  });
  Press("cmdPortAdd");
  EXPECT_EQ(form.lvwPort.Count(), 1);
  WhenOpen([](QWidget& dialog) {
    auto& number = FindIn<QLineEdit>(dialog, "txtPort");
    number.selectAll();
    QTest::keyClicks(&number, QStringLiteral("3457"));
    auto& cancel = FindIn<QPushButton>(dialog, "cmdCancel");
    dialog.activateWindow();
    cancel.setFocus();
    Serve();
    QTest::keyClick(&cancel, Qt::Key_Return);
    QTest::qWait(150);
  });
  Press("cmdPortAdd");
  EXPECT_EQ(port.Tag(), QStringLiteral("CANCEL"));
  EXPECT_EQ(form.lvwPort.Count(), 1);
  EXPECT_EQ(world.Get(kPortsInUse, QStringLiteral("3457")), QStringLiteral("(none)"));
}

TEST_F(FrmConfigureFaceTest, Enter_on_a_row_of_the_port_dialog_takes_the_row_once) {
  Show();
  int answers = 0;
  port.lstDetails.OnDblClick = [&] { ++answers; };
  port.cmdOK.OnClick = [&] { ++answers; };
  WhenOpen([&](QWidget& dialog) {
    QTest::keyClick(&FindIn<QTreeView>(dialog, "lstDetails"), Qt::Key_Return);
    QTest::keyClick(&dialog, Qt::Key_Escape);
  });
  Press("cmdPortAdd");
  EXPECT_EQ(answers, 1);
}

TEST_F(FrmConfigureFaceTest, The_error_window_takes_input_while_the_port_dialog_is_open) {
  struct PressCounter : QObject {
    bool eventFilter(QObject*, QEvent* event) override {
      count += event->type() == QEvent::MouseButtonPress;
      return false;
    }
    int count = 0;
  };
  Show();
  frmError error(widgets);
  error.SetGeneral(general);
  for (const bool isOpenBefore : {true, false}) {
    PressCounter barred;
    PressCounter taken;
    if (isOpenBefore) error.LogError(QStringLiteral("it failed"));
    WhenOpen([&](QWidget& dialog) {
      if (!isOpenBefore) error.LogError(QStringLiteral("it failed"));
      const FormFace& log = *widgets.FaceOf(error);
      auto& text = FindIn<QPlainTextEdit>(log, "txtErrorMessage");
      text.viewport()->installEventFilter(&taken);
      face->installEventFilter(&barred);
      // As the desktop gives it, to the window: a widget that is given it directly is not asked for modality.
      QTest::mouseClick(log.windowHandle(), Qt::LeftButton, {}, text.geometry().center());
      QTest::mouseClick(face->windowHandle(), Qt::LeftButton, {}, {2, 2});
      dialog.close();
    });
    Press("cmdPortAdd");
    EXPECT_EQ(taken.count, 1) << isOpenBefore;
    EXPECT_EQ(barred.count, 0) << isOpenBefore;
    EXPECT_TRUE(error.Visible());
    EXPECT_EQ(widgets.FaceOf(error)->windowHandle()->transientParent(), nullptr) << isOpenBefore;
    error.Hide();
  }
}

TEST_F(FrmConfigureFaceTest, A_port_dialog_that_was_minimised_still_has_what_was_typed_and_takes_it) {
  Show();
  bool open = true;
  bool confirmed = false;
  WhenOpen([&](QWidget& dialog) {
    QTest::keyClicks(&FindIn<QLineEdit>(dialog, "txtPort"), QStringLiteral("3456"));
    dialog.showMinimized();
    // Which the desktop tells by this.
    QHideEvent hide;
    QSpontaneKeyEvent::setSpontaneous(&hide);
    qApp->notify(&dialog, &hide);
    // Not in here: the dialog would stay open until this returns.
    QTimer::singleShot(30, &dialog, [&dialog] { dialog.showNormal(); });
    QTimer::singleShot(60, &dialog, [&] {
      if (!open) return;
      confirmed = true;
      EXPECT_EQ(FindIn<QLineEdit>(dialog, "txtPort").text(), QStringLiteral("3456"));
      Press(dialog, "cmdOK");
    });
  });
  Press("cmdPortAdd");
  open = false;
  EXPECT_TRUE(confirmed) << "it is open until the user closes it";
  EXPECT_EQ(form.lvwPort.Count(), 1);
}

TEST_F(FrmConfigureFaceTest, A_port_dialog_that_was_closed_minimised_comes_up_normal) {
  Show();
  bool minimized = false;
  WhenOpen([&](QWidget& dialog) {
    dialog.showMinimized();
    QCoreApplication::processEvents();
    minimized = port.State() == WindowState::kMinimized;
    dialog.close();
  });
  Press("cmdPortAdd");
  EXPECT_TRUE(minimized);
  bool opened = false;
  WhenOpen([&](QWidget& dialog) {
    opened = true;
    EXPECT_FALSE(dialog.isMinimized());
    dialog.close();
  });
  Press("cmdPortAdd");
  EXPECT_TRUE(opened);
}

TEST_F(FrmConfigureFaceTest, Every_control_has_its_widget_and_the_texts_read_as_they_should) {
  Show();
  for (const Control* control : form.Controls())
    EXPECT_NE(face->findChild<QWidget*>(control->Name()), nullptr) << control->Name().toStdString();
  EXPECT_EQ(face->windowTitle(), QStringLiteral("Configure Veltrane"));
  EXPECT_EQ(Find<QLabel>("lblPort").text(), QStringLiteral("&Ports to listen"));
  EXPECT_EQ(Find<QLabel>("lblProtocol").text(), QStringLiteral("Protocol assigned to &selected port:"));
  const struct {
    const char* name;
    const char* text;
  } buttons[] = {{"cmdPortAdd", "&Add..."},
                 {"cmdDeletePort", "&Delete"},
                 {"cmdConfigure", "Confi&gure..."},
                 {"cmdStartListening", "S&tart Listening"},
                 {"chkShowAtStartUp", "Sho&w this screen at startup."},
                 {"cmdClose", "Close"}};
  for (const auto& row : buttons)
    EXPECT_EQ(Find<QAbstractButton>(row.name).text(), QLatin1String(row.text));
  EXPECT_FALSE(Find<QPushButton>("cmdDeletePort").isEnabled());
  EXPECT_TRUE(Find<QPushButton>("cmdPortAdd").isEnabled());
}

TEST_F(FrmConfigureFaceTest, A_ports_whole_life_from_Add_to_Delete_with_a_client_between_the_steps) {
  Show();
  const qint32 number = net.DeadPort();
  world.SetDestination(number, QStringLiteral("127.0.0.1"), server->Port());
  Add(QString::number(number), QStringLiteral("mine"));
  const auto& ports = Find<QTreeView>("lvwPort");
  ASSERT_EQ(ports.model()->rowCount(), 1);
  EXPECT_EQ(ports.model()->index(0, 0).data().toString(), QString::number(number));
  EXPECT_EQ(ports.model()->index(0, 1).data().toString(), QStringLiteral("mine"));
  EXPECT_EQ(ports.currentIndex().row(), 0);
  EXPECT_EQ(Ticks(), QStringLiteral("x-"));
  EXPECT_FALSE(GetsThrough(number));

  ClickTick(1);
  EXPECT_EQ(Ticks(), QStringLiteral("-x"));
  EXPECT_TRUE(GetsThrough(number));
  EXPECT_EQ(Find<QPushButton>("cmdConfigure").text(),
            QStringLiteral("Configure Pass Through for port %1...").arg(number));

  // Unticking what is ticked changes nothing.
  ClickTick(1);
  EXPECT_EQ(Ticks(), QStringLiteral("-x"));
  EXPECT_TRUE(GetsThrough(number));

  ClickTick(0);
  EXPECT_EQ(Ticks(), QStringLiteral("x-"));
  EXPECT_FALSE(GetsThrough(number));
  EXPECT_FALSE(Find<QPushButton>("cmdConfigure").isEnabled());

  ClickTick(1);
  EXPECT_TRUE(GetsThrough(number));
  Answer(QMessageBox::No);
  Press("cmdDeletePort");
  EXPECT_EQ(asked, QStringLiteral("Veltrane: Are you sure you want to remove this port?"));
  EXPECT_TRUE(GetsThrough(number));
  Answer(QMessageBox::Yes);
  Press("cmdDeletePort");
  Serve();
  EXPECT_EQ(ports.model()->rowCount(), 0);
  EXPECT_FALSE(GetsThrough(number));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty()) << world.mErrors.mTexts.join(u'\n').toStdString();
}

TEST_F(FrmConfigureFaceTest, A_port_that_another_program_holds_is_told_once_and_can_be_retried) {
  std::unique_ptr<PeerListener> other = net.Listen();
  const qint32 number = other->Port();
  world.AddPort(number, kDontUse, QStringLiteral("taken"));
  world.AddNode(number, QString());
  world.SetDestination(number, QStringLiteral("127.0.0.1"), server->Port());
  Show();
  ClickTick(1);
  EXPECT_EQ(world.mErrors.mTexts.size(), 1) << "a click on a tick is one action";
  EXPECT_EQ(Ticks(), QStringLiteral("-x"));
  EXPECT_TRUE(Find<QPushButton>("cmdStartListening").isEnabled());
  ClickTick(1);
  EXPECT_EQ(world.mErrors.mTexts.size(), 2) << "a click on the tick that stands tries again, once";
  EXPECT_EQ(Ticks(), QStringLiteral("-x"));
  auto& list = Find<QListWidget>("lstProtocol");
  const auto clickName = [&] {
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(list.item(1)).center());
    Serve();
  };
  clickName();
  EXPECT_EQ(world.mErrors.mTexts.size(), 3) << "and so does one on the row";
  QTest::keyClick(&list, Qt::Key_Space);
  EXPECT_EQ(world.mErrors.mTexts.size(), 4) << "and the key";
  other.reset();
  Press("cmdStartListening");
  EXPECT_FALSE(Find<QPushButton>("cmdStartListening").isEnabled());
  EXPECT_TRUE(GetsThrough(number));
}

TEST_F(FrmConfigureFaceTest, Clicks_and_keys_choose_among_the_ports) {
  world.AddPort(net.DeadPort(), QStringLiteral("Pass Through"), QStringLiteral("first"));
  world.AddPort(25, kDontUse, QStringLiteral("second"));
  Show();
  auto& ports = Find<QTreeView>("lvwPort");
  EXPECT_EQ(Ticks(), QStringLiteral("-x"));
  ClickRow(ports, 1);
  EXPECT_EQ(Find<QLabel>("lblProtocol").text(), QStringLiteral("Protocol a&ssigned to port 25"));
  EXPECT_EQ(Ticks(), QStringLiteral("x-"));
  QTest::keyClick(&ports, Qt::Key_Up);
  EXPECT_EQ(Ticks(), QStringLiteral("-x"));
  EXPECT_EQ(world.Get(kProtocols, QStringLiteral("25")), kDontUse) << "looking changes nothing";
}

TEST_F(FrmConfigureFaceTest, The_focus_alone_gives_a_port_of_an_unknown_protocol_no_other_one) {
  world.AddPort(70, QStringLiteral("Gopher"), QStringLiteral("Menus"));
  Show();
  auto& list = Find<QListWidget>("lstProtocol");
  list.setFocus();
  Serve();
  ASSERT_TRUE(list.hasFocus());
  EXPECT_EQ(world.Get(kProtocols, QStringLiteral("70")), QStringLiteral("Gopher"));
  EXPECT_EQ(Ticks(), QStringLiteral("--"));
  QTest::keyClick(&list, Qt::Key_Space);
  EXPECT_EQ(world.Get(kProtocols, QStringLiteral("70")), kDontUse);
  EXPECT_EQ(Ticks(), QStringLiteral("x-"));
}

TEST_F(FrmConfigureFaceTest, Close_button_Escape_and_frame_save_and_hide) {
  Show();
  const auto stored = [&] {
    return world.Get(QStringLiteral("Options"), QStringLiteral("ShowConfigAtStartUp"));
  };
  QTest::mouseClick(&Find<QCheckBox>("chkShowAtStartUp"), Qt::LeftButton, {}, {8, 8});
  Press("cmdClose");
  EXPECT_FALSE(face->isVisible());
  EXPECT_EQ(stored(), QStringLiteral("0"));
  form.Show();
  face->activateWindow();
  Serve();
  QTest::mouseClick(&Find<QCheckBox>("chkShowAtStartUp"), Qt::LeftButton, {}, {8, 8});
  QTest::keyClick(face, Qt::Key_Escape);
  EXPECT_FALSE(face->isVisible());
  EXPECT_EQ(stored(), QStringLiteral("1"));
  form.Show();
  QTest::mouseClick(&Find<QCheckBox>("chkShowAtStartUp"), Qt::LeftButton, {}, {8, 8});
  face->close();
  EXPECT_FALSE(face->isVisible());
  EXPECT_EQ(stored(), QStringLiteral("0"));
}

TEST_F(FrmConfigureFaceTest, All_texts_are_seen_whole_even_the_longest) {
  world.AddPort(65535, QStringLiteral("Pass Through"), QStringLiteral("x"));
  Show();
  for (const QWidget* widget : face->findChildren<QWidget*>()) {
    const bool hasText = qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget);
    if (!widget->isVisible() || !hasText) continue;
    EXPECT_GE(widget->width(), widget->minimumSizeHint().width()) << widget->objectName().toStdString();
    EXPECT_GE(widget->height(), widget->minimumSizeHint().height()) << widget->objectName().toStdString();
  }
}

TEST_F(FrmConfigureFaceTest, The_port_dialog_copies_sorts_and_takes_a_double_click) {
  Show();
  QStringList seen;
  WhenOpen([&](QWidget& dialog) {
    seen.append(dialog.windowTitle());
    auto& list = FindIn<QTreeView>(dialog, "lstDetails");
    auto& number = FindIn<QLineEdit>(dialog, "txtPort");
    ClickRow(list, 1);
    seen.append(number.text() + u'|' + FindIn<QLineEdit>(dialog, "txtDescription").text());
    number.selectAll();
    QTest::keyClicks(&number, QStringLiteral("1"));
    ClickRow(list, 1);
    seen.append(QStringLiteral("again ") + number.text());
    // By description: Files, Secure web, Web.
    QHeaderView& header = *list.header();
    QTest::mouseClick(header.viewport(), Qt::LeftButton, {},
                      {header.sectionViewportPosition(1) + 20, header.height() / 2});
    Serve();
    seen.append(list.model()->index(0, 0).data().toString());
    // By number, upward and downward: 21, 80, 443 and not 21, 443, 80.
    const auto sortByNumber = [&] {
      QTest::mouseClick(header.viewport(), Qt::LeftButton, {}, {20, header.height() / 2});
      Serve();
      QStringList numbers;
      for (int row = 0; row < 3; ++row)
        numbers.append(list.model()->index(row, 0).data().toString());
      seen.append(numbers.join(u','));
    };
    sortByNumber();
    sortByNumber();
    ClickRow(list, 1, true);
  });
  Press("cmdPortAdd");
  EXPECT_EQ(seen, (QStringList{QStringLiteral("Port Selection"), QStringLiteral("21|Files"),
                               QStringLiteral("again 21"), QStringLiteral("21"), QStringLiteral("21,80,443"),
                               QStringLiteral("443,80,21")}));
  EXPECT_EQ(port.mintPort, 80);
  EXPECT_TRUE(form.lvwPort.Contains(QStringLiteral("KEY80")));
}

TEST_F(FrmConfigureFaceTest, A_wrong_port_is_refused_and_Escape_cancels) {
  Show();
  QStringList boxes;
  WhenOpen([&](QWidget& dialog) {
    QTest::keyClicks(&FindIn<QLineEdit>(dialog, "txtPort"), QStringLiteral("65536"));
    WhenOpen([&](QWidget& box) {
      boxes.append(dynamic_cast<QMessageBox&>(box).text());
      QTest::keyClick(&box, Qt::Key_Return);
    });
    Press(dialog, "cmdOK");
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_EQ(dialog.focusWidget(), &FindIn<QLineEdit>(dialog, "txtPort"));
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    if (dialog.isVisible()) dialog.close();
  });
  Press("cmdPortAdd");
  EXPECT_EQ(boxes, QStringList{QStringLiteral("The port number must be numeric and less than 65536.")});
  EXPECT_EQ(port.Tag(), QStringLiteral("CANCEL"));
  EXPECT_EQ(form.lvwPort.Count(), 0);
}

TEST_F(FrmConfigureFaceTest, The_port_dialogs_list_takes_the_space_and_the_window_has_a_least_size) {
  Show();
  WhenOpen([&](QWidget& dialog) {
    const auto& list = FindIn<QTreeView>(dialog, "lstDetails");
    const auto& button = FindIn<QPushButton>(dialog, "cmdCancel");
    const QSize before = list.size();
    dialog.resize(dialog.size() + QSize(100, 80));
    Serve();
    EXPECT_EQ(list.size(), before + QSize(100, 80));
    EXPECT_LT(dialog.width() - button.geometry().right(), 20);
    EXPECT_LT(dialog.height() - button.geometry().bottom(), 20);
    dialog.resize(10, 10);
    EXPECT_GE(dialog.width(), 4000 / 15);
    EXPECT_GE(dialog.height(), 3000 / 15);
    Press(dialog, "cmdCancel");
  });
  Press("cmdPortAdd");
}

}  // namespace
}  // namespace veltrane
