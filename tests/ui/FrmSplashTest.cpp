#include <gtest/gtest.h>

#include "tests/support/World.h"
#include "ui/frmSplash.h"

namespace veltrane {
namespace {

TEST(FrmSplashTest, Loading_it_fills_in_the_version_with_the_revision_as_the_build) {
  World world;
  frmSplash splash(world.mDesktop, {3, 14, 159});
  EXPECT_EQ(splash.lblVersion.Caption(), QString());
  splash.Show();
  EXPECT_EQ(splash.lblVersion.Caption(), QStringLiteral("Version: 3.14 Build: 159"));
}

TEST(FrmSplashTest, A_version_of_nothing_but_zeros_is_told_in_full) {
  World world;
  frmSplash splash(world.mDesktop, {0, 0, 0});
  splash.Load();
  EXPECT_EQ(splash.lblVersion.Caption(), QStringLiteral("Version: 0.0 Build: 0"));
}

TEST(FrmSplashTest, It_goes_when_the_start_takes_it_away) {
  World world;
  frmSplash splash(world.mDesktop, {1, 0, 1});
  splash.Show();
  EXPECT_TRUE(splash.Unload());
  EXPECT_FALSE(splash.IsLoaded());
  EXPECT_EQ(world.mJournal.lines.last(), QStringLiteral("hide frmSplash"));
}

}  // namespace
}  // namespace veltrane
