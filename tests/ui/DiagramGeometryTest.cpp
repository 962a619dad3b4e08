// The arithmetic of the connection diagram, by table.
#include <gtest/gtest.h>

#include "ui/DiagramGeometry.h"

namespace veltrane {

void PrintTo(const Rect& rect, std::ostream* out);

namespace {

using enum DiagramArray;

TEST(DiagramGeometryTest, Cells_stand_in_their_columns_row_by_row) {
  const struct {
    DiagramArray array;
    int row;
    bool failed;
    Rect expected;
  } rows[] = {
      {aniClient, 1, false, {800, 1200, 960, 840}},
      {aniClient, 1, true, {800, 1200, 960, 1200}},
      {aniVLT, 1, false, {960 + 800 + 3000, 1200, 960, 840}},
      {aniServer, 2, false, {2 * 960 + 800 + 3000 + 3000, 2800, 960, 840}},
      {aniServer, 2, true, {8720, 2800, 960, 1200}},
      {pctInternet, 3, false, {8720, 4800 - 920, 1680, 1560}},
      {aniClient2VLT, 1, false, {(800 + 4760) / 2 + 400 - 960, 1200, 1920, 720}},
      {aniVLT2Server, 20, false, {(4760 + 8720) / 2 + 480 - 960, 31600, 1920, 720}},
  };
  for (const auto& row : rows)
    EXPECT_EQ(CellPlace(row.array, row.row, row.failed), row.expected) << static_cast<int>(row.array);
}

TEST(DiagramGeometryTest, Labels_stand_centred_below_and_within_the_row) {
  for (const DiagramArray array : {aniClient, aniVLT, aniServer}) {
    const Rect place = CellPlace(array, 4);
    const Rect label = LabelPlace(array, place);
    EXPECT_EQ(label.width, 1815);
    EXPECT_EQ(label.height, 400);
    EXPECT_EQ(label.top, place.Bottom() + 80);
    EXPECT_NEAR(2 * label.left + label.width, 2 * place.left + place.width, 1);
    EXPECT_LE(label.Bottom(), CellPlace(array, 5).top);
  }
  for (const DiagramArray array : {aniClient2VLT, aniVLT2Server}) {
    const Rect place = CellPlace(array, 4);
    EXPECT_EQ(LabelPlace(array, place), (Rect{place.left - 40, place.Bottom(), 2000, 800}));
    EXPECT_LE(LabelPlace(array, place).Bottom(), CellPlace(array, 5).top);
  }
  EXPECT_EQ(LabelOf(aniClient), lblClient);
  EXPECT_EQ(LabelOf(aniVLT), lblVLT);
  EXPECT_EQ(LabelOf(aniServer), lblServer);
  EXPECT_EQ(LabelOf(aniClient2VLT), lblClient2VLT);
  EXPECT_EQ(LabelOf(aniVLT2Server), lblVLT2Server);
}

TEST(DiagramGeometryTest, The_surface_grows_by_row) {
  EXPECT_EQ(SurfaceHeight(1), 1200 + 1600 + 500);
  EXPECT_EQ(SurfaceHeight(20), 31600 + 1600 + 500);
}

TEST(DiagramGeometryTest, A_highlight_out_of_view_comes_to_a_third_of_the_height) {
  const Rect highlight = HighlightPlace({2220, 1200, 1920, 720});
  EXPECT_EQ(highlight, (Rect{2175, 1185, 2010, 750}));
  const struct {
    int surfaceTop;
    int highlightTop;
    int expected;
  } rows[] = {
      {0, 1000, 0},                // in view
      {0, 4250, 0},                // its lower edge on that of the view
      {0, 4251, -(1 + 5000 / 3)},  // just below
      {-1000, 9000, -1000 - 3750 - 1666},
      {-3000, 3000, -3000},            // its upper edge on that of the view
      {-3001, 3000, 5000 / 3 - 3000},  // just above
      {-900, 500, 0},                  // near the beginning: not below it
  };
  for (const auto& row : rows)
    EXPECT_EQ(ScrolledTop(row.surfaceTop, {0, row.highlightTop, 2010, 750}, 5000), row.expected)
        << row.surfaceTop << ' ' << row.highlightTop;
}

TEST(DiagramGeometryTest, Limits_of_the_scroll_bars) {
  const ScrollLimits none = HorizontalLimits(11280, 11271);
  EXPECT_EQ(none.max, 0);
  const ScrollLimits across = HorizontalLimits(11280, 7000);
  EXPECT_EQ(across.max, 428);
  EXPECT_EQ(across.smallChange, 24) << "428 / 18, rounded";
  EXPECT_EQ(across.largeChange, 1128);
  EXPECT_EQ(HorizontalLimits(11280, 11280 - 270).smallChange, 2) << "1.5";
  EXPECT_EQ(HorizontalLimits(11280, 11280 - 450).smallChange, 2) << "2.5: halves go to the even number";
  EXPECT_EQ(VerticalLimits(5000, 5300).max, 0);
  EXPECT_EQ(VerticalLimits(5000, 0).max, 0);
  const ScrollLimits down = VerticalLimits(33700, 5000);
  EXPECT_EQ(down.max, 2870);
  EXPECT_EQ(down.smallChange, 40);
  EXPECT_EQ(down.largeChange, 1934) << "33700 / 5000 x 2870 / 10, rounded";
  EXPECT_EQ(ScrollValue(-1234), 123);
  EXPECT_EQ(ScrollValue(-1235), 124);
  EXPECT_EQ(ScrollValue(-1245), 124) << "halves go to the even number";
}

}  // namespace
}  // namespace veltrane
