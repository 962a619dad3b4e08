// The arithmetic of the main window's layout, by table.
#include <gtest/gtest.h>

#include "ui/MainLayout.h"

namespace veltrane {

void PrintTo(const Rect& rect, std::ostream* out) {
  *out << rect.left << ' ' << rect.top << ' ' << rect.width << ' ' << rect.height;
}

namespace {

MainSizes Usual() {
  return {.width = 15000,
          .height = 10500,
          .treeWidth = 3720,
          .detailsHeight = 5300,
          .toolBarHeight = 660,
          .statusBarHeight = 360,
          .navigationWidth = 1620,
          .realTimeTitleHeight = 320,
          .closeBox = {0, 0, 255, 255},
          .computerWidth = 960,
          .diagramFrame = {-150, -300, 1, 1}};
}

struct PlaceRow {
  const char* name;
  Rect MainPlaces::*place;
  Rect expected;
};

void ExpectPlaces(const MainSizes& sizes, std::initializer_list<PlaceRow> rows) {
  const MainPlaces places = ArrangeMainWindow(sizes);
  for (const PlaceRow& row : rows)
    EXPECT_EQ(places.*row.place, row.expected) << row.name;
}

TEST(MainLayoutTest, With_everything_shown) {
  // The toolbar ends at 690, so the panes begin at 710.
  ExpectPlaces(
      Usual(),
      {{"barToolbar", &MainPlaces::barToolbar, {20, 30, 15000 - 675 - 70, 660}},
       {"panWorking", &MainPlaces::panWorking, {14255 - 70, 10, 675, 690}},
       {"aniWorking", &MainPlaces::aniWorking, {47, 40, 580, 500}},
       {"lblSockets", &MainPlaces::lblSockets, {20, 710, 3720, 320}},
       {"tvwSockets", &MainPlaces::tvwSockets, {20, 1050, 3720, 10500 - 60 - 320 - 360 - 300 - 420}},
       {"lblDetails", &MainPlaces::lblDetails, {3820, 710, 15000 - 3720 - 80 - 40 - 130 - 1620, 320}},
       {"barNavigation", &MainPlaces::barNavigation, {3820 + 9410, 710, 1620, 320}},
       {"lvwDetails", &MainPlaces::lvwDetails, {3820, 1050, 11030, 5300}},
       {"panDiagramOuter", &MainPlaces::panDiagramOuter, {3820, 1050, 11030, 5300}},
       {"panDiagram", &MainPlaces::panDiagram, {60, 60, 11030 - 115, 5300 - 115}},
       {"fraConnectionPanel", &MainPlaces::fraConnectionPanel, {-150, -300, 2880 + 8400, 5300}},
       {"lblRealTime", &MainPlaces::lblRealTime, {3820, 6430, 11030, 320}},
       {"chkCloseRealTime", &MainPlaces::chkCloseRealTime, {14850 - 35 - 255, 6460, 255, 255}},
       {"txtRealTime",
        &MainPlaces::txtRealTime,
        {3820, 6770, 11030, 10500 - 80 - 320 - 360 - 300 - 5300 - 320 - 80 - 420}},
       {"imgSplitterHoriz", &MainPlaces::imgSplitterHoriz, {3740, 6350, 11110, 80}},
       {"imgSplitterVert", &MainPlaces::imgSplitterVert, {3740, 1050, 80, 9040}},
       {"barStatus", &MainPlaces::barStatus, {0, 10140, 15000, 360}}});
}

TEST(MainLayoutTest, Tree_and_real_time_pane_end_at_one_height_above_the_status_bar) {
  const MainPlaces places = ArrangeMainWindow(Usual());
  EXPECT_EQ(places.tvwSockets.Bottom(), places.txtRealTime.Bottom());
  EXPECT_LE(places.tvwSockets.Bottom(), places.barStatus.top);
}

TEST(MainLayoutTest, The_lines_run_under_the_menu_one_pixel_apart) {
  const MainPlaces places = ArrangeMainWindow(Usual());
  EXPECT_EQ(places.lneSep[0], (Rect{0, 0, 14925, 15}));
  EXPECT_EQ(places.lneSep[1], (Rect{0, 15, 14925, 15}));
}

TEST(MainLayoutTest, Without_the_toolbar_the_tree_moves_up_and_stays_as_high) {
  const MainPlaces before = ArrangeMainWindow(Usual());
  MainSizes sizes = Usual();
  sizes.toolBarShown = false;
  const MainPlaces after = ArrangeMainWindow(sizes);
  EXPECT_EQ(after.lblSockets.top, 50);
  EXPECT_EQ(after.tvwSockets.top, before.tvwSockets.top - 660);
  EXPECT_EQ(after.tvwSockets.height, before.tvwSockets.height);
}

TEST(MainLayoutTest, Without_the_status_bar_tree_and_pane_have_its_height) {
  const MainPlaces before = ArrangeMainWindow(Usual());
  MainSizes sizes = Usual();
  sizes.statusBarShown = false;
  const MainPlaces after = ArrangeMainWindow(sizes);
  EXPECT_EQ(after.tvwSockets.height, before.tvwSockets.height + 360);
  EXPECT_EQ(after.txtRealTime.height, before.txtRealTime.height + 360);
}

TEST(MainLayoutTest, Without_the_real_time_pane_the_grid_is_as_high_as_the_tree) {
  MainSizes sizes = Usual();
  sizes.realTimeShown = false;
  const MainPlaces places = ArrangeMainWindow(sizes);
  EXPECT_EQ(places.lvwDetails.height, places.tvwSockets.height);
  EXPECT_EQ(places.panDiagramOuter, places.lvwDetails);
}

TEST(MainLayoutTest, The_diagrams_frame_keeps_its_place_and_what_it_has_grown) {
  MainSizes sizes = Usual();
  sizes.diagramFrame = {-90, -2000, 5, 30000};
  EXPECT_EQ(ArrangeMainWindow(sizes).fraConnectionPanel, (Rect{-90, -2000, 11280, 30000}));
}

TEST(MainLayoutTest, Headings_stand_in_the_middle_over_the_three_columns) {
  const MainPlaces places = ArrangeMainWindow(Usual());
  const int columns[] = {800, 960 + 800 + 3000, 2 * 960 + 800 + 3000 + 3000};
  for (int i = 0; i < 3; ++i) {
    const Rect& heading = places.headings[i];
    EXPECT_EQ(heading.left + heading.width / 2, columns[i] + 960 / 2);
  }
}

TEST(MainLayoutTest, The_scroll_bars_lie_inside_the_diagram_along_its_edges) {
  const MainPlaces places = ArrangeMainWindow(Usual());
  EXPECT_EQ(places.scrVert.top, 30);
  EXPECT_EQ(places.scrVert.Right(), places.panDiagramOuter.width - 30);
  EXPECT_EQ(places.scrHoriz.Bottom(), places.panDiagramOuter.height - 30);
  EXPECT_LE(places.scrHoriz.Right(), places.scrVert.left);
  EXPECT_LE(places.scrVert.Bottom(), places.scrHoriz.top);
}

TEST(MainLayoutTest, A_window_too_small_gives_sizes_below_zero_and_nothing_worse) {
  MainSizes sizes = Usual();
  sizes.width = 1000;
  sizes.height = 500;
  const MainPlaces places = ArrangeMainWindow(sizes);
  EXPECT_LT(places.tvwSockets.height, 0);
  EXPECT_LT(places.lblDetails.width, 0);
}

// Title at 710 to 1030, grid of 5300 below, window 10500 high: so the splitter is at 6350.
TEST(MainLayoutTest, The_horizontal_splitter_stops_at_its_limits) {
  const Rect splitter{3740, 6350, 11110, 80};
  const Rect title{3820, 710, 9410, 320};
  const struct {
    int offset;
    int top;
    float height;
  } rows[] = {{0, 6350, 5300},     {-4300, 2050, 1000}, {-4301, 2050, 1000},
              {-9000, 2050, 1000}, {700, 7050, 6000},   {2400, 8750, 7700},
              {2401, 8750, 7700},  {50000, 8750, 7700}, {-1234, 5116, 4066}};
  for (const auto& row : rows) {
    const int top = DraggedTop(splitter, title, 5300, row.offset, 10500);
    EXPECT_EQ(top, row.top) << row.offset;
    EXPECT_EQ(DetailsHeightAt(top, title), row.height) << row.offset;
  }
}

TEST(MainLayoutTest, The_vertical_splitter_stops_at_its_limits) {
  const Rect splitter{3740, 1050, 80, 9040};
  const struct {
    int offset;
    int left;
    float width;
  } rows[] = {{0, 3740, 3720},       {-3220, 520, 500},     {-3221, 520, 500},     {-9000, 520, 500},
              {10280, 14020, 14000}, {10281, 14020, 14000}, {50000, 14020, 14000}, {100, 3840, 3820}};
  for (const auto& row : rows) {
    const int left = DraggedLeft(splitter, 3720, row.offset, 15000);
    EXPECT_EQ(left, row.left) << row.offset;
    EXPECT_EQ(TreeWidthAt(left), row.width) << row.offset;
  }
}

}  // namespace
}  // namespace veltrane
