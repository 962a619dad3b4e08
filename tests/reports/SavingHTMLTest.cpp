// The report: its pages byte for byte, where they go, and its pictures.
#include <sys/stat.h>
#include <unistd.h>

#include "reports/SavingHTML.h"
#include "tests/reports/ReportSupport.h"

namespace veltrane {
namespace {

const QString kPageMessage =
    QStringLiteral("An error occurred attempting to create the HTML file. The operating system reports: ");

QByteArray Golden(const char* name) {
  return ReadFile(QStringLiteral(VELTRANE_GOLDEN "/") + QLatin1String(name));
}

struct SavingHTMLTest : ReportTest {
  SavingHTMLTest() {
    form.Load();
    QDir(world.mProgramFolder.path()).mkdir(QStringLiteral("Images"));
    PutFile(Picture("One.gif"), "first");
    PutFile(Picture("Two.GIF"), "second");
    PutFile(Picture("Note.txt"), "no picture");
  }
  QString Picture(const char* name) {
    return world.mProgramFolder.filePath(QStringLiteral("Images/") + QLatin1String(name));
  }
  bool Save(const QString& path) { return SaveHTMLFile(world.mOwn, form, path, *history); }
  QByteArray SaveReport() {
    EXPECT_TRUE(Save(Path(QStringLiteral("Report.htm"))));
    EXPECT_EQ(Errors(), QStringList());
    return ReadFile(Path(QStringLiteral("Report.htm")));
  }
  QByteArray EventPage(int position) {
    return ReadFile(Path(QStringLiteral("Report/Event%1.htm").arg(position)));
  }
  QStringList Names(const QString& path) {
    QStringList names = QDir(path).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    names.sort();
    return names;
  }
};

// The path.

TEST(SplitReportPathTest, Table) {
  const struct {
    const char* file;
    const char* subFolder;
    const char* folder;
    const char* folderName;
  } rows[] = {
      {"/home/user/Log.htm", "/home/user/Log", "/home/user", "Log"},
      {"/home/user/my log.html", "/home/user/my log", "/home/user", "my log"},
      {"/home/user/a.b.htm", "/home/user/a", "/home/user", "a"},
      // The first dot of the whole path, also one in a folder's name.
      {"/data/v1.2/runs/Log.htm", "/data/v1", "/data/v1.2/runs", "v1"},
      {"/data/v1.2/Log", "/data/v1", "/data/v1.2", "v1"},
      {"/home/user/.cache/Log.htm", "/home/user/", "/home/user/.cache", ""},
      {"/Log.htm", "/Log", "", "Log"},
      {"Log.htm", "Log", ".", "Log"},
      {"runs/Log.htm", "runs/Log", "runs", "Log"},
      {"./Log.htm", "", ".", ""},
      // A backslash is a letter here.
      {"/home/a\\b.htm", "/home/a\\b", "/home", "a\\b"},
      // No dot.
      {"/home/user/Log", "", "", ""},
      {"", "", "", ""},
  };
  for (const auto& row : rows) {
    const ReportPath path = SplitReportPath(QString::fromLatin1(row.file));
    EXPECT_EQ(path.subFolder, QLatin1String(row.subFolder)) << row.file;
    EXPECT_EQ(path.folder, QLatin1String(row.folder)) << row.file;
    EXPECT_EQ(path.folderName, QLatin1String(row.folderName)) << row.file;
  }
}

TEST(SplitReportPathTest, Pages_of_events_are_numbered_in_the_sub_folder) {
  EXPECT_EQ(EventPagePath(QStringLiteral("/home/Log"), 12), QStringLiteral("/home/Log/Event12.htm"));
  EXPECT_EQ(EventPagePath(QString(), 1), QStringLiteral("/Event1.htm"));
}

TEST_F(SavingHTMLTest, A_dot_in_a_folders_name_takes_the_pages_there_and_leaves_the_images_with_the_file) {
  Add(9, "A");
  ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("v1.2")));
  ASSERT_TRUE(Save(Path(QStringLiteral("v1.2/Log.htm"))));
  EXPECT_EQ(Names(folder.path()), (QStringList{QStringLiteral("v1"), QStringLiteral("v1.2")}));
  EXPECT_EQ(Names(Path(QStringLiteral("v1"))), QStringList{QStringLiteral("Event1.htm")});
  EXPECT_EQ(Names(Path(QStringLiteral("v1.2"))),
            (QStringList{QStringLiteral("Images"), QStringLiteral("Log.htm"), QStringLiteral("images")}));
  EXPECT_TRUE(ReadFile(Path(QStringLiteral("v1.2/Log.htm"))).contains("window.open('v1/Event1.htm'"));
}

