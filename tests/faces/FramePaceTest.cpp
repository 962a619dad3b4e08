// How seldom something is drawn that keeps changing.
#include <QElapsedTimer>
#include <QStyledItemDelegate>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

#include "forms/Form.h"
#include "forms/TreeView.h"
#include "tests/support/FaceFrame.h"
#include "tests/support/FakeDesktop.h"
#include "ui/faces/Binder.h"
#include "ui/faces/FramePace.h"

namespace veltrane {
namespace {

constexpr int kCostMs = 4;
constexpr int kCostToPause = 50;
/// The longest that a tree's view pauses.
constexpr int kLongestMs = 100;

/// Keeps the processor busy, as drawing does.
void Work(int ms) {
  QElapsedTimer clock;
  clock.start();
  while (clock.elapsed() < ms) {
  }
}

TEST(FramePaceTest, The_pause_is_fifty_times_what_drawing_took) {
  FramePace pace(100'000);
  QWidget widget;
  QElapsedTimer drawing;
  drawing.start();
  pace.Draw(widget, [] { Work(kCostMs); });
  QElapsedTimer rest;
  rest.start();
  const int pause = pace.Pause();
  EXPECT_GE(pause, kCostToPause * kCostMs - rest.elapsed() - 1);
  EXPECT_LE(pause, kCostToPause * (drawing.elapsed() + 1));
}

TEST(FramePaceTest, What_comes_after_a_rest_is_drawn_at_the_next_frame) {
  FramePace pace(60);
  QWidget widget;
  pace.Draw(widget, [] { Work(kCostMs); });
  Work(60);
  EXPECT_EQ(pace.Pause(), FramePace::kFrameMs);
}

TEST(FramePaceTest, The_pause_is_a_frame_at_the_least_and_never_longer_than_its_limit) {
  FramePace pace(60);
  EXPECT_EQ(pace.Pause(), FramePace::kFrameMs) << "before anything was drawn";
  QWidget widget;
  pace.Draw(widget, [] { Work(kCostMs); });
  EXPECT_GT(pace.Pause(), FramePace::kFrameMs);
  EXPECT_LE(pace.Pause(), 60);
  // On a busy machine also nothing may take its time.
  for (int turn = 0; turn < 1000 && pace.Pause() > FramePace::kFrameMs; ++turn)
    pace.Draw(widget, [] {});
  EXPECT_EQ(pace.Pause(), FramePace::kFrameMs);
}

/// Draws as slowly as a large window does on a slow display.
class SlowDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter*, const QStyleOptionViewItem&, const QModelIndex&) const override {
    ++mDrawn;
    Work(kCostMs);
  }
  mutable int mDrawn = 0;
};

struct ViewPaceTest : testing::Test {
  ViewPaceTest() {
    view.setObjectName(QStringLiteral("tvw"));
    tree.Add({}, QStringLiteral("A"), QStringLiteral("A"), QStringLiteral("Protocol"));
    BindControls(form, face);
    face.show();
  }

  Journal journal;
  FakeDesktop desktop{journal};
  Form form{desktop, QStringLiteral("frm")};
  TreeView tree{form, QStringLiteral("tvw")};
  QWidget face;
  QTreeView& view = *new QTreeView(&face);
};

TEST_F(ViewPaceTest, A_view_that_is_slow_to_draw_is_drawn_seldom_while_its_control_keeps_changing) {
  SlowDelegate delegate;
  view.setItemDelegate(&delegate);
  WaitForFrame();
  delegate.mDrawn = 0;
  QElapsedTimer clock;
  clock.start();
  for (int change = 0; clock.elapsed() < 500; ++change) {
    tree.Node(QStringLiteral("A")).SetText(QString::number(change));
    QCoreApplication::processEvents();
  }
  EXPECT_GE(delegate.mDrawn, 2) << "it is drawn while it changes";
  // Two more than such pauses have room for: one at either end.
  EXPECT_LE(delegate.mDrawn, 500 / kLongestMs + 2);
}

}  // namespace
}  // namespace veltrane
