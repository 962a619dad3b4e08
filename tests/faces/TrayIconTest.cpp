// The icon's images, and what its mouse leads to. The icon in a real notification area is tested with the
// whole program.
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QImage>
#include <QMenu>
#include <QPixmap>
#include <QSet>
#include <QSystemTrayIcon>
#include <QTest>

#include <gtest/gtest.h>

#include "tests/support/DialogFakes.h"
#include "ui/faces/TrayIcon.h"
#include "ui/faces/WidgetDesktop.h"
#include "ui/frmSysTray.h"

namespace veltrane {
namespace {

struct TrayIconTest : testing::Test {
  WidgetDesktop widgets;
  DialogWorld world{&widgets};
  Form configure{widgets, QStringLiteral("frmConfigure")};
  Form error{widgets, QStringLiteral("frmError")};
  TrayIcon icon;
  frmSysTray tray{world.mDialogGeneral, world.mShell, icon, {configure, error}};
};

TEST_F(TrayIconTest, There_are_26_images_all_different_in_every_size_of_a_panel) {
  for (const int size : {16, 22, 24, 32, 48, 64}) {
    QSet<QByteArray> pictures;
    for (int image = 1; image <= frmSysTray::kImageOfRest; ++image) {
      const QImage picture = TrayIcon::Image(image)
                                 .pixmap(QSize(size, size), 1.0)
                                 .toImage()
                                 .convertToFormat(QImage::Format_ARGB32);
      ASSERT_EQ(picture.size(), QSize(size, size));
      EXPECT_GT(qAlpha(picture.pixel(size / 2, size / 4)), 250) << "something is drawn";
      EXPECT_EQ(qAlpha(picture.pixel(0, 0)), 0) << "corners are round";
      pictures.insert(QByteArray(reinterpret_cast<const char*>(picture.constBits()), picture.sizeInBytes()));
    }
    EXPECT_EQ(pictures.size(), frmSysTray::kImageOfRest) << size;
  }
}

TEST_F(TrayIconTest, Where_there_is_no_notification_area_nothing_fails_and_no_window_hides) {
  tray.Load();
  world.mTimers.Advance(std::chrono::milliseconds(2000));
  EXPECT_EQ(tray.HasIcon(), QSystemTrayIcon::isSystemTrayAvailable());
  EXPECT_TRUE(tray.Unload());
  world.mTimers.Advance(std::chrono::milliseconds(2000));
  tray.Load();
}

TEST_F(TrayIconTest, The_menu_has_its_entries_and_separators_in_order) {
  tray.Load();
  const QMenu* menu = nullptr;
  for (const QWidget* widget : QApplication::topLevelWidgets()) {
    if (widget->objectName() == QStringLiteral("mnuSysTray")) menu = qobject_cast<const QMenu*>(widget);
  }
  ASSERT_NE(menu, nullptr);
  QStringList entries;
  for (const QAction* action : menu->actions())
    entries.append(action->objectName() + u'|' + (action->isSeparator() ? QString() : action->text()));
  EXPECT_EQ(entries, (QStringList{QStringLiteral("mnuRestore|&Restore..."), QStringLiteral("mnuSep98|"),
                                  QStringLiteral("mnuConfigure|&Configure..."), QStringLiteral("mnuSep67|"),
                                  QStringLiteral("mnuExit|E&xit")}));
  for (const QAction* action : menu->actions())
    EXPECT_EQ(action->isSeparator(), action->objectName().startsWith(QStringLiteral("mnuSep")));
}

TEST_F(TrayIconTest, A_double_click_and_two_quick_single_ones_restore_and_one_alone_does_not) {
  tray.Load();
  Form& window = world.mMain;
  const auto minimize = [&] { window.SetState(WindowState::kMinimized); };
  minimize();
  icon.Activated(QSystemTrayIcon::Trigger);
  EXPECT_EQ(window.State(), WindowState::kMinimized);
  icon.Activated(QSystemTrayIcon::DoubleClick);
  EXPECT_EQ(window.State(), WindowState::kNormal);
  minimize();
  icon.Activated(QSystemTrayIcon::Trigger);
  EXPECT_EQ(window.State(), WindowState::kMinimized) << "a click after a double click begins anew";
  icon.Activated(QSystemTrayIcon::Trigger);
  EXPECT_EQ(window.State(), WindowState::kNormal);
  minimize();
  icon.Activated(QSystemTrayIcon::Context);
  icon.Activated(QSystemTrayIcon::MiddleClick);
  EXPECT_EQ(window.State(), WindowState::kMinimized);
}

}  // namespace
}  // namespace veltrane