// The page.

TEST_F(SavingHTMLTest, All_25_kinds_are_drawn_as_in_the_golden_file) {
  AddAllKinds("x");
  EXPECT_EQ(SaveReport(), Golden("AllKinds.htm"));
}

TEST_F(SavingHTMLTest, Events_that_follow_on_are_drawn_as_in_the_golden_file) {
  const struct {
    int kind;
    bool followOn;
  } events[] = {{0, true},   {2, false}, {4, false},  {16, true}, {17, false}, {9, true},
                {14, false}, {16, true}, {10, false}, {9, true},  {12, false}, {19, true},
                {20, false}, {23, true}, {24, false}, {6, true},  {8, false},  {16, true}};
  for (const auto& event : events)
    Add(event.kind, {}, event.followOn);
  EXPECT_EQ(SaveReport(), Golden("FollowOn.htm"));
}

TEST_F(SavingHTMLTest, A_history_with_one_event_is_one_block_and_one_page) {
  Add(9, "A");
  const QByteArray page = SaveReport();
  // The head and two rows.
  EXPECT_EQ(page.count("<tr>"), 3);
  EXPECT_EQ(Names(Path(QStringLiteral("Report"))), QStringList{QStringLiteral("Event1.htm")});
}

TEST_F(SavingHTMLTest, A_history_without_events_is_a_head_and_a_foot) {
  EXPECT_EQ(SaveReport(),
            "<html><head></head><body>\r\n"
            "<table cellspacing=5 cellpadding=5 border=0>\r\n<tr>\r\n"
            "<td align=center valign=top><h2>Remote Client</h2></td>\r\n<td></td>\r\n"
            "<td align=center valign=top><h2>VLT</h2>Listening on port 8080</td>\r\n<td></td>\r\n"
            "<td align=center valign=top><h2>Remote Server</h2></td>\r\n</tr>\r\n"
            "</table><p align=right>Generated by <a href='https://veltrane.example/'>Veltrane</a><br>"
            "09 Mar 2026 07:05:03</p></body></html>\r\n\r\n");
}

TEST_F(SavingHTMLTest, Data_that_crosses_the_proxy_is_one_block_and_the_next_event_follows_it) {
  Add(16, "A", true);
  Add(17, "A");
  Add(5);
  const QByteArray page = SaveReport();
  EXPECT_EQ(page.count("<tr>"), 5);
  const qsizetype second = page.indexOf("<tr>", page.indexOf("Event2.htm',null"));
  const QByteArray block = page.left(page.indexOf("10:00:00.002"));
  EXPECT_EQ(block.count("C2SData.gif"), 2);
  EXPECT_TRUE(block.contains("10:00:00.000, <b>Event of kind 16</b>"));
  EXPECT_TRUE(block.contains("10:00:00.001, <b>Event of kind 17</b>"));
  EXPECT_TRUE(page.mid(second).contains("10:00:00.002, <b>Event of kind 5</b>"));
  EXPECT_EQ(page.count("10:00:00.001"), 1) << "the event is not drawn again";
  EXPECT_EQ(Names(Path(QStringLiteral("Report"))).size(), 3) << "each event has its page all the same";
}

