#include <gtest/gtest.h>

#include "protocols/ProtocolPassThru.h"
#include "tests/support/DialogFakes.h"
#include "tests/support/RealNet.h"
#include "ui/frmConfigure.h"
#include "ui/frmPort.h"

namespace veltrane {
namespace {

const QString kPassThrough = QStringLiteral("Pass Through");

/// A handler whose property page is a note in the journal.
class PageHandler : public ProtocolPassThru {
 public:
  PageHandler(General& general, Journal& journal, QString name)
      : ProtocolPassThru(general), mJournal(journal), mName(std::move(name)) {}
  QString GetProtocolName() const override { return mName; }
  void ShowProperties(qint32 port, Form* parent) override {
    mJournal.Note(QStringLiteral("page %1 %2 over %3").arg(mName).arg(port).arg(parent->Name()));
    if (OnPage) OnPage();
  }
  std::function<void()> OnPage;

 private:
  Journal& mJournal;
  QString mName;
};

struct FrmConfigureTest : testing::Test {
  FrmConfigureTest() {
    AddHandler(QStringLiteral("HTTP"));
    page = AddHandler(kPassThrough);
    AddPort(25, kDontUse, "SMTP");
    AddPort(1000, kPassThrough, "Apps");
  }
  PageHandler* AddHandler(const QString& name) {
    const auto handler = std::make_shared<PageHandler>(world.mDialogGeneral, world.mJournal, name);
    world.mDialogGeneral.gcolProtocols.Add(handler, name);
    return handler.get();
  }
  void AddPort(qint32 number, const QString& protocol, const char* description) {
    world.AddPort(number, protocol, QLatin1String(description));
    world.AddNode(number, PortNodeText(QLatin1String(description), number, protocol != kDontUse));
  }
  void Show() {
    world.Listen();
    world.mMain.Show();
    form.Show();
    world.mJournal.Take();
  }
  void Select(const char* number) {
    form.lvwPort.ClickItem(form.lvwPort.Item(QStringLiteral("KEY") + QLatin1String(number)));
  }
  /// What frmPort's user does when it opens next.
  void NextAdd(std::function<void(frmPort&)> hand) {
    world.mDesktop.mModalScripts.append([this, hand = std::move(hand)](Form&) { hand(port); });
  }
  void NextAdd(const char* number, const char* description) {
    NextAdd([=](frmPort& dialog) {
      dialog.txtPort.SetText(QLatin1String(number));
      dialog.txtDescription.SetText(QLatin1String(description));
      dialog.cmdOK.Click();
    });
  }
  QStringList Ports() const {
    QStringList rows;
    for (qsizetype i = 1; i <= form.lvwPort.Count(); ++i) {
      const ListItem& item = form.lvwPort.Item(i);
      rows.append(item.Key() + u'|' + item.Text() + u'|' + item.SubItem(1));
    }
    return rows;
  }
  /// The rows of the list of protocols that are ticked.
  QList<int> Ticks() const {
    QList<int> rows;
    for (int i = 0; i < form.lstProtocol.Count(); ++i) {
      if (form.lstProtocol.Ticked(i)) rows.append(i);
    }
    return rows;
  }
  QString Protocol(const char* number) { return world.Get(kProtocols, QLatin1String(number)); }
  QString Description(const char* number) { return world.Get(kPortsInUse, QLatin1String(number)); }
  QString Node(qint32 number) {
    const TreeNode* node = world.mMain.tvwSockets.Find(ProtocolNodeKey(number));
    return node ? node->Text() : QStringLiteral("(none)");
  }
  bool Listens(qint32 number) {
    const auto* found = Sockets().Find(ListeningSocketKey(number));
    return found && (*found)->State() == SocketState::kListening;
  }
  KeyedList<Socket*>& Sockets() { return world.mDialogGeneral.gobjListening->mcolListeningSocket; }

