#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include "tests/support/DialogFakes.h"
#include "ui/PortList.h"
#include "ui/frmPort.h"

namespace veltrane {
namespace {

struct FrmPortTest : testing::Test {
  FrmPortTest() { world.Listen(); }
  QStringList Rows() const {
    QStringList rows;
    for (qsizetype i = 1; i <= form.lstDetails.Count(); ++i) {
      const ListItem& item = form.lstDetails.Item(i);
      rows.append(item.ColumnText(0) + u'|' + item.ColumnText(1));
    }
    return rows;
  }
  /// The user enters a port and confirms it.
  void Enter(const char* port, const char* description = "") {
    form.txtPort.SetText(QLatin1String(port));
    form.txtDescription.SetText(QLatin1String(description));
    form.cmdOK.Click();
  }

  DialogWorld world;
  frmPort form{world.mDialogGeneral};
};

TEST_F(FrmPortTest, Loading_yields_once_sets_the_columns_and_reads_the_list) {
  form.Load();
  EXPECT_EQ(form.Caption(), QStringLiteral("Port Selection"));
  EXPECT_EQ(world.mJournal.lines.count(QStringLiteral("yield")), 1);
  ASSERT_EQ(form.lstDetails.ColumnHeaders().size(), 2);
  EXPECT_EQ(form.lstDetails.ColumnHeaders()[0].text, QStringLiteral("Port Number"));
  EXPECT_EQ(form.lstDetails.ColumnHeaders()[1].text, QStringLiteral("Description"));
  EXPECT_EQ(Rows(), (QStringList{QStringLiteral("80|Web"), QStringLiteral("21|Files"),
                                 QStringLiteral("443|Secure web")}));
}

TEST_F(FrmPortTest, A_missing_list_is_reported_and_the_dialog_works_by_hand) {
  QFile::remove(world.PortListPath());
  form.Show();
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to retrieve the port information "
                                       "from the file located at ") +
                        world.PortListPath() +
                        QStringLiteral(". The operating system reports: 53, File not found")});
  Enter("5000", "By hand");
  EXPECT_EQ(form.mintPort, 5000);
  EXPECT_FALSE(form.Visible());
}

TEST_F(FrmPortTest, A_list_that_is_a_folder_is_reported) {
  QFile::remove(world.PortListPath());
  ASSERT_TRUE(QDir().mkdir(world.PortListPath()));
  form.Load();
  ASSERT_EQ(world.mErrors.mTexts.size(), 1);
  EXPECT_TRUE(world.mErrors.mTexts[0].contains(QStringLiteral(". The operating system reports: 70, ")));
}

TEST_F(FrmPortTest, A_click_copies_the_row_and_the_typed_port_counts) {
  form.Show();
  form.lstDetails.ClickItem(form.lstDetails.Item(1));
  EXPECT_EQ(form.txtPort.Text(), QStringLiteral("80"));
  EXPECT_EQ(form.txtDescription.Text(), QStringLiteral("Web"));
  // Port 80 chosen from the list and then changed by hand.
  form.txtPort.SetText(QStringLiteral("8081"));
  form.cmdOK.Click();
  EXPECT_EQ(form.mintPort, 8081);
  EXPECT_EQ(form.mstrDescription, QStringLiteral("Web"));
  EXPECT_EQ(form.Tag(), QString());
}

TEST_F(FrmPortTest, A_double_click_is_OK) {
  form.Show();
  form.lstDetails.ClickItem(form.lstDetails.Item(3));
  form.lstDetails.DoubleClick();
  EXPECT_EQ(form.mintPort, 443);
  EXPECT_FALSE(form.Visible());
}