TEST_F(SavingHTMLTest, Data_that_crosses_back_is_drawn_again_because_its_right_text_is_its_own) {
  Add(9, "A", true);
  Add(14, "A");
  const QByteArray page = SaveReport();
  EXPECT_EQ(page.count("<tr>"), 5);
  EXPECT_EQ(page.count("10:00:00.001"), 2);
}

TEST_F(SavingHTMLTest, The_last_event_may_say_that_another_follows) {
  Add(16, "A", true);
  const QByteArray page = SaveReport();
  EXPECT_EQ(page.count("<tr>"), 3);
  EXPECT_EQ(page.count("<td></td>"), 4) << "two in the head, the right arrow and its text";
}

TEST_F(SavingHTMLTest, The_events_end_and_the_address_are_those_of_the_history) {
  history->mstrRemoteClientIP = QStringLiteral("<Unknown>");
  history->mlngRemoteClientPort = -1;
  history->mstrRemoteServerIP.clear();
  history->mlngRemoteServerPort = 0;
  history->mlngWasListeningOnPort = 21;
  Add(1);
  const QByteArray page = SaveReport();
  EXPECT_TRUE(page.contains("<td align=center valign=top><Unknown>:-1</td>"));
  EXPECT_TRUE(page.contains("<td align=center valign=top>:0</td></tr>"));
  EXPECT_TRUE(page.contains("<h2>VLT</h2>Listening on port 21</td>"));
}

TEST_F(SavingHTMLTest, Letters_of_the_folders_name_are_written_by_number_where_they_are_not_ascii) {
  Add(0);
  const QString name = QString::fromUtf8("\u65e5\u00e9\U0001F600");
  ASSERT_TRUE(Save(Path(name + QStringLiteral(".htm"))));
  EXPECT_TRUE(ReadFile(Path(name + QStringLiteral(".htm")))
                  .contains("window.open('&#26085;&#233;&#128512;/Event1.htm'"));
}

TEST_F(SavingHTMLTest, Bytes_of_the_wire_stand_as_they_came) {
  Add(0).mstrDescription = QStringLiteral("\u00e9\u00ff");
  EXPECT_TRUE(SaveReport().contains("<b>\xe9\xff</b>"));
}

// The events' pages.

TEST_F(SavingHTMLTest, An_events_page_tells_the_event_and_its_connection) {
  SocketEvent& event = Add(17, "A<");
  event.mstrEventEndTime = QStringLiteral("10:00:01.500");
  event.mlngErrorNumber = 10060;
  event.mstrErrorString = QStringLiteral("Timed out");
  history->mstrRemoteClientName = QStringLiteral("client.test");
  history->mstrRemoteServerName = QStringLiteral("server.test");
  history->mblnDead = true;
  history->mstrTimeOfDeath = QStringLiteral("10:00:02.000");
  history->mstrProtocol = QStringLiteral("HTTP");
  form.txtBytesPerRow.SetText(QStringLiteral("4"));
  form.optDisplayAs.Select(2);
  SaveReport();
  EXPECT_EQ(EventPage(1),
            "<html><head></head><body>\r\n"
            "<table border=0>\r\n"
            "<tr><td>Event Time</td><td>10:00:00.000</td></tr>\r\n"
            "<tr><td>Event End Time</td><td>10:00:01.500</td></tr>\r\n"
            "<tr><td>Error Number</td><td>10060</td></tr>\r\n"
            "<tr><td>Error Description</td><td>Timed out</td></tr>\r\n"
            "<tr><td>Description</td><td>Event of kind 17</td></tr>\r\n"
            "<tr><td>Remote Client Address</td><td>10.0.0.1</td></tr>\r\n"
            "<tr><td>Remote Client Name</td><td>client.test</td></tr>\r\n"
            "<tr><td>Remote Client Port</td><td>5001</td></tr>\r\n"
            "<tr><td>Remote Server Address</td><td>10.0.0.2</td></tr>\r\n"
            "<tr><td>Remote Server Name</td><td>server.test</td></tr>\r\n"
            "<tr><td>Remote Server Port</td><td>80</td></tr>\r\n"
            "<tr><td>Local Server Port</td><td>8080</td></tr>\r\n"
            "<tr><td>Local Client Port</td><td>6001</td></tr>\r\n"
            "<tr><td>Originally Listening on Port</td><td>8080</td></tr>\r\n"
            "<tr><td>Socket Status</td><td>Dead</td></tr>\r\n"
            "<tr><td>Time of death</td><td>10:00:02.000</td></tr>\r\n"
            "<tr><td>Protocol</td><td>HTTP</td></tr>\r\n"
            "</table>\r\n"
            "<br>Data:<br>\r\n"
            "<table><tr><td nowrap><font face='Courier New'><small>"
            "A&lt;&nbsp;&nbsp;&nbsp;:&nbsp;101074......&nbsp;<br>\r\n"
            "</small></font></td></tr></table>\r\n"
            "<p align=right>Generated by <a href='https://veltrane.example/'>Veltrane</a><br>"
            "09 Mar 2026 07:05:03</p></body></html>\r\n\r\n");
}