  DialogWorld world;
  PageHandler* page = nullptr;
  frmPort port{world.mDialogGeneral};
  frmConfigure form{world.mDialogGeneral, world.mShell, port};
};

// Loading and looking.

TEST_F(FrmConfigureTest, Loading_shows_the_ports_and_the_protocols_in_their_order) {
  Show();
  EXPECT_EQ(form.Caption(), QStringLiteral("Configure Veltrane"));
  EXPECT_EQ(Ports(), (QStringList{QStringLiteral("KEY25|25|SMTP"), QStringLiteral("KEY1000|1000|Apps")}));
  EXPECT_EQ(form.lvwPort.ColumnHeaders()[0].text, QStringLiteral("Port"));
  EXPECT_EQ(form.lvwPort.ColumnHeaders()[1].text, QStringLiteral("Description"));
  ASSERT_EQ(form.lstProtocol.Count(), 3);
  EXPECT_EQ(form.lstProtocol.Item(0), QStringLiteral("<Don't use>"));
  EXPECT_EQ(form.lstProtocol.Item(1), QStringLiteral("HTTP"));
  EXPECT_EQ(form.lstProtocol.Item(2), QStringLiteral("Pass Through"));
  EXPECT_TRUE(form.chkShowAtStartUp.IsOn());
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmConfigureTest, Loading_and_selecting_write_nothing) {
  const auto before = world.mStore.mRows.size();
  Show();
  world.mStore.mWritesBeforeFailure = 0;
  Select("1000");
  Select("25");
  EXPECT_EQ(world.mStore.mRows.size(), before);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty()) << "a write would have failed";
}

TEST_F(FrmConfigureTest, With_an_empty_table_every_button_but_Add_Close_and_the_box_is_off) {
  world.mStore.mRows.clear();
  Show();
  for (const Control* control : form.Controls()) {
    if (control == &form.lblPort || control == &form.lvwPort) continue;
    const bool isOn =
        control == &form.cmdPortAdd || control == &form.cmdClose || control == &form.chkShowAtStartUp;
    EXPECT_EQ(control->Enabled(), isOn) << control->Name().toStdString();
  }
  EXPECT_EQ(form.lblProtocol.Caption(), QStringLiteral("Protocol assigned to &selected port:"));
  EXPECT_EQ(form.cmdConfigure.Caption(), QStringLiteral("Confi&gure..."));
}

TEST_F(FrmConfigureTest, Selecting_a_port_shows_its_protocol) {
  Show();
  EXPECT_EQ(form.lblProtocol.Caption(), QStringLiteral("Protocol a&ssigned to port 25"));
  EXPECT_EQ(Ticks(), QList<int>{0});
  EXPECT_FALSE(form.cmdConfigure.Enabled());
  Select("1000");
  EXPECT_EQ(form.lblProtocol.Caption(), QStringLiteral("Protocol a&ssigned to port 1000"));
  EXPECT_EQ(Ticks(), QList<int>{2});
  EXPECT_EQ(form.lstProtocol.ListIndex(), 2);
  EXPECT_TRUE(form.cmdConfigure.Enabled());
  EXPECT_EQ(form.cmdConfigure.Caption(), QStringLiteral("Configure Pass Through for port 1000..."));
  EXPECT_FALSE(form.cmdStartListening.Enabled());
}

TEST_F(FrmConfigureTest, The_caption_rule_runs_at_each_activation) {
  Show();
  Select("1000");
  form.cmdConfigure.SetCaption(QStringLiteral("x"));
  form.FaceActivated();
  EXPECT_EQ(form.cmdConfigure.Caption(), QStringLiteral("Configure Pass Through for port 1000..."));
}

TEST_F(FrmConfigureTest, A_port_stopped_by_another_window_shows_as_stopped_when_this_one_is_activated) {
  Show();
  Select("1000");
  world.Save(kProtocols, QStringLiteral("1000"), kDontUse);
  world.mDialogGeneral.gobjListening->CheckListeningStatus(1000);
  form.FaceActivated();
  EXPECT_EQ(Ticks(), QList<int>{0});
  EXPECT_EQ(form.cmdConfigure.Caption(), QStringLiteral("Configure <Don't use> for port 1000..."));
}

TEST_F(FrmConfigureTest, Activating_reports_nothing_and_changes_nothing) {
  Show();
  Select("1000");
  Sockets().Remove(ListeningSocketKey(1000));
  world.mStore.mWritesBeforeFailure = 0;
  form.FaceActivated();
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty()) << "closing the error window activates this one again";
  EXPECT_EQ(Ticks(), QList<int>{2});
}

TEST_F(FrmConfigureTest, A_port_whose_protocol_is_unknown_has_no_tick_and_nothing_to_configure) {
  AddPort(70, QStringLiteral("Gopher"), "Menus");
  Show();
  Select("1000");
  Select("70");
  EXPECT_TRUE(Ticks().isEmpty());
  EXPECT_FALSE(form.cmdStartListening.Enabled());
  EXPECT_FALSE(form.cmdConfigure.Enabled());
  EXPECT_EQ(form.cmdConfigure.Caption(), QStringLiteral("Confi&gure...")) << "not that of the port before";
  form.cmdConfigure.Click();
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmConfigureTest, A_failure_of_the_selection_is_told_in_one_sentence) {
  Show();
  Sockets().Remove(ListeningSocketKey(1000));
  Select("1000");
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to process the port selection.")});
}