TEST_F(FrmPortTest, A_column_header_sorts_and_a_second_click_turns_the_order_round) {
  form.Load();
  EXPECT_FALSE(form.lstDetails.Sorted());
  form.lstDetails.ClickColumn(2);
  EXPECT_TRUE(form.lstDetails.Sorted());
  EXPECT_EQ(form.lstDetails.SortKey(), 1);
  EXPECT_EQ(form.lstDetails.SortOrder(), 0);
  form.lstDetails.ClickColumn(2);
  EXPECT_EQ(form.lstDetails.SortOrder(), 1);
  form.lstDetails.ClickColumn(1);
  EXPECT_EQ(form.lstDetails.SortKey(), 0);
  EXPECT_EQ(form.lstDetails.SortOrder(), 0) << "another column begins anew";
}

TEST_F(FrmPortTest, An_empty_port_is_a_cancel_for_good) {
  form.Show();
  Enter("");
  EXPECT_EQ(form.Tag(), QStringLiteral("CANCEL"));
  EXPECT_FALSE(form.Visible());
  form.Show();
  Enter("81");
  EXPECT_EQ(form.mintPort, 81);
  EXPECT_EQ(form.Tag(), QStringLiteral("CANCEL")) << "nothing clears it";
}

TEST_F(FrmPortTest, Cancel_hides_and_keeps_the_texts) {
  form.Show();
  form.txtPort.SetText(QStringLiteral("81"));
  form.cmdCancel.Click();
  EXPECT_EQ(form.Tag(), QStringLiteral("CANCEL"));
  EXPECT_FALSE(form.Visible());
  EXPECT_EQ(form.txtPort.Text(), QStringLiteral("81"));
  EXPECT_TRUE(form.IsLoaded());
}

TEST_F(FrmPortTest, A_port_that_is_no_number_or_too_large_is_refused_and_the_dialog_stays) {
  form.Show();
  bool focused = false;
  QObject::connect(&form.txtPort, &Control::FocusAsked, &form, [&] { focused = true; });
  for (const char* port : {"http", "65536", "80a", " ", "1e9", "1e999", "-1e999", "-3e9"}) {
    focused = false;
    Enter(port);
    EXPECT_TRUE(focused) << port;
    EXPECT_TRUE(form.Visible()) << port;
  }
  ASSERT_EQ(world.mDesktop.mBoxes.size(), 8);
  const MessageBox& box = world.mDesktop.mBoxes[0];
  EXPECT_EQ(box.text, QStringLiteral("The port number must be numeric and less than 65536."));
  EXPECT_EQ(box.icon, BoxIcon::kExclamation);
  EXPECT_EQ(box.title, QStringLiteral("Veltrane"));
  EXPECT_EQ(form.Tag(), QString());
}

TEST_F(FrmPortTest, Zero_negative_and_broken_numbers_pass) {
  const struct {
    const char* text;
    qint32 port;
  } rows[] = {{"0", 0}, {"-5", -5}, {"65535", 65535}, {" 80 ", 80}, {"80.5", 80}, {"+81", 81}};
  for (const auto& row : rows) {
    form.Show();
    Enter(row.text);
    EXPECT_EQ(form.mintPort, row.port) << row.text;
    EXPECT_FALSE(form.Visible()) << row.text;
  }
}

TEST_F(FrmPortTest, Closing_the_frame_backs_out_and_keeps_the_window) {
  form.Show();
  EXPECT_FALSE(form.Unload());
  EXPECT_EQ(form.Tag(), QStringLiteral("CANCEL"));
  EXPECT_TRUE(form.IsLoaded());
  world.mDialogGeneral.gobjListening.reset();
  EXPECT_TRUE(form.Unload());
}

TEST_F(FrmPortTest, It_cannot_get_smaller_than_4000_by_3000) {
  form.Load();
  form.FaceResized({150, 150, 3000, 2000}, 3000, 2000);
  EXPECT_EQ(form.Geometry(), (Rect{150, 150, 4000, 3000}));
  form.FaceResized({150, 150, 5000, 2000}, 5000, 2000);
  EXPECT_EQ(form.Geometry(), (Rect{150, 150, 5000, 3000}));
  form.FaceResized({150, 150, 6000, 7000}, 6000, 7000);
  EXPECT_EQ(form.Geometry(), (Rect{150, 150, 6000, 7000}));
}