TEST_F(SavingHTMLTest, An_event_without_data_has_an_empty_table) {
  Add(0);
  SaveReport();
  EXPECT_TRUE(
      EventPage(1).contains("<br>Data:<br>\r\n<table><tr><td nowrap><font face='Courier New'><small>"
                            "</small></font></td></tr></table>\r\n"));
  EXPECT_TRUE(EventPage(1).contains("<td>Socket Status</td><td>Alive</td>"));
}

TEST_F(SavingHTMLTest, Blanks_and_signs_of_the_data_are_escaped_once) {
  EXPECT_EQ(EscapeForPage("a b"), "a&nbsp;b");
  EXPECT_EQ(EscapeForPage("<b>"), "&lt;b&gt;");
  EXPECT_EQ(EscapeForPage("a&b"), "a&amp;b") << "not doubled by the later steps";
  EXPECT_EQ(EscapeForPage("&nbsp;"), "&amp;nbsp;");
  EXPECT_EQ(EscapeForPage("\r\n"), "<br>\r\n");
  EXPECT_EQ(EscapeForPage("\r\r\n\n\r"), "\r<br>\r\n\n\r") << "only both together are a line's end";
  EXPECT_EQ(EscapeForPage(""), "");
}

TEST_F(SavingHTMLTest, No_data_can_become_a_tag) {
  constexpr char kHostile[] = "<script>alert(1)</script>]]>\0\r\n\r<!-- & \"'";
  const QByteArray hostile(kHostile, sizeof kHostile - 1);
  Add(9, hostile + EveryByte());
  SaveReport();
  const QByteArray page = EventPage(1);
  const qsizetype begin = page.indexOf("<small>") + 7;
  const QByteArray data = page.mid(begin, page.indexOf("</small>") - begin);
  EXPECT_GT(data.size(), hostile.size());
  QByteArray plain = data;
  EXPECT_EQ(plain.replace("<br>\r\n", "").count('<'), 0);
  EXPECT_EQ(plain.count('>'), 0);
  EXPECT_TRUE(data.startsWith("&lt;script&gt;alert(1)&nbsp;:&nbsp;3C736372&nbsp;"));
  for (const char byte : data)
    EXPECT_TRUE(byte == '\r' || byte == '\n' || (byte >= 32 && byte < 127));
}

// Part of the format. docs/reliability.md tells whose words these can be.
TEST_F(SavingHTMLTest, Descriptions_and_names_stand_as_they_are) {
  Add(2).mstrDescription = QStringLiteral("to <i>host</i> & more.");
  history->mstrRemoteServerName = QStringLiteral("<i>name</i>");
  EXPECT_TRUE(SaveReport().contains(", <b>to <i>host</i> & more.</b></td>"));
  EXPECT_TRUE(EventPage(1).contains("<tr><td>Description</td><td>to <i>host</i> & more.</td></tr>"));
  EXPECT_TRUE(EventPage(1).contains("<tr><td>Remote Server Name</td><td><i>name</i></td></tr>"));
}