TEST_F(FrmConfigureTest, A_port_can_be_selected_before_the_first_show_and_after_an_unload) {
  world.Listen();
  const auto selected = [&] {
    form.SelectPort(QStringLiteral("KEY1000"));
    form.Show();
    return form.lvwPort.SelectedItem()->Text();
  };
  EXPECT_EQ(selected(), QStringLiteral("1000"));
  EXPECT_EQ(Ticks(), QList<int>{2});
  EXPECT_TRUE(form.Unload());
  EXPECT_EQ(selected(), QStringLiteral("1000"));
  EXPECT_EQ(form.lblProtocol.Caption(), QStringLiteral("Protocol a&ssigned to port 1000"));
  world.mDesktop.mBoxAnswers = {BoxAnswer::kYes};
  form.cmdDeletePort.Click();
  EXPECT_EQ(Ports(), QStringList{QStringLiteral("KEY25|25|SMTP")})
      << "Delete hits the port that was asked for";
}

// Protocols.

TEST_F(FrmConfigureTest, Ticking_dont_use_stops_the_port_at_once) {
  Show();
  Select("1000");
  ASSERT_TRUE(Listens(1000));
  form.lstProtocol.SetListIndex(0);
  EXPECT_FALSE(Listens(1000));
  EXPECT_TRUE(Sockets().Contains(ListeningSocketKey(1000)));
  EXPECT_EQ(Protocol("1000"), kDontUse);
  EXPECT_EQ(Description("1000"), QStringLiteral("Apps"));
  EXPECT_EQ(Node(1000), QStringLiteral("Apps (1000) - Not Listening"));
  EXPECT_EQ(Ticks(), QList<int>{0});
  EXPECT_FALSE(form.cmdConfigure.Enabled());
  EXPECT_FALSE(form.cmdStartListening.Enabled());
  EXPECT_EQ(form.cmdConfigure.Caption(), QStringLiteral("Configure <Don't use> for port 1000..."));
}

TEST_F(FrmConfigureTest, Ticking_a_protocol_starts_the_port_at_once) {
  Show();
  Select("25");
  form.lstProtocol.SetListIndex(1);
  EXPECT_TRUE(Listens(25));
  EXPECT_EQ(Protocol("25"), QStringLiteral("HTTP"));
  EXPECT_EQ(Node(25), QStringLiteral("SMTP (25)"));
  EXPECT_EQ(Ticks(), QList<int>{1}) << "one of many";
  EXPECT_TRUE(form.cmdConfigure.Enabled());
  EXPECT_EQ(form.cmdConfigure.Caption(), QStringLiteral("Configure HTTP for port 25..."));
}

TEST_F(FrmConfigureTest, A_click_on_a_row_is_a_tick) {
  Show();
  Select("25");
  form.lstProtocol.SetListIndex(2);
  EXPECT_EQ(Protocol("25"), kPassThrough);
  EXPECT_EQ(Ticks(), QList<int>{2});
  EXPECT_TRUE(Listens(25));
}

TEST_F(FrmConfigureTest, A_tick_is_a_click_on_the_row_at_the_cursor) {
  Show();
  Select("1000");
  form.lstProtocol.SetTicked(1, true);
  EXPECT_EQ(Ticks(), QList<int>{2});
  EXPECT_EQ(Protocol("1000"), kPassThrough);
}

TEST_F(FrmConfigureTest, A_click_on_the_row_that_is_chosen_or_on_its_tick_tries_again_to_listen) {
  Show();
  Select("25");
  world.mSockets.mListenFailure = 10048;
  form.lstProtocol.SetListIndex(2);
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  form.lstProtocol.SetListIndex(2);
  EXPECT_EQ(world.mErrors.mTexts.size(), 2);
  form.lstProtocol.SetTicked(2, false);
  EXPECT_EQ(world.mErrors.mTexts.size(), 3);
  EXPECT_EQ(Ticks(), QList<int>{2});
  world.mSockets.mListenFailure = 0;
  form.lstProtocol.SetListIndex(2);
  EXPECT_TRUE(Listens(25));
  EXPECT_FALSE(form.cmdStartListening.Enabled());
}

TEST_F(FrmConfigureTest, A_tick_that_is_taken_away_comes_back) {
  Show();
  Select("1000");
  form.lstProtocol.SetTicked(2, false);
  EXPECT_EQ(Ticks(), QList<int>{2});
  EXPECT_EQ(Protocol("1000"), kPassThrough);
  EXPECT_TRUE(Listens(1000));
}

