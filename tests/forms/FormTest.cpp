#include <gtest/gtest.h>

#include "forms/Control.h"
#include "forms/Form.h"
#include "tests/support/FakeDesktop.h"

namespace veltrane {
namespace {

class LoggedForm : public Form {
 public:
  LoggedForm(Desktop& desktop, Journal& journal)
      : Form(desktop, QStringLiteral("frmTest")), mJournal(journal) {}
  bool mRefuse = false;
  bool mFailLoad = false;

 protected:
  void OnLoad() override {
    mJournal.Note(QStringLiteral("load"));
    if (mFailLoad) throw Failure(5, QStringLiteral("no such file"));
  }
  void OnActivate() override { mJournal.Note(QStringLiteral("activate")); }
  void OnResize() override { mJournal.Note(QStringLiteral("resize")); }
  bool OnQueryUnload() override {
    mJournal.Note(QStringLiteral("query"));
    return !mRefuse;
  }
  void OnUnload() override { mJournal.Note(QStringLiteral("unload")); }

 private:
  Journal& mJournal;
};

struct FormTest : testing::Test {
  Journal journal;
  FakeDesktop desktop{journal};
  LoggedForm form{desktop, journal};
};

TEST_F(FormTest, Showing_loads_once) {
  form.Show();
  form.Hide();
  form.Show();
  EXPECT_TRUE(form.Visible());
  EXPECT_EQ(journal.lines, (QStringList{QStringLiteral("load"), QStringLiteral("show frmTest"),
                                        QStringLiteral("hide frmTest"), QStringLiteral("show frmTest")}));
}

TEST_F(FormTest, Unloading_asks_and_hides_and_the_next_use_loads_again) {
  form.Show();
  EXPECT_TRUE(form.Unload());
  EXPECT_FALSE(form.IsLoaded());
  EXPECT_FALSE(form.Visible());
  form.Load();
  EXPECT_EQ(journal.lines.count(QStringLiteral("load")), 2);
  EXPECT_EQ(journal.lines.mid(2, 3),
            (QStringList{QStringLiteral("query"), QStringLiteral("unload"), QStringLiteral("hide frmTest")}));
}

TEST_F(FormTest, A_load_that_fails_is_tried_again_at_the_next_use) {
  form.mFailLoad = true;
  EXPECT_THROW(form.Show(), Failure);
  EXPECT_FALSE(form.IsLoaded());
  EXPECT_FALSE(form.Visible());
  form.mFailLoad = false;
  form.Show();
  EXPECT_TRUE(form.Visible());
  EXPECT_EQ(journal.lines,
            (QStringList{QStringLiteral("load"), QStringLiteral("load"), QStringLiteral("show frmTest")}));
}

TEST_F(FormTest, A_refused_unload_changes_nothing) {
  form.Show();
  form.mRefuse = true;
  EXPECT_FALSE(form.Unload());
  EXPECT_TRUE(form.IsLoaded());
  EXPECT_TRUE(form.Visible());
}

TEST_F(FormTest, Unloading_what_is_not_loaded_does_nothing) {
  EXPECT_TRUE(form.Unload());
  EXPECT_TRUE(journal.lines.isEmpty());
}

TEST_F(FormTest, A_modal_form_is_shown_over_its_owner) {
  Form owner(desktop, QStringLiteral("frmOwner"));
  desktop.mModalScripts.append([](Form& shown) { shown.Hide(); });
  form.ShowModal(&owner);
  EXPECT_FALSE(form.Visible());
  EXPECT_TRUE(journal.lines.contains(QStringLiteral("show modal frmTest over frmOwner")));
}

TEST_F(FormTest, The_face_tells_size_and_state) {
  form.FaceResized({150, 300, 3000, 1500}, 2900, 1400);
  EXPECT_EQ(form.Geometry(), (Rect{150, 300, 3000, 1500}));
  EXPECT_EQ(form.ScaleWidth(), 2900);
  form.FaceResized({300, 300, 3000, 1500}, 2900, 1400);
  form.FaceStateChanged(WindowState::kMinimized);
  EXPECT_EQ(form.State(), WindowState::kMinimized);
  EXPECT_EQ(journal.lines, (QStringList{QStringLiteral("resize"), QStringLiteral("resize")}));
}

TEST_F(FormTest, A_form_that_was_hidden_minimised_is_shown_normal) {
  form.Show();
  form.FaceStateChanged(WindowState::kMinimized);
  form.Show();
  EXPECT_EQ(form.State(), WindowState::kMinimized) << "its face brings back one that is shown";
  form.Hide();
  form.Show();
  EXPECT_EQ(form.State(), WindowState::kNormal);
  form.FaceStateChanged(WindowState::kMinimized);
  form.Unload();
  form.Show();
  EXPECT_EQ(form.State(), WindowState::kNormal);
  form.FaceStateChanged(WindowState::kMaximized);
  form.Hide();
  form.Show();
  EXPECT_EQ(form.State(), WindowState::kMaximized);
}

TEST_F(FormTest, The_logic_tells_the_face_what_it_sets) {
  int geometries = 0;
  int states = 0;
  int captions = 0;
  QObject::connect(&form, &Form::GeometryChanged, &form, [&] { ++geometries; });
  QObject::connect(&form, &Form::StateChanged, &form, [&] { ++states; });
  QObject::connect(&form, &Form::CaptionChanged, &form, [&] { ++captions; });
  form.SetGeometry({0, 0, 3000, 1800});
  form.SetGeometry({0, 0, 3000, 1800});
  form.SetState(WindowState::kMinimized);
  form.SetState(WindowState::kMinimized);
  form.SetCaption(QStringLiteral("Title"));
  form.SetCaption(QStringLiteral("Title"));
  EXPECT_EQ(geometries, 1);
  EXPECT_EQ(states, 1);
  EXPECT_EQ(captions, 1);
}

TEST_F(FormTest, A_control_has_a_place_in_twips) {
  Control control(form, QStringLiteral("ctl"));
  int placed = 0;
  QObject::connect(&control, &Control::Placed, &control, [&] { ++placed; });
  control.SetPlace({15, 30, 150, 300});
  control.SetPlace({15, 30, 150, 300});
  EXPECT_EQ(placed, 1);
  EXPECT_EQ(control.Place().Right(), 165);
  EXPECT_EQ(control.Place().Bottom(), 330);
}

}  // namespace
}  // namespace veltrane
