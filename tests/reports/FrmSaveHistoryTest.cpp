// The dialog's rules: what it works on, what is enabled, and what Save does.
#include "tests/reports/ReportSupport.h"

namespace veltrane {
namespace {

struct FrmSaveHistoryTest : ReportTest {
  void Select(const char* key) { tree.SetSelectedItem(tree.Find(QLatin1String(key))); }
  QStringList Journal() { return world.mJournal.Take(); }
  /// Names of the controls that are off.
  QStringList Disabled() {
    QStringList names;
    for (const Control* control : form.Controls()) {
      if (!control->Enabled()) names.append(control->Name());
      const auto* group = qobject_cast<const OptionGroup*>(control);
      for (int i = 0; group && i < group->Count(); ++i)
        if (!group->OptionEnabled(i)) names.append(group->Name() + u'_' + QString::number(i));
    }
    names.removeAll(QStringLiteral("cmdView"));
    return names;
  }
  QString BytesPerRow(const char* typed) {
    form.txtBytesPerRow.SetText(QLatin1String(typed));
    return form.txtBytesPerRow.Text();
  }
  QString Stored() { return world.Get(QStringLiteral("SaveHistory"), QStringLiteral("File")); }
};

const QStringList kIncludes{
    QStringLiteral("chkIncludeBufferedData"), QStringLiteral("chkIncludeNonDataEvents"),
    QStringLiteral("chkIncludeDateTimeStamp"), QStringLiteral("chkIncludeDataDirection"),
    QStringLiteral("chkIncludeDescription")};

// The history.

TEST_F(FrmSaveHistoryTest, It_works_on_the_connection_that_is_selected) {
  for (const char* image : {"Socket", "SocketDisconnected"}) {
    tree.Node(QStringLiteral("KEY7")).SetImage(QLatin1String(image));
    form.ShowModal(&world.mMain);
    EXPECT_TRUE(form.IsLoaded()) << image;
    EXPECT_EQ(Journal(), QStringList{QStringLiteral("show modal frmSaveHistory over frmMain")});
    form.Unload();
    Journal();
  }
}

TEST_F(FrmSaveHistoryTest, It_works_on_the_connection_of_the_event_that_is_selected) {
  Select("KEY7-1");
  Add(9, "of KEY7");
  form.Show();
  form.optFormat.Select(1);
  form.optDisplayAs.Select(0);
  form.cboDirection.SetListIndex(2);
  form.txtFile.SetText(Path(QStringLiteral("raw")));
  form.cmdSave.Click();
  EXPECT_EQ(ReadFile(Path(QStringLiteral("raw"))), "of KEY7");
}

TEST_F(FrmSaveHistoryTest, It_goes_by_the_main_windows_node_also_when_that_was_removed) {
  Add(9, "of KEY7");
  for (const char* key : {"KEY7-1", "KEY7"}) {
    TreeNode& node = tree.Node(QLatin1String(key));
    node.SetTag(QLatin1String(key));
    world.mMain.mnodSelectedNode = TreeView::Keep(node);
    tree.Remove(node);
    tree.SetSelectedItem(tree.Find(QStringLiteral("ROOT")));
    form.Show();
    ASSERT_TRUE(form.Visible()) << key;
    form.optFormat.Select(1);
    form.optDisplayAs.Select(0);
    form.cboDirection.SetListIndex(2);
    form.txtFile.SetText(Path(QLatin1String(key)));
    form.cmdSave.Click();
    EXPECT_EQ(ReadFile(Path(QLatin1String(key))), "of KEY7");
  }
}

TEST_F(FrmSaveHistoryTest, It_closes_at_once_where_no_connection_is_selected) {
  for (const char* image : {"AllActivity", "Protocol", "Connection"}) {
    tree.Node(QStringLiteral("KEY7")).SetImage(QLatin1String(image));
    form.ShowModal(&world.mMain);
    EXPECT_FALSE(form.IsLoaded()) << image;
    EXPECT_FALSE(form.Visible());
  }
  tree.SetSelectedItem(nullptr);
  form.ShowModal(&world.mMain);
  EXPECT_FALSE(form.IsLoaded());
  EXPECT_EQ(Journal(), QStringList()) << "it is never shown";
}

TEST_F(FrmSaveHistoryTest, It_closes_at_once_when_the_history_was_purged) {
  world.mLogging.mobjSocketPairHistory.Clear();
  form.Show();
  EXPECT_FALSE(form.IsLoaded());
  EXPECT_EQ(Errors(), QStringList());
}

TEST_F(FrmSaveHistoryTest, A_purge_behind_the_open_dialog_does_not_take_its_history) {
  Add(9, "kept");
  form.Show();
  history.reset();
  world.mLogging.mobjSocketPairHistory.Clear();
  form.optFormat.Select(1);
  form.optDisplayAs.Select(0);
  form.cboDirection.SetListIndex(2);
  form.txtFile.SetText(Path(QStringLiteral("raw")));
  form.cmdSave.Click();
  EXPECT_EQ(ReadFile(Path(QStringLiteral("raw"))), "kept");
}

TEST_F(FrmSaveHistoryTest, It_lets_go_of_the_history_when_it_is_unloaded) {
  form.Show();
  const std::weak_ptr<SocketPairHistory> kept = std::exchange(history, nullptr);
  world.mLogging.mobjSocketPairHistory.Clear();
  EXPECT_FALSE(kept.expired());
  form.cmdCancel.Click();
  EXPECT_TRUE(kept.expired());
}

// Loading.

TEST_F(FrmSaveHistoryTest, It_opens_with_the_report_chosen_and_the_second_direction) {
  form.Load();
  EXPECT_EQ(form.Caption(), QStringLiteral("Save Data"));
  EXPECT_EQ(form.optFormat.Selected(), 0);
  EXPECT_EQ(form.optDisplayAs.Selected(), 1);
  EXPECT_EQ(form.cboDirection.List(),
            (QStringList{QStringLiteral("Remote Client to VLT"), QStringLiteral("VLT to Remote Server"),
                         QStringLiteral("Remote Server to VLT"), QStringLiteral("VLT to remote client")}));
  EXPECT_EQ(form.cboDirection.ListIndex(), 1);
  EXPECT_EQ(form.txtBytesPerRow.Text(), QStringLiteral("16"));
  EXPECT_EQ(form.chkAutoOpen.Value(), 0);
}

TEST_F(FrmSaveHistoryTest, The_path_is_that_of_the_setting_or_a_default_and_is_saved_on_unload) {
  form.Load();
  EXPECT_EQ(form.txtFile.Text(), world.mWriteFolder.path() + QStringLiteral("/Log.htm"));
  form.txtFile.SetText(QStringLiteral("/tmp/other.htm"));
  EXPECT_EQ(Stored(), QStringLiteral("(none)")) << "not before";
  form.cmdCancel.Click();
  EXPECT_EQ(Stored(), QStringLiteral("/tmp/other.htm"));
  form.Load();
  EXPECT_EQ(form.txtFile.Text(), QStringLiteral("/tmp/other.htm"));
}

TEST_F(FrmSaveHistoryTest, A_path_that_cannot_be_read_is_the_default_one_and_the_dialog_serves) {
  Add(9, "A");
  const QString path = Path(QStringLiteral("a.txt"));
  world.Save(QStringLiteral("SaveHistory"), QStringLiteral("File"), path);
  world.mStore.mFailReads = true;
  form.Show();
  EXPECT_TRUE(form.Visible());
  EXPECT_EQ(form.txtFile.Text(), world.mWriteFolder.path() + QStringLiteral("/Log.htm"));
  world.mStore.mFailReads = false;
  form.Show();
  form.optFormat.Select(1);
  form.txtFile.SetText(path);
  form.cmdSave.Click();
  EXPECT_TRUE(ReadFile(path).startsWith("\r\nA "));
  EXPECT_FALSE(form.IsLoaded());
  EXPECT_EQ(Errors(), QStringList());
}

TEST_F(FrmSaveHistoryTest, A_path_that_could_not_be_read_is_not_written_over_by_the_default_one) {
  world.Save(QStringLiteral("SaveHistory"), QStringLiteral("File"), QStringLiteral("/tmp/mine.htm"));
  world.mStore.mFailReads = true;
  form.Show();
  form.cmdCancel.Click();
  world.mStore.mFailReads = false;
  EXPECT_EQ(Stored(), QStringLiteral("/tmp/mine.htm"));
  form.Show();
  EXPECT_EQ(form.txtFile.Text(), QStringLiteral("/tmp/mine.htm"));
}

/// The user's home is another folder for a while.
struct OtherHome {
  explicit OtherHome(const char* home) { qputenv("HOME", home); }
  ~OtherHome() { qputenv("HOME", mBefore); }
  QByteArray mBefore = qgetenv("HOME");
};

TEST_F(FrmSaveHistoryTest, The_default_path_is_in_the_programs_folder_or_in_one_without_a_dot) {
  const QString temporary = QDir::tempPath();
  ASSERT_FALSE(temporary.contains(u'.')) << "the tests' own folders are there";
  const struct {
    const char* program;
    const char* write;
    const char* home;
    QString file;
  } rows[] = {
      // Its own folder, whatever the name.
      {"/opt/veltrane", "/opt/veltrane", "/home/john", QStringLiteral("/opt/veltrane/Log.htm")},
      {"/opt/veltrane-1.2", "/opt/veltrane-1.2", "/home/john", QStringLiteral("/opt/veltrane-1.2/Log.htm")},
      {"/usr/lib/veltrane", "/data/Veltrane", "/home/john", QStringLiteral("/data/Veltrane/Log.htm")},
      {"/usr/lib/veltrane", "/home/john/.local/share/Veltrane", "/home/john",
       QStringLiteral("/home/john/Log.htm")},
      {"/usr/lib/veltrane", "/home/john.doe/.local/share/Veltrane", "/home/john.doe",
       temporary + QStringLiteral("/Log.htm")},
      {"/usr/lib/veltrane", "/home/john.doe/data/Veltrane", "/home/john.doe",
       temporary + QStringLiteral("/Log.htm")},
  };
  for (const auto& row : rows) {
    const OtherHome home(row.home);
    General own({world.mStore, world.mSockets, world.mTimers, world.mClock, world.mRandom, world.mDesktop,
                 world.mErrors, QLatin1String(row.program), QLatin1String(row.write)},
                AllProtocols());
    own.frmMain = &world.mMain;
    world.mStore.mRows.clear();
    frmSaveHistory other(own, world.mLogging, world.mMain);
    other.Load();
    EXPECT_EQ(other.txtFile.Text(), row.file) << row.write;
  }
}

TEST_F(FrmSaveHistoryTest, Options_of_the_last_time_are_forgotten) {
  form.Load();
  form.optFormat.Select(1);
  form.optDisplayAs.Select(0);
  form.chkIncludeDescription.SetValue(1);
  form.chkAutoOpen.SetValue(1);
  form.txtBytesPerRow.SetText(QStringLiteral("32"));
  form.cboDirection.SetListIndex(3);
  form.Unload();
  form.Load();
  EXPECT_EQ(form.optFormat.Selected(), 0);
  EXPECT_EQ(form.optDisplayAs.Selected(), 1);
  EXPECT_EQ(form.chkIncludeDescription.Value(), 0);
  EXPECT_EQ(form.chkAutoOpen.Value(), 0);
  EXPECT_EQ(form.txtBytesPerRow.Text(), QStringLiteral("16"));
  EXPECT_TRUE(form.txtBytesPerRow.Enabled());
  EXPECT_EQ(form.cboDirection.ListIndex(), 1);
}

// What is enabled.

TEST_F(FrmSaveHistoryTest, The_report_has_no_raw_data_no_direction_and_no_boxes) {
  form.Load();
  const QStringList off =
      QStringList{QStringLiteral("optDisplayAs_0"), QStringLiteral("cboDirection")} + kIncludes;
  EXPECT_EQ(Disabled(), off);
  // Other digits change nothing of that.
  form.optDisplayAs.Select(3);
  EXPECT_EQ(Disabled(), off);
  form.optFormat.Select(1);
  EXPECT_EQ(Disabled(), QStringList());
  EXPECT_EQ(form.optDisplayAs.Selected(), 3) << "the log file takes the digits as they are";
  form.optFormat.Select(0);
  EXPECT_EQ(Disabled(), off);
  EXPECT_EQ(form.optDisplayAs.Selected(), 1);
}

TEST_F(FrmSaveHistoryTest, Raw_data_has_no_rows_and_no_boxes) {
  form.Load();
  form.optFormat.Select(1);
  form.optDisplayAs.Select(0);
  const QStringList rows{QStringLiteral("txtBytesPerRow"), QStringLiteral("upBytesPerRow")};
  EXPECT_EQ(Disabled(), rows + kIncludes);
  form.optDisplayAs.Select(4);
  EXPECT_EQ(Disabled(), QStringList());
}

TEST_F(FrmSaveHistoryTest, Going_from_raw_data_to_the_report_leaves_the_bytes_per_row_off) {
  form.Load();
  form.optFormat.Select(1);
  form.optDisplayAs.Select(0);
  form.optFormat.Select(0);
  EXPECT_EQ(form.optDisplayAs.Selected(), 1);
  EXPECT_FALSE(form.txtBytesPerRow.Enabled());
  EXPECT_FALSE(form.upBytesPerRow.Enabled());
}

TEST_F(FrmSaveHistoryTest, View_is_on_only_while_the_file_exists) {
  form.Load();
  EXPECT_FALSE(form.cmdView.Enabled());
  const QString path = Path(QStringLiteral("there"));
  PutFile(path, "x");
  form.txtFile.SetText(path);
  EXPECT_TRUE(form.cmdView.Enabled());
  form.txtFile.SetText(path + QStringLiteral(" not"));
  EXPECT_FALSE(form.cmdView.Enabled());
  // A file that comes or goes meanwhile is seen when the dialog becomes the active window.
  form.txtFile.SetText(path);
  QFile::remove(path);
  EXPECT_TRUE(form.cmdView.Enabled());
  form.FaceActivated();
  EXPECT_FALSE(form.cmdView.Enabled());
  PutFile(path, "x");
  form.FaceActivated();
  EXPECT_TRUE(form.cmdView.Enabled());
  form.txtFile.SetText(folder.path());
  EXPECT_FALSE(form.cmdView.Enabled()) << "a folder is no file";
}

TEST_F(FrmSaveHistoryTest, View_opens_the_file) {
  form.Load();
  PutFile(Path(QStringLiteral("there")), "x");
  form.txtFile.SetText(Path(QStringLiteral("there")));
  form.cmdView.Click();
  EXPECT_EQ(Journal(), QStringList{QStringLiteral("open ") + Path(QStringLiteral("there"))});
}

TEST_F(FrmSaveHistoryTest, View_of_a_file_that_no_program_opens_is_reported_and_the_dialog_stays) {
  world.mDesktop.mFailOpen = true;
  form.Show();
  PutFile(Path(QStringLiteral("there")), "x");
  form.txtFile.SetText(Path(QStringLiteral("there")));
  form.cmdView.Click();
  EXPECT_EQ(Errors(),
            QStringList{QStringLiteral("An error occurred while attempting to open the saved file.  "
                                       "The operating system reports: 53, File not found")});
  EXPECT_TRUE(form.Visible());
}

TEST_F(FrmSaveHistoryTest, Options_does_nothing) {
  form.Show();
  Journal();
  form.cmdHTMLOptions.Click();
  EXPECT_EQ(Journal(), QStringList());
}

// Bytes per row.

TEST_F(FrmSaveHistoryTest, Bytes_per_row_are_corrected_to_a_multiple_of_4_from_4_to_128) {
  form.Load();
  const struct {
    const char* typed;
    const char* becomes;
  } rows[] = {
      {"10", "8"},    {"130", "128"},   {"x", "8"},      {"2", "4"},   {"", "8"},      {"-5", "4"},
      {"4", "4"},     {"128", "128"},   {"127", "124"},  {"5", "4"},   {"16.9", "16"}, {"19.99", "16"},
      {"1e2", "100"}, {"1e400", "128"}, {"-1e400", "4"}, {"8 x", "8"}, {" 32 ", "32"}, {"99999999999", "128"},
      {"0x10", "8"},  {"3.9999", "4"}};
  for (const auto& row : rows)
    EXPECT_EQ(BytesPerRow(row.typed), QLatin1String(row.becomes)) << row.typed;
}

TEST_F(FrmSaveHistoryTest, The_arrows_count_in_steps_of_4) {
  form.Load();
  form.upBytesPerRow.Up();
  EXPECT_EQ(form.txtBytesPerRow.Text(), QStringLiteral("20"));
  form.txtBytesPerRow.SetText(QStringLiteral("128"));
  form.upBytesPerRow.Up();
  EXPECT_EQ(form.txtBytesPerRow.Text(), QStringLiteral("128"));
  form.txtBytesPerRow.SetText(QStringLiteral("4"));
  form.upBytesPerRow.Down();
  EXPECT_EQ(form.txtBytesPerRow.Text(), QStringLiteral("4"));
}

// Choosing the file.

TEST_F(FrmSaveHistoryTest, The_file_dialog_gives_the_path_and_cancelling_it_changes_nothing) {
  form.Load();
  form.txtFile.SetText(QStringLiteral("/tmp/before.htm"));
  form.cmdFile.Click();
  EXPECT_EQ(form.txtFile.Text(), QStringLiteral("/tmp/before.htm"));
  world.mDesktop.mFileAnswers.append(QStringLiteral("/tmp/chosen.htm"));
  form.cmdFile.Click();
  EXPECT_EQ(form.txtFile.Text(), QStringLiteral("/tmp/chosen.htm"));
  ASSERT_EQ(world.mDesktop.mFileBoxes.size(), 2);
  const FileBox& box = world.mDesktop.mFileBoxes[0];
  EXPECT_EQ(box.title, QStringLiteral("Save History As"));
  EXPECT_EQ(box.path, QStringLiteral("/tmp/before.htm"));
  EXPECT_EQ(box.filter, QStringLiteral("*.*"));
  EXPECT_TRUE(box.forSaving);
  EXPECT_TRUE(box.folderMustExist);
}

TEST_F(FrmSaveHistoryTest, A_file_dialog_that_fails_changes_nothing_and_is_not_told) {
  form.Load();
  form.txtFile.SetText(QStringLiteral("/tmp/before.htm"));
  world.mDesktop.mFailFileBox = true;
  world.mDesktop.mFileAnswers.append(QStringLiteral("/tmp/chosen.htm"));
  EXPECT_NO_THROW(form.cmdFile.Click());
  EXPECT_EQ(world.mDesktop.mFileBoxes.size(), 1);
  EXPECT_EQ(form.txtFile.Text(), QStringLiteral("/tmp/before.htm"));
  EXPECT_EQ(Errors(), QStringList());
}

// Saving.

TEST_F(FrmSaveHistoryTest, Save_writes_what_is_chosen_gives_the_main_window_the_focus_and_closes) {
  Add(9, "A");
  const QByteArray rows("\r\nA                : 41...... ........ ........ ........ \r\n");
  const struct {
    int format;
    int digits;
    QByteArray begins;
  } saves[] = {{0, 1, "<html>"}, {1, 1, rows}, {1, 0, "A"}};
  for (const auto& save : saves) {
    form.Show();
    form.optFormat.Select(save.format);
    form.optDisplayAs.Select(save.digits);
    form.cboDirection.SetListIndex(2);
    const QString path = Path(QStringLiteral("save%1%2.htm").arg(save.format).arg(save.digits));
    form.txtFile.SetText(path);
    Journal();
    form.cmdSave.Click();
    EXPECT_TRUE(ReadFile(path).startsWith(save.begins)) << path.toStdString();
    EXPECT_EQ(Journal(),
              (QStringList{QStringLiteral("to front frmMain"), QStringLiteral("hide frmSaveHistory")}));
    EXPECT_FALSE(form.IsLoaded());
    EXPECT_EQ(Stored(), path);
  }
  EXPECT_EQ(Errors(), QStringList());
}

TEST_F(FrmSaveHistoryTest, A_failed_save_keeps_the_dialog_open) {
  Add(9, "A");
  form.Show();
  form.optFormat.Select(1);
  form.chkAutoOpen.SetValue(1);
  form.txtFile.SetText(QStringLiteral("/dev/full"));
  Journal();
  form.cmdSave.Click();
  EXPECT_EQ(Errors().size(), 1);
  EXPECT_EQ(Journal(), QStringList());
  EXPECT_TRUE(form.Visible());
  // The second try works.
  form.txtFile.SetText(Path(QStringLiteral("a.txt")));
  form.cmdSave.Click();
  EXPECT_FALSE(form.IsLoaded());
}

TEST_F(FrmSaveHistoryTest, A_failed_save_looks_again_whether_there_is_a_file_to_view) {
  Add(9, "A");
  // The pages cannot be made; the file itself came and went without the dialog being told.
  form.Show();
  const QString path = Path(QStringLiteral("r.htm"));
  form.txtFile.SetText(path);
  PutFile(path, "x");
  PutFile(Path(QStringLiteral("r")), "in the way");
  EXPECT_FALSE(form.cmdView.Enabled());
  form.cmdSave.Click();
  EXPECT_EQ(Errors().size(), 1);
  EXPECT_TRUE(form.cmdView.Enabled());
}

TEST_F(FrmSaveHistoryTest, The_file_is_opened_after_the_save_when_asked) {
  form.Show();
  form.optFormat.Select(1);
  form.chkAutoOpen.SetValue(1);
  form.txtFile.SetText(Path(QStringLiteral("a.txt")));
  Journal();
  form.cmdSave.Click();
  EXPECT_EQ(Journal(),
            (QStringList{QStringLiteral("open ") + Path(QStringLiteral("a.txt")),
                         QStringLiteral("to front frmMain"), QStringLiteral("hide frmSaveHistory")}));
}

TEST_F(FrmSaveHistoryTest, A_file_that_no_program_opens_is_reported_and_saved_all_the_same) {
  world.mDesktop.mFailOpen = true;
  form.Show();
  form.optFormat.Select(1);
  form.chkAutoOpen.SetValue(1);
  form.txtFile.SetText(Path(QStringLiteral("a.txt")));
  Journal();
  form.cmdSave.Click();
  EXPECT_EQ(Errors(),
            QStringList{QStringLiteral("An error occurred while attempting to open the saved file.  "
                                       "The operating system reports: 53, File not found")});
  EXPECT_EQ(Journal(),
            (QStringList{QStringLiteral("to front frmMain"), QStringLiteral("hide frmSaveHistory")}));
  EXPECT_FALSE(form.IsLoaded());
  EXPECT_EQ(Stored(), Path(QStringLiteral("a.txt")));
}

TEST_F(FrmSaveHistoryTest, A_minimised_main_window_does_not_get_the_focus) {
  world.mMain.SetState(WindowState::kMinimized);
  form.Show();
  form.optFormat.Select(1);
  form.txtFile.SetText(Path(QStringLiteral("a.txt")));
  Journal();
  form.cmdSave.Click();
  EXPECT_EQ(Journal(), QStringList{QStringLiteral("hide frmSaveHistory")});
}

TEST_F(FrmSaveHistoryTest, Cancel_saves_no_history) {
  Add(9, "A");
  form.Show();
  form.txtFile.SetText(Path(QStringLiteral("r.htm")));
  form.cmdCancel.Click();
  EXPECT_FALSE(form.IsLoaded());
  EXPECT_TRUE(QDir(folder.path()).isEmpty());
}

}  // namespace
}  // namespace veltrane