TEST_F(FrmConfigureTest,
       A_protocol_on_a_port_that_another_program_holds_gives_the_error_and_the_way_to_retry) {
  Show();
  Select("25");
  world.mSockets.mListenFailure = 10048;
  form.lstProtocol.SetListIndex(2);
  EXPECT_EQ(
      world.mErrors.mTexts,
      QStringList{QStringLiteral(
          "A problem occurred while attempting to listen on port 25. This generally indicates that another "
          "application is already listening on this port.  The operating system reports: 10048, failed "
          "on purpose")});
  EXPECT_TRUE(form.cmdStartListening.Enabled());
  EXPECT_EQ(Protocol("25"), kPassThrough);
  form.cmdStartListening.Click();
  EXPECT_EQ(world.mErrors.mTexts.size(), 2);
  EXPECT_TRUE(form.cmdStartListening.Enabled());
  // The other program has gone.
  world.mSockets.mListenFailure = 0;
  form.cmdStartListening.Click();
  EXPECT_EQ(world.mErrors.mTexts.size(), 2);
  EXPECT_FALSE(form.cmdStartListening.Enabled());
  EXPECT_TRUE(Listens(25));
  EXPECT_EQ(Node(25), QStringLiteral("SMTP (25)"));
}

TEST_F(FrmConfigureTest, A_port_that_was_taken_at_the_start_can_be_started_here) {
  world.mSockets.mListenFailure = 10048;
  Show();
  world.mSockets.mListenFailure = 0;
  Select("25");
  EXPECT_FALSE(form.cmdStartListening.Enabled()) << "it is not to listen";
  Select("1000");
  ASSERT_TRUE(form.cmdStartListening.Enabled());
  form.cmdStartListening.Click();
  EXPECT_TRUE(Listens(1000));
}

TEST_F(FrmConfigureTest, Configure_opens_the_page_of_the_protocol_for_the_port) {
  Show();
  Select("1000");
  form.cmdConfigure.Click();
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("page Pass Through 1000 over frmConfigure"));
}

// Deleting.

TEST_F(FrmConfigureTest, Delete_asks_first_and_No_changes_nothing) {
  Show();
  Select("1000");
  world.mDesktop.mBoxAnswers = {BoxAnswer::kNo};
  form.cmdDeletePort.Click();
  ASSERT_EQ(world.mDesktop.mBoxes.size(), 1);
  const MessageBox& box = world.mDesktop.mBoxes[0];
  EXPECT_EQ(box.text, QStringLiteral("Are you sure you want to remove this port?"));
  EXPECT_EQ(box.icon, BoxIcon::kQuestion);
  EXPECT_EQ(box.buttons, BoxButtons::kYesNo);
  EXPECT_EQ(box.title, QStringLiteral("Veltrane"));
  EXPECT_EQ(form.lvwPort.Count(), 2);
  EXPECT_TRUE(Listens(1000));
  EXPECT_EQ(Protocol("1000"), kPassThrough);
}

TEST_F(FrmConfigureTest, Delete_takes_the_port_out_of_store_sockets_tree_and_list) {
  world.SetDestination(25, QStringLiteral("mail.example"), 25);
  Show();
  Select("25");
  world.mDesktop.mBoxAnswers = {BoxAnswer::kYes};
  form.cmdDeletePort.Click();
  EXPECT_EQ(Protocol("25"), QStringLiteral("(none)"));
  EXPECT_EQ(Description("25"), QStringLiteral("(none)"));
  EXPECT_FALSE(Sockets().Contains(ListeningSocketKey(25)));
  EXPECT_EQ(Node(25), QStringLiteral("(none)"));
  EXPECT_EQ(Ports(), QStringList{QStringLiteral("KEY1000|1000|Apps")});
  EXPECT_EQ(form.lvwPort.SelectedItem()->Text(), QStringLiteral("1000")) << "the last one is selected";
  EXPECT_EQ(Ticks(), QList<int>{2});
  EXPECT_TRUE(form.cmdConfigure.Enabled());
  EXPECT_EQ(world.Get(PortSection(kPassThrough, 25), QStringLiteral("Server")),
            QStringLiteral("mail.example"))
      << "its protocol settings come back into force when it is added again";
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmConfigureTest, Deleting_the_last_port_switches_the_buttons_off) {
  Show();
  world.mDesktop.mBoxAnswers = {BoxAnswer::kYes, BoxAnswer::kYes};
  form.cmdDeletePort.Click();
  form.cmdDeletePort.Click();
  EXPECT_EQ(form.lvwPort.Count(), 0);
  EXPECT_FALSE(form.cmdDeletePort.Enabled());
  EXPECT_FALSE(form.cmdConfigure.Enabled());
  EXPECT_FALSE(form.lstProtocol.Enabled());
  EXPECT_FALSE(form.lblProtocol.Enabled());
  EXPECT_FALSE(form.cmdStartListening.Enabled());
  EXPECT_EQ(form.cmdConfigure.Caption(), QStringLiteral("Confi&gure..."));
  EXPECT_TRUE(form.cmdPortAdd.Enabled());
}

