#include "ui/faces/TrayIcon.h"

#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QSvgRenderer>
#include <QSystemTrayIcon>

#include "ui/faces/Binder.h"
#include "ui/frmSysTray.h"

// The resources stand in a static library, which the linker would leave out.
static void LoadTrayImages() {
  Q_INIT_RESOURCE(tray);
}

namespace veltrane {
namespace {

// The sizes that panels ask for, in pixels.
constexpr int kSizes[] = {16, 22, 24, 32, 48, 64};

}  // namespace

TrayIcon::TrayIcon() : mHost(QDBusConnection::sessionBus(), QSystemTrayIcon::isSystemTrayAvailable) {
  LoadTrayImages();
}

TrayIcon::~TrayIcon() = default;

bool TrayIcon::IsAvailable() const {
  return mHost.IsAvailable();
}

void TrayIcon::AddIcon(frmSysTray& window, const QString& tip) {
  RemoveIcon();
  mWindow = &window;
  mTip = tip;
  BuildMenu();
  mHost.Refresh();
  SetImage(frmSysTray::kImageOfRest);
}

// The desktop itself pops the menu up, at the right button; being told of it is the right button's message.
void TrayIcon::BuildMenu() {
  mMenu = std::make_unique<QMenu>();
  mMenu->setObjectName(QStringLiteral("mnuSysTray"));
  const auto add = [this](const char* name) {
    mMenu->addAction(QString())->setObjectName(QLatin1String(name));
  };
  add("mnuRestore");
  mMenu->addSeparator()->setObjectName(QStringLiteral("mnuSep98"));
  add("mnuConfigure");
  mMenu->addSeparator()->setObjectName(QStringLiteral("mnuSep67"));
  add("mnuExit");
  BindControls(*mWindow, *mMenu);
  QObject::connect(mMenu.get(), &QMenu::aboutToShow, mWindow,
                   [this] { mWindow->MouseMove(frmSysTray::kRightButtonUp); });
}

// Desktops that pass clicks on by message tell single clicks only: two of them make a double one.
void TrayIcon::Activated(int reason) {
  if (!mWindow) return;
  bool isDouble = reason == QSystemTrayIcon::DoubleClick;
  if (reason == QSystemTrayIcon::Trigger) {
    isDouble = mSinceClick.isValid() && mSinceClick.elapsed() < QApplication::doubleClickInterval();
    mSinceClick.start();
  }
  if (!isDouble) return;
  mSinceClick.invalidate();
  mWindow->MouseMove(frmSysTray::kLeftButtonDoubleClick);
}

void TrayIcon::SetImage(int image) {
  if (!mMenu) return;
  // Images come all the time: an area that opens later, or answers later, gets the icon with one of them.
  const bool comesUp = !mIcon && mHost.HasAnswered() && mHost.IsAvailable();
  if (comesUp) MakeIcon();
  if (!mIcon) return;
  auto found = mImages.find(image);
  if (found == mImages.end()) found = mImages.insert(image, Image(image));
  // The icon at rest is set twice a second: what it shows already costs nothing.
  if (mIcon->icon().cacheKey() != found->cacheKey()) mIcon->setIcon(*found);
  if (comesUp) mIcon->show();
}

// Making and showing one is where the toolkit waits for whoever holds the area, so that must have answered.
void TrayIcon::MakeIcon() {
  mIcon = std::make_unique<QSystemTrayIcon>();
  mIcon->setToolTip(mTip);
  mIcon->setContextMenu(mMenu.get());
  QObject::connect(mIcon.get(), &QSystemTrayIcon::activated, mWindow,
                   [this](QSystemTrayIcon::ActivationReason reason) { Activated(reason); });
}

void TrayIcon::RemoveIcon() {
  // Its own menu may have led here: both live until the event is over.
  if (mIcon) {
    mIcon->hide();
    mIcon.release()->deleteLater();
  }
  if (mMenu) mMenu.release()->deleteLater();
}

QIcon TrayIcon::Image(int image) {
  LoadTrayImages();
  QSvgRenderer drawing(QStringLiteral(":/tray/frame%1.svg").arg(image, 2, 10, QLatin1Char('0')));
  QIcon icon;
  for (const int size : kSizes) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    drawing.render(&painter);
    painter.end();
    icon.addPixmap(pixmap);
  }
  return icon;
}

}  // namespace veltrane