// Pictures.

TEST_F(SavingHTMLTest, All_gifs_of_the_program_are_copied_and_nothing_else) {
  PutFile(Path(QStringLiteral("keep")), "x");
  SaveReport();
  const QString images = Path(QStringLiteral("Images"));
  EXPECT_EQ(Names(images), (QStringList{QStringLiteral("One.gif"), QStringLiteral("Two.GIF")}));
  EXPECT_EQ(ReadFile(images + QStringLiteral("/One.gif")), "first");
  // A second report over the first takes the pictures as they are now.
  PutFile(Picture("One.gif"), "new");
  SaveReport();
  EXPECT_EQ(ReadFile(images + QStringLiteral("/One.gif")), "new");
}

TEST_F(SavingHTMLTest, The_pages_find_the_pictures_under_the_name_in_lower_case) {
  SaveReport();
  EXPECT_EQ(ReadFile(Path(QStringLiteral("images/One.gif"))), "first");
  EXPECT_EQ(QFile::symLinkTarget(Path(QStringLiteral("images"))), Path(QStringLiteral("Images")));
}

TEST_F(SavingHTMLTest, A_folder_of_that_name_gets_the_pictures_as_well) {
  ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("images")));
  SaveReport();
  EXPECT_EQ(ReadFile(Path(QStringLiteral("images/One.gif"))), "first");
  EXPECT_EQ(ReadFile(Path(QStringLiteral("Images/One.gif"))), "first");
}

TEST_F(SavingHTMLTest, A_report_in_the_program_folder_copies_no_images) {
  Add(0);
  ASSERT_TRUE(Save(world.mProgramFolder.filePath(QStringLiteral("Log.htm"))));
  EXPECT_EQ(Names(world.mProgramFolder.path()),
            (QStringList{QStringLiteral("Images"), QStringLiteral("Log"), QStringLiteral("Log.htm")}));
  // However the folder is written.
  ASSERT_TRUE(Save(world.mProgramFolder.path() + QStringLiteral("//Log.htm")));
  EXPECT_EQ(Names(world.mProgramFolder.path()).size(), 3);
}

// Failures.

TEST_F(SavingHTMLTest, A_sub_folder_that_cannot_be_made_is_reported_and_ends_the_run) {
  Add(0);
  const QString path = Path(QStringLiteral("none/Log.htm"));
  EXPECT_FALSE(Save(path));
  EXPECT_EQ(Errors(),
            QStringList{QStringLiteral("An error occurred attempt to create the sub directory ('") +
                        Path(QStringLiteral("none/Log")) +
                        QStringLiteral("') which will contains the details of the connection diagram.  The "
                                       "operating sytem reports: 76, Path not found")});
  EXPECT_EQ(Names(folder.path()), QStringList());
}

TEST_F(SavingHTMLTest, A_file_in_the_way_of_the_sub_folder_is_reported) {
  PutFile(Path(QStringLiteral("Report")), "in the way");
  EXPECT_FALSE(Save(Path(QStringLiteral("Report.htm"))));
  ASSERT_EQ(Errors().size(), 1);
  EXPECT_FALSE(QFile::exists(Path(QStringLiteral("Report.htm"))));
}

TEST_F(SavingHTMLTest, A_sub_folder_that_exists_serves_again) {
  ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("Report")));
  PutFile(Path(QStringLiteral("Report/Event1.htm")), QByteArray(100000, 'x'));
  Add(0);
  SaveReport();
  EXPECT_TRUE(EventPage(1).startsWith("<html>"));
  EXPECT_TRUE(EventPage(1).endsWith("</html>\r\n\r\n"));
}

TEST_F(SavingHTMLTest, An_events_page_that_cannot_be_written_is_reported_once_and_ends_the_run) {
  Add(0);
  Add(1);
  Add(2);
  ASSERT_TRUE(QDir(folder.path()).mkpath(QStringLiteral("Report/Event2.htm")));
  EXPECT_FALSE(Save(Path(QStringLiteral("Report.htm"))));
  EXPECT_EQ(Errors(), QStringList{kPageMessage + QStringLiteral("70, Permission denied")});
  EXPECT_TRUE(EventPage(1).startsWith("<html>")) << "what was written stays";
  EXPECT_FALSE(QFile::exists(Path(QStringLiteral("Report.htm"))));
}

