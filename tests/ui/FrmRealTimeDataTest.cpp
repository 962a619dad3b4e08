#include <gtest/gtest.h>

#include "engine/Listening.h"
#include "tests/support/DialogFakes.h"
#include "ui/frmRealTimeData.h"

namespace veltrane {
namespace {

struct FrmRealTimeDataTest : testing::Test {
  FrmRealTimeDataTest() { world.Listen(); }

  QString Stored(const char* section, const char* key) {
    return world.Get(QLatin1String(section), QLatin1String(key));
  }
  void Store(const char* section, const char* key, const char* value) {
    world.Save(QLatin1String(section), QLatin1String(key), QLatin1String(value));
  }
  bool IsOn(RealTimeSwitch which) const { return static_cast<const RealTimeDataOptions&>(form).IsOn(which); }

  DialogWorld world;
  frmRealTimeData form{world.mDialogGeneral, world.mShell};
};

TEST_F(FrmRealTimeDataTest, A_fresh_store_gives_the_defaults) {
  form.tabOptions.SetTab(2);
  form.Load();
  EXPECT_EQ(form.Caption(), QStringLiteral("Real Time Data"));
  EXPECT_EQ(form.tabOptions.Tab(), 0);
  for (const CheckBox* box :
       {&form.chkShowRealTimeData, &form.chkClientToVLT, &form.chkVLTToClient, &form.chkIncludeDateTimeStamp,
        &form.chkIncludeDataDirection, &form.chkIncludeDescription, &form.chkColourCode}) {
    EXPECT_TRUE(box->IsOn()) << box->Name().toStdString();
  }
  for (const CheckBox* box : {&form.chkServerToVLT, &form.chkVLTToServer, &form.chkIncludeBufferedData})
    EXPECT_FALSE(box->IsOn()) << box->Name().toStdString();
  EXPECT_EQ(form.optDisplayAs.Selected(), 1);
  EXPECT_EQ(form.txtBytesPerRow.Text(), QStringLiteral("16"));
  EXPECT_EQ(form.lblColor[0].BackColor(), 0xff0000U);
  EXPECT_EQ(form.lblColor[1].BackColor(), 0xffa4a4U);
  EXPECT_EQ(form.lblColor[2].BackColor(), 255U);
  EXPECT_EQ(form.lblColor[3].BackColor(), 0x9797ffU);
  EXPECT_EQ(form.txtRealTimeDataSize.Text(), QStringLiteral("50"));
  EXPECT_TRUE(form.optRealTimeDisplay.Value(0));
  EXPECT_FALSE(form.optRealTimeDisplay.Value(1));
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
}

TEST_F(FrmRealTimeDataTest, OK_hides_and_saves_every_setting_and_the_next_load_has_them) {
  form.Show();
  for (CheckBox* box :
       {&form.chkShowRealTimeData, &form.chkClientToVLT, &form.chkVLTToClient, &form.chkServerToVLT,
        &form.chkVLTToServer, &form.chkIncludeDateTimeStamp, &form.chkIncludeDataDirection,
        &form.chkIncludeDescription, &form.chkColourCode, &form.chkIncludeBufferedData}) {
    box->SetValue(1 - box->Value());
  }
  form.optDisplayAs.Select(3);
  form.txtBytesPerRow.SetText(QStringLiteral("32"));
  for (std::size_t i = 0; i < 4; ++i)
    form.lblColor[i].SetBackColor(static_cast<Colour>(1000 + i));
  form.txtRealTimeDataSize.SetText(QStringLiteral("lots"));
  form.optRealTimeDisplay.Select(1);
  EXPECT_EQ(Stored("RealTime", "DisplayAs"), QStringLiteral("(none)"));
  form.cmdOK.Click();
  EXPECT_FALSE(form.Visible());
  EXPECT_TRUE(form.IsLoaded());
  const QList<SettingRow> realTime{
      {u"ShowRealTimeData"_qs, u"0"_qs},     {u"ClientToVLT"_qs, u"0"_qs},
      {u"VLTToClient"_qs, u"0"_qs},          {u"ServerToVLT"_qs, u"1"_qs},
      {u"VLTToServer"_qs, u"1"_qs},          {u"DisplayAs"_qs, u"3"_qs},
      {u"IncludeDateTimeStamp"_qs, u"0"_qs}, {u"IncludeDataDirection"_qs, u"0"_qs},
      {u"IncludeDescription"_qs, u"0"_qs},   {u"ColourCode"_qs, u"0"_qs},
      {u"BytesPerRow"_qs, u"32"_qs},         {u"IncludeBufferedData"_qs, u"1"_qs}};
  EXPECT_EQ(world.mDialogGeneral.mSettings.All(QStringLiteral("RealTime")), realTime);
  const QList<SettingRow> options{
      {u"Color1"_qs, u"1000"_qs},           {u"Color2"_qs, u"1001"_qs},
      {u"Color3"_qs, u"1002"_qs},           {u"Color4"_qs, u"1003"_qs},
      {u"RealTimeDataSize"_qs, u"lots"_qs}, {u"RealTimeDataSelection"_qs, u"False"_qs}};
  EXPECT_EQ(world.mDialogGeneral.mSettings.All(QStringLiteral("Options")), options);
  frmRealTimeData next(world.mDialogGeneral, world.mShell);
  next.Load();
  EXPECT_FALSE(next.chkClientToVLT.IsOn());
  EXPECT_TRUE(next.chkIncludeBufferedData.IsOn());
  EXPECT_EQ(next.optDisplayAs.Selected(), 3);
  EXPECT_EQ(next.txtBytesPerRow.Text(), QStringLiteral("32"));
  EXPECT_EQ(next.lblColor[2].BackColor(), 1002U);
  EXPECT_EQ(next.txtRealTimeDataSize.Text(), QStringLiteral("lots"));
  EXPECT_FALSE(next.ShowsAllData());
}

TEST_F(FrmRealTimeDataTest, Colours_are_stored_as_decimal_numbers) {
  form.Load();
  form.cmdOK.Click();
  EXPECT_EQ(Stored("Options", "Color1"), QStringLiteral("16711680"));
  EXPECT_EQ(Stored("Options", "Color2"), QStringLiteral("16753828"));
  EXPECT_EQ(Stored("Options", "Color3"), QStringLiteral("255"));
  EXPECT_EQ(Stored("Options", "Color4"), QStringLiteral("9934847"));
}

TEST_F(FrmRealTimeDataTest, Cancel_puts_the_stored_values_back_and_writes_nothing) {
  Store("RealTime", "DisplayAs", "4");
  Store("Options", "RealTimeDataSelection", "False");
  form.Show();
  const auto before = world.mStore.mRows.size();
  form.optDisplayAs.Select(0);
  form.chkClientToVLT.SetValue(0);
  form.optRealTimeDisplay.Select(0);
  form.lblColor[0].SetBackColor(7);
  EXPECT_FALSE(IsOn(RealTimeSwitch::kClientToVLT)) << "in force before the dialog is confirmed";
  EXPECT_TRUE(form.ShowsAllData());
  form.cmdCancel.Click();
  EXPECT_FALSE(form.Visible());
  EXPECT_EQ(form.optDisplayAs.Selected(), 4);
  EXPECT_TRUE(IsOn(RealTimeSwitch::kClientToVLT));
  EXPECT_FALSE(form.ShowsAllData());
  EXPECT_EQ(form.lblColor[0].BackColor(), 0xff0000U);
  EXPECT_EQ(world.mStore.mRows.size(), before);
}

TEST_F(FrmRealTimeDataTest, Closing_the_frame_keeps_the_changes_and_the_controls_stay_in_force) {
  form.Show();
  form.chkVLTToServer.SetValue(1);
  EXPECT_FALSE(form.Unload());
  EXPECT_FALSE(form.Visible());
  EXPECT_EQ(Stored("RealTime", "VLTToServer"), QStringLiteral("1"));
  EXPECT_TRUE(IsOn(RealTimeSwitch::kVLTToServer));
  form.chkVLTToServer.SetValue(0);
  world.mDialogGeneral.gobjListening.reset();
  EXPECT_TRUE(form.Unload()) << "the end of the program";
  EXPECT_EQ(Stored("RealTime", "VLTToServer"), QStringLiteral("0"));
}

TEST_F(FrmRealTimeDataTest, The_pane_opens_and_closes_at_the_click) {
  form.Load();
  world.mJournal.Take();
  form.chkShowRealTimeData.SetValue(0);
  form.chkShowRealTimeData.SetValue(1);
  EXPECT_EQ(world.mJournal.lines, (QStringList{QStringLiteral("ResizeForm"), QStringLiteral("ResizeForm")}));
}

TEST_F(FrmRealTimeDataTest, Each_switch_is_its_own_box) {
  form.Load();
  const struct {
    RealTimeSwitch which;
    CheckBox& box;
  } rows[] = {{RealTimeSwitch::kShowRealTimeData, form.chkShowRealTimeData},
              {RealTimeSwitch::kServerToVLT, form.chkServerToVLT},
              {RealTimeSwitch::kVLTToServer, form.chkVLTToServer},
              {RealTimeSwitch::kClientToVLT, form.chkClientToVLT},
              {RealTimeSwitch::kVLTToClient, form.chkVLTToClient},
              {RealTimeSwitch::kIncludeBufferedData, form.chkIncludeBufferedData},
              {RealTimeSwitch::kIncludeDateTimeStamp, form.chkIncludeDateTimeStamp},
              {RealTimeSwitch::kIncludeDataDirection, form.chkIncludeDataDirection},
              {RealTimeSwitch::kIncludeDescription, form.chkIncludeDescription},
              {RealTimeSwitch::kColourCode, form.chkColourCode}};
  for (const auto& row : rows)
    row.box.SetValue(0);
  for (const auto& on : rows) {
    on.box.SetValue(1);
    for (const auto& row : rows)
      EXPECT_EQ(IsOn(row.which), &row.box == &on.box) << on.box.Name().toStdString();
    on.box.SetValue(0);
  }
}

TEST_F(FrmRealTimeDataTest, A_colour_that_was_chosen_becomes_the_labels_and_a_cancel_changes_nothing) {
  form.Load();
  world.mDesktop.mColourAnswers = {0x123456U, std::nullopt, 0U};
  form.cmdColor[3].Click();
  EXPECT_EQ(form.lblColor[3].BackColor(), 0x123456U);
  form.cmdColor[3].Click();
  EXPECT_EQ(form.lblColor[3].BackColor(), 0x123456U);
  form.cmdColor[1].Click();
  EXPECT_EQ(form.lblColor[1].BackColor(), 0U);
  EXPECT_EQ(form.lblColor[0].BackColor(), 0xff0000U);
  EXPECT_TRUE(world.mErrors.mTexts.isEmpty());
  EXPECT_EQ(static_cast<const RealTimeDataOptions&>(form).DirectionColour(3), 0x123456U);
}

TEST_F(FrmRealTimeDataTest, Bytes_per_row_are_corrected_as_they_change) {
  form.Load();
  const struct {
    const char* typed;
    const char* corrected;
  } rows[] = {{"abc", "8"}, {"2", "4"}, {"500", "128"}, {"10", "8"}, {"15.9", "12"}};
  for (const auto& row : rows) {
    form.txtBytesPerRow.SetText(QLatin1String(row.typed));
    EXPECT_EQ(form.txtBytesPerRow.Text(), QLatin1String(row.corrected)) << row.typed;
  }
  form.upBytesPerRow.Up();
  EXPECT_EQ(form.txtBytesPerRow.Text(), QStringLiteral("16"));
  form.txtBytesPerRow.SetText(QStringLiteral("128"));
  form.upBytesPerRow.Up();
  EXPECT_EQ(form.txtBytesPerRow.Text(), QStringLiteral("128"));
  form.txtBytesPerRow.SetText(QStringLiteral("4"));
  form.upBytesPerRow.Down();
  EXPECT_EQ(form.txtBytesPerRow.Text(), QStringLiteral("4"));
}

TEST_F(FrmRealTimeDataTest, The_format_code_is_the_letters_number_and_empty_for_plain_text) {
  form.Load();
  const QStringList codes{QString(), QStringLiteral("104"), QStringLiteral("111"), QStringLiteral("100"),
                          QStringLiteral("98")};
  for (int i = 0; i < 5; ++i) {
    form.optDisplayAs.Select(i);
    EXPECT_EQ(form.GetPrintFFormat(), codes[i]);
  }
}

TEST_F(FrmRealTimeDataTest, A_stored_text_of_nothing_becomes_8_bytes_per_row) {
  Store("RealTime", "BytesPerRow", "");
  form.Load();
  EXPECT_EQ(form.txtBytesPerRow.Text(), QStringLiteral("8"));
}

TEST_F(FrmRealTimeDataTest, An_unusable_value_is_reported_and_costs_its_own_option_alone) {
  Store("RealTime", "DisplayAs", "5");
  Store("RealTime", "ColourCode", "maybe");
  Store("RealTime", "BytesPerRow", "nonsense");
  Store("Options", "Color2", "blue");
  Store("RealTime", "VLTToServer", "1");
  form.Load();
  EXPECT_EQ(form.optDisplayAs.Selected(), 1);
  EXPECT_TRUE(form.chkColourCode.IsOn());
  EXPECT_EQ(form.txtBytesPerRow.Text(), QStringLiteral("8")) << "as when it was typed";
  EXPECT_EQ(form.lblColor[1].BackColor(), 0xffa4a4U);
  EXPECT_TRUE(form.chkVLTToServer.IsOn());
  ASSERT_EQ(world.mErrors.mTexts.size(), 3);
  EXPECT_EQ(world.mErrors.mTexts[0],
            QStringLiteral("An error occurred while attempting to load the option DisplayAs.  The operating "
                           "system reports: 9, Subscript out of range"));
}

TEST_F(FrmRealTimeDataTest, A_store_that_cannot_be_written_is_reported_once) {
  form.Show();
  world.mStore.mWritesBeforeFailure = 3;
  form.cmdOK.Click();
  EXPECT_FALSE(form.Visible());
  EXPECT_EQ(world.mErrors.mTexts,
            QStringList{QStringLiteral("An error occurred while attempting to save the real time data "
                                       "settings.  The operating system reports: 1001, store is full")});
}

}  // namespace
}  // namespace veltrane