// Adding.

TEST_F(FrmConfigureTest, A_new_port_is_selected_and_does_not_listen_until_it_gets_a_protocol) {
  Show();
  Select("1000");
  NextAdd("8081", "Test web");
  form.cmdPortAdd.Click();
  EXPECT_TRUE(world.mJournal.lines.contains(QStringLiteral("show modal frmPort over frmConfigure")));
  EXPECT_EQ(Ports().last(), QStringLiteral("KEY8081|8081|Test web"));
  EXPECT_EQ(form.lvwPort.SelectedItem()->Text(), QStringLiteral("8081"));
  EXPECT_EQ(form.lblProtocol.Caption(), QStringLiteral("Protocol a&ssigned to port 8081"));
  EXPECT_EQ(Ticks(), QList<int>{0});
  EXPECT_EQ(Protocol("8081"), kDontUse);
  EXPECT_EQ(Description("8081"), QStringLiteral("Test web"));
  EXPECT_EQ(Node(8081), QStringLiteral("Test web (8081) - Not Listening"));
  EXPECT_TRUE(Sockets().Contains(ListeningSocketKey(8081)));
  EXPECT_FALSE(Listens(8081));
  EXPECT_FALSE(form.cmdConfigure.Enabled()) << "without a protocol there is nothing to configure";
  EXPECT_EQ(form.cmdConfigure.Caption(), QStringLiteral("Configure <Don't use> for port 8081..."));
  form.lstProtocol.SetListIndex(1);
  EXPECT_TRUE(form.cmdConfigure.Enabled());
  EXPECT_TRUE(Listens(8081));
  EXPECT_EQ(Node(8081), QStringLiteral("Test web (8081)"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmConfigureTest, A_port_with_an_empty_description_is_called_by_its_number) {
  Show();
  NextAdd("8081", "");
  form.cmdPortAdd.Click();
  EXPECT_EQ(Description("8081"), QStringLiteral("Port 8081"));
  EXPECT_EQ(Ports().last(), QStringLiteral("KEY8081|8081|Port 8081"));
  EXPECT_EQ(Node(8081), QStringLiteral("Port 8081 (8081) - Not Listening"));
}

TEST_F(FrmConfigureTest, Adding_to_an_empty_table_switches_the_buttons_on) {
  world.mStore.mRows.clear();
  Show();
  NextAdd("8081", "x");
  form.cmdPortAdd.Click();
  EXPECT_TRUE(form.cmdDeletePort.Enabled());
  EXPECT_TRUE(form.lstProtocol.Enabled());
  EXPECT_TRUE(form.lblProtocol.Enabled());
}

TEST_F(FrmConfigureTest, Port_80_from_the_list_and_then_changed_by_hand_counts_as_typed) {
  Show();
  NextAdd([](frmPort& dialog) {
    ListItem& item = dialog.lstDetails.Add(QStringLiteral("ROW80"), QStringLiteral("80"));
    item.SetSubItem(1, QStringLiteral("Web"));
    dialog.lstDetails.ClickItem(item);
    dialog.txtPort.SetText(QStringLiteral("8088"));
    dialog.cmdOK.Click();
  });
  form.cmdPortAdd.Click();
  EXPECT_EQ(Ports().last(), QStringLiteral("KEY8088|8088|Web"));
  EXPECT_FALSE(Sockets().Contains(ListeningSocketKey(80)));
}

TEST_F(FrmConfigureTest, Adding_a_port_that_is_there_stops_it_and_leaves_its_item) {
  Show();
  Select("1000");
  NextAdd("1000", "Other");
  form.cmdPortAdd.Click();
  EXPECT_FALSE(Listens(1000));
  EXPECT_EQ(Protocol("1000"), kDontUse);
  EXPECT_EQ(Description("1000"), QStringLiteral("Other"));
  EXPECT_EQ(form.lvwPort.Count(), 2);
  EXPECT_EQ(Ports().last(), QStringLiteral("KEY1000|1000|Apps"));
  EXPECT_EQ(Ticks(), QList<int>{0}) << "what is shown is what holds";
}

TEST_F(FrmConfigureTest, Adding_a_port_that_is_there_with_no_description_stores_none) {
  Show();
  NextAdd("1000", "");
  form.cmdPortAdd.Click();
  EXPECT_EQ(Description("1000"), QString()) << "only a new port is called by its number";
  EXPECT_EQ(Ports().last(), QStringLiteral("KEY1000|1000|Apps"));
}

TEST_F(FrmConfigureTest, One_cancelled_add_ends_all_later_ones_of_the_run) {
  Show();
  NextAdd([](frmPort& dialog) { dialog.cmdCancel.Click(); });
  form.cmdPortAdd.Click();
  EXPECT_EQ(form.lvwPort.Count(), 2);
  NextAdd("8081", "x");
  form.cmdPortAdd.Click();
  EXPECT_EQ(form.lvwPort.Count(), 2);
  EXPECT_EQ(Protocol("8081"), QStringLiteral("(none)"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty()) << "no other sign";
}

TEST_F(FrmConfigureTest, The_dialog_is_top_most_when_the_main_window_is) {
  Show();
  world.mMain.mKeepOnTop = true;
  NextAdd("8081", "x");
  form.cmdPortAdd.Click();
  const qsizetype topMost = world.mJournal.lines.indexOf(QStringLiteral("top-most frmPort"));
  EXPECT_GE(topMost, 0);
  EXPECT_GT(world.mJournal.lines.indexOf(QStringLiteral("show modal frmPort over frmConfigure")), topMost);
}

TEST_F(FrmConfigureTest, A_second_press_of_Add_while_the_dialog_loads_opens_no_second_one) {
  Show();
  world.mDesktop.OnDoEvents = [&] { form.cmdPortAdd.Click(); };
  NextAdd("8081", "x");
  form.cmdPortAdd.Click();
  EXPECT_EQ(world.mJournal.lines.filter(QStringLiteral("show modal")).size(), 1);
  EXPECT_EQ(form.lvwPort.Count(), 3);
  world.mDesktop.OnDoEvents = nullptr;
  NextAdd("8082", "y");
  form.cmdPortAdd.Click();
  EXPECT_EQ(form.lvwPort.Count(), 4) << "the next one is a new add";
}

TEST_F(FrmConfigureTest, Zero_and_negative_ports_are_rows_like_others) {
  Show();
  NextAdd("-5", "minus");
  form.cmdPortAdd.Click();
  EXPECT_EQ(Ports().last(), QStringLiteral("KEY-5|-5|minus"));
  world.mDesktop.mBoxAnswers = {BoxAnswer::kYes};
  form.cmdDeletePort.Click();
  EXPECT_EQ(Protocol("-5"), QStringLiteral("(none)"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

// Closing.

TEST_F(FrmConfigureTest, Close_makes_the_list_the_master_of_the_section_and_hides) {
  Show();
  world.Save(kPortsInUse, QStringLiteral("4711"), QStringLiteral("put there by another program"));
  world.Save(kPortsInUse, QStringLiteral("25"), QStringLiteral("changed"));
  form.chkShowAtStartUp.SetValue(0);
  form.cmdClose.Click();
  EXPECT_EQ(Description("4711"), QStringLiteral("(none)"));
  EXPECT_EQ(Description("25"), QStringLiteral("SMTP"));
  EXPECT_EQ(Description("1000"), QStringLiteral("Apps"));
  EXPECT_EQ(world.Get(QStringLiteral("Options"), QStringLiteral("ShowConfigAtStartUp")), QStringLiteral("0"));
  EXPECT_FALSE(form.Visible());
  EXPECT_TRUE(form.IsLoaded());
  EXPECT_EQ(world.mJournal.lines.mid(world.mJournal.lines.size() - 2),
            (QStringList{QStringLiteral("hide frmConfigure"), QStringLiteral("to front frmMain")}));
}

TEST_F(FrmConfigureTest, Close_leaves_a_minimised_main_window_where_it_is) {
  Show();
  world.mMain.SetState(WindowState::kMinimized);
  form.cmdClose.Click();
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("hide frmConfigure"));
}

TEST_F(FrmConfigureTest, Unloading_saves_as_Close_does_and_the_next_show_loads_afresh) {
  Show();
  form.chkShowAtStartUp.SetValue(0);
  EXPECT_TRUE(form.Unload());
  EXPECT_FALSE(form.IsLoaded());
  EXPECT_EQ(world.Get(QStringLiteral("Options"), QStringLiteral("ShowConfigAtStartUp")), QStringLiteral("0"));
  AddPort(70, kDontUse, "Menus");
  form.Show();
  EXPECT_EQ(form.lvwPort.Count(), 3);
  EXPECT_EQ(form.lstProtocol.Count(), 3) << "not twice";
  EXPECT_FALSE(form.chkShowAtStartUp.IsOn());
}

TEST_F(FrmConfigureTest, An_ephemeral_port_is_neither_shown_nor_deleted_at_closing) {
  AddPort(3000, kEphemeralProtocol, "FTP Data - Dynamically allocated");
  Show();
  EXPECT_FALSE(form.lvwPort.Contains(QStringLiteral("KEY3000")));
  form.cmdClose.Click();
  EXPECT_EQ(Description("3000"), kEphemeralProtocol);
  EXPECT_EQ(Protocol("3000"), kEphemeralProtocol);
}

TEST_F(FrmConfigureTest, A_row_that_only_speaks_of_an_ephemeral_port_is_not_shown_and_goes_at_closing) {
  world.Save(kPortsInUse, QStringLiteral("3000"), QStringLiteral("x ftp data - DYNAMICALLY ALLOCATED"));
  Show();
  EXPECT_EQ(form.lvwPort.Count(), 2);
  form.cmdClose.Click();
  EXPECT_EQ(Description("3000"), QStringLiteral("(none)"));
}

TEST_F(FrmConfigureTest, An_ephemeral_port_that_appears_while_it_is_open_survives_it) {
  Show();
  AddPort(3001, kEphemeralProtocol, "FTP Data - Dynamically allocated");
  world.mDialogGeneral.gobjListening->CreateNewSocket(3001, kEphemeralProtocol);
  world.mDialogGeneral.gobjListening->CheckListeningStatus(3001);
  ASSERT_TRUE(Listens(3001));
  Select("1000");
  form.lstProtocol.SetListIndex(0);
  form.cmdClose.Click();
  EXPECT_EQ(Description("3001"), kEphemeralProtocol);
  EXPECT_TRUE(Listens(3001));
  EXPECT_EQ(Ports().size(), 2);
}

TEST_F(FrmConfigureTest, A_store_that_fails_half_way_through_closing_loses_no_port) {
  Show();
  NextAdd("8081", "new");
  form.cmdPortAdd.Click();
  world.mStore.mWritesBeforeFailure = 0;
  form.cmdClose.Click();
  EXPECT_FALSE(form.Visible());
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].startsWith(
      QStringLiteral("An error occurred while attempting to save the list of ports.  The operating system "
                     "reports: ")));
  world.mStore.mWritesBeforeFailure = -1;
  EXPECT_EQ(Description("25"), QStringLiteral("SMTP"));
  EXPECT_EQ(Description("1000"), QStringLiteral("Apps"));
  EXPECT_EQ(Description("8081"), QStringLiteral("new"));
}

TEST_F(FrmConfigureTest, A_table_that_could_not_be_read_is_not_overwritten_by_an_empty_list) {
  world.Listen();
  world.mStore.mFailReads = true;
  EXPECT_THROW(form.Show(), Failure);
  world.mStore.mFailReads = false;
  form.Unload();
  EXPECT_EQ(Description("25"), QStringLiteral("SMTP"));
  EXPECT_EQ(Description("1000"), QStringLiteral("Apps"));
}

TEST_F(FrmConfigureTest, A_table_that_could_not_be_read_is_read_at_the_next_show) {
  world.Listen();
  world.mStore.mFailReads = true;
  EXPECT_THROW(form.Show(), Failure);
  world.mStore.mFailReads = false;
  form.Show();
  EXPECT_EQ(form.lvwPort.Count(), 2);
  EXPECT_EQ(form.lstProtocol.Count(), 3);
}

// Two at work on the same thing.

TEST_F(FrmConfigureTest, A_port_deleted_while_its_property_page_is_open_hurts_nobody) {
  Show();
  Select("1000");
  page->OnPage = [&] {
    // As by another window: the rows, the socket and the node go.
    world.mDialogGeneral.mSettings.Delete(kProtocols, QStringLiteral("1000"));
    world.mDialogGeneral.mSettings.Delete(kPortsInUse, QStringLiteral("1000"));
    world.mDialogGeneral.gobjListening->CheckListeningStatus(1000);
    world.mMain.tvwSockets.Remove(ProtocolNodeKey(1000));
  };
  form.cmdConfigure.Click();
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  // Deleting it here too takes what is left.
  world.mDesktop.mBoxAnswers = {BoxAnswer::kYes};
  form.cmdDeletePort.Click();
  EXPECT_EQ(Ports(), QStringList{QStringLiteral("KEY25|25|SMTP")});
  form.cmdClose.Click();
  EXPECT_EQ(Description("25"), QStringLiteral("SMTP"));
  EXPECT_EQ(Description("1000"), QStringLiteral("(none)"));
}

TEST_F(FrmConfigureTest, A_port_deleted_from_the_list_while_its_property_page_is_open_hurts_nobody) {
  Show();
  Select("1000");
  world.mDesktop.mBoxAnswers = {BoxAnswer::kYes};
  page->OnPage = [&] {
    form.cmdDeletePort.Click();
    // The page's OK writes behind it.
    world.SetDestination(1000, QStringLiteral("host.example"), 7);
  };
  form.cmdConfigure.Click();
  EXPECT_EQ(Ports(), QStringList{QStringLiteral("KEY25|25|SMTP")});
  EXPECT_EQ(world.Get(PortSection(kPassThrough, 1000), QStringLiteral("Server")),
            QStringLiteral("host.example"));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmConfigureTest, A_port_stopped_elsewhere_shows_as_stopped_at_the_next_click) {
  Show();
  Select("1000");
  world.Save(kProtocols, QStringLiteral("1000"), kDontUse);
  world.mDialogGeneral.gobjListening->CheckListeningStatus(1000);
  Select("1000");
  EXPECT_EQ(Ticks(), QList<int>{0});
}

TEST_F(FrmConfigureTest, The_end_of_the_program_behind_an_open_box_adds_and_deletes_nothing) {
  Show();
  const std::shared_ptr<Listening> listening = world.mDialogGeneral.gobjListening;
  NextAdd([&](frmPort& dialog) {
    world.mDialogGeneral.gobjListening.reset();
    dialog.Unload();
  });
  form.cmdPortAdd.Click();
  EXPECT_EQ(form.lvwPort.Count(), 2);
  EXPECT_EQ(Protocol("0"), QStringLiteral("(none)"));
  world.mDialogGeneral.gobjListening = listening;
  world.mDesktop.OnBox = [&](const MessageBox&) { world.mDialogGeneral.gobjListening.reset(); };
  world.mDesktop.mBoxAnswers = {BoxAnswer::kYes};
  form.cmdDeletePort.Click();
  EXPECT_EQ(form.lvwPort.Count(), 2);
  EXPECT_EQ(Protocol("25"), kDontUse);
}

// On the wire.

TEST(FrmConfigureTrafficTest, Every_step_of_a_ports_life_is_on_the_wire_at_once) {
  RealNet net;
  DialogWorld world(nullptr, &net.Sockets());
  General& general = world.mDialogGeneral;
  const auto handler = std::make_shared<ProtocolPassThru>(general);
  general.gcolProtocols.Add(handler, handler->GetProtocolName());
  general.gobjListening = std::make_shared<Listening>(general);
  frmPort port(general);
  frmConfigure form(general, world.mShell, port);
  form.Show();
  const std::unique_ptr<PeerListener> server = net.Listen();
  const qint32 number = net.DeadPort();
  // A client gets through to the server, or is refused.
  const auto getsThrough = [&] {
    const std::unique_ptr<Peer> client = net.ConnectTo(number);
    std::unique_ptr<Peer> accepted;
    client->Send("hello");
    net.Pump([&] {
      if (!accepted) accepted = server->Accept();
      return client->SawEnd() || (accepted && accepted->Received() == "hello");
    });
    return accepted && accepted->Received() == "hello";
  };
  world.SetDestination(number, QStringLiteral("127.0.0.1"), server->Port());
  world.mDesktop.mModalScripts.append([&](Form&) {
    port.txtPort.SetText(QString::number(number));
    port.cmdOK.Click();
  });
  form.cmdPortAdd.Click();
  EXPECT_FALSE(getsThrough()) << "a new port does not listen";
  form.lstProtocol.SetListIndex(1);
  EXPECT_TRUE(getsThrough());
  form.lstProtocol.SetListIndex(0);
  EXPECT_FALSE(getsThrough());
  form.lstProtocol.SetListIndex(1);
  EXPECT_TRUE(getsThrough());
  world.mDesktop.mBoxAnswers = {BoxAnswer::kYes};
  form.cmdDeletePort.Click();
  EXPECT_FALSE(getsThrough());
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty()) << world.mErrors.mTexts.join(u'\n').toStdString();
  general.gobjListening->DeInitaliseListeningSockets();
}

}  // namespace
}  // namespace veltrane