TEST_F(SavingHTMLTest, A_main_page_that_cannot_be_written_leaves_the_events_pages_behind) {
  Add(0);
  ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("Report.htm")));
  EXPECT_FALSE(Save(Path(QStringLiteral("Report.htm"))));
  EXPECT_EQ(Errors(), QStringList{kPageMessage + QStringLiteral("70, Permission denied")});
  EXPECT_TRUE(EventPage(1).startsWith("<html>"));
  EXPECT_FALSE(QFile::exists(Path(QStringLiteral("Images"))));
}

TEST_F(SavingHTMLTest, No_room_is_reported) {
  Add(0);
  ASSERT_TRUE(QDir(folder.path()).mkdir(QStringLiteral("Report")));
  ASSERT_EQ(::symlink("/dev/full", QFile::encodeName(Path(QStringLiteral("Report.htm"))).constData()), 0);
  EXPECT_FALSE(Save(Path(QStringLiteral("Report.htm"))));
  EXPECT_EQ(Errors(), QStringList{kPageMessage + QStringLiteral("61, Disk full")});
}

TEST_F(SavingHTMLTest, A_failing_clock_is_reported) {
  Add(0);
  world.mClock.mFailNow = true;
  EXPECT_FALSE(Save(Path(QStringLiteral("Report.htm"))));
  EXPECT_EQ(Errors(), QStringList{kPageMessage + QStringLiteral("51, Internal error")});
}

TEST_F(SavingHTMLTest, A_path_without_a_dot_makes_no_folder_and_the_run_goes_on_to_the_pages) {
  // The clock fails before anything is written: without a folder the events' pages would go to the root.
  world.mClock.mFailNow = true;
  const QString path = Path(QStringLiteral("Report"));
  ASSERT_FALSE(path.contains(u'.'));
  for (int events = 0; events < 2; ++events) {
    EXPECT_FALSE(Save(path));
    EXPECT_EQ(Errors(), QStringList{kPageMessage + QStringLiteral("51, Internal error")}) << events;
    Add(0);
  }
  EXPECT_EQ(Names(folder.path()), QStringList());
}

TEST_F(SavingHTMLTest, Images_that_cannot_be_copied_are_reported_and_the_pages_stay) {
  const QString message =
      QStringLiteral("An error occurred while attempting to copy the Images subdirectory to '") +
      folder.path() + QStringLiteral("'.  The operating system reports: ");
  Add(0);
  PutFile(Path(QStringLiteral("Images")), "in the way");
  EXPECT_FALSE(Save(Path(QStringLiteral("Report.htm"))));
  EXPECT_EQ(Errors(), QStringList{message + QStringLiteral("17, File exists")});
  EXPECT_TRUE(ReadFile(Path(QStringLiteral("Report.htm"))).startsWith("<html>"));
  // No room for one of them.
  QFile::remove(Path(QStringLiteral("Images")));
  QDir(folder.path()).mkdir(QStringLiteral("Images"));
  ASSERT_EQ(::symlink("/dev/full", QFile::encodeName(Path(QStringLiteral("Images/One.gif"))).constData()), 0);
  EXPECT_FALSE(Save(Path(QStringLiteral("Report.htm"))));
  EXPECT_EQ(Errors(), QStringList{message + QStringLiteral("61, Disk full")});
}

TEST_F(SavingHTMLTest, A_program_without_pictures_makes_a_report_without_them) {
  QDir(world.mProgramFolder.filePath(QStringLiteral("Images"))).removeRecursively();
  Add(0);
  SaveReport();
  EXPECT_EQ(Names(Path(QStringLiteral("Images"))), QStringList());
}

}  // namespace
}  // namespace veltrane