// The reader.

using Ports = QList<WellKnownPort>;

TEST(PortListTest, Fields_stand_in_quotes_or_not) {
  EXPECT_EQ(
      ParsePortList("80,Web\n\"21\",\"Files\"\n 25 , Mail \n"),
      (Ports{{80, QStringLiteral("Web")}, {21, QStringLiteral("Files")}, {25, QStringLiteral("Mail")}}));
}

TEST(PortListTest, Commas_and_quotes_can_stand_in_a_description) {
  EXPECT_EQ(ParsePortList("1,\"a, b\"\n2,c, d\n3,\"say \"\"x\"\"\"\n4,it's \"so\"\n"),
            (Ports{{1, QStringLiteral("a, b")},
                   {2, QStringLiteral("c, d")},
                   {3, QStringLiteral("say \"x\"")},
                   {4, QStringLiteral("it's \"so\"")}}));
}

TEST(PortListTest, Every_kind_of_line_end_ends_a_record_and_the_last_needs_none) {
  EXPECT_EQ(ParsePortList("1,a\r\n2,b\r3,c\n\n4,d"), (Ports{{1, QStringLiteral("a")},
                                                            {2, QStringLiteral("b")},
                                                            {3, QStringLiteral("c")},
                                                            {4, QStringLiteral("d")}}));
}

TEST(PortListTest, Odd_lines_cost_themselves_alone) {
  EXPECT_EQ(
      ParsePortList("# comment\nport,description\n\n,\n,x\n-1,x\n65536,x\n99999999999999,x\n1.5,x\n7,ok\n"),
      (Ports{{7, QStringLiteral("ok")}}));
  EXPECT_EQ(ParsePortList("7\n8,\n\"9\"\n10,\"open\n11,\"shut\",more\n"),
            (Ports{{7, {}}, {8, {}}, {9, {}}, {10, QStringLiteral("open")}, {11, QStringLiteral("shut")}}));
  EXPECT_TRUE(ParsePortList({}).isEmpty());
  EXPECT_TRUE(ParsePortList("\"").isEmpty());
  EXPECT_TRUE(ParsePortList(QByteArray(100000, '"')).isEmpty());
}

TEST(PortListTest, Text_is_UTF_8_and_where_it_cannot_be_Latin_1) {
  EXPECT_EQ(ParsePortList("\xef\xbb\xbf"
                          "1,f\xc3\xbcr"),
            (Ports{{1, QStringLiteral("für")}}));
  EXPECT_EQ(ParsePortList("1,f\xfcr"), (Ports{{1, QStringLiteral("für")}}));
}

TEST(PortListTest, The_delivered_list_is_read_whole) {
  QFile file(QStringLiteral(VELTRANE_SOURCE_FOLDER "/PORTS.TXT"));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QByteArray bytes = file.readAll();
  const Ports ports = ParsePortList(bytes);
  EXPECT_EQ(ports.size(), bytes.count('\n')) << "every line is a record";
  EXPECT_GE(ports.size(), 200);
  for (qsizetype i = 1; i < ports.size(); ++i)
    EXPECT_LT(ports[i - 1].port, ports[i].port) << "in order, none twice";
  for (const WellKnownPort& port : ports)
    EXPECT_FALSE(port.description.isEmpty()) << port.port;
  const auto has = [&](qint32 port, const char* word) {
    return std::any_of(ports.begin(), ports.end(), [&](const WellKnownPort& row) {
      return row.port == port && row.description.startsWith(QLatin1String(word));
    });
  };
  EXPECT_TRUE(has(80, "HTTP"));
  EXPECT_TRUE(has(25, "SMTP"));
  EXPECT_TRUE(has(993, "IMAPS"));
  EXPECT_FALSE(has(782, "")) << "nobody has been given that number";
}

}  // namespace
}  // namespace veltrane
