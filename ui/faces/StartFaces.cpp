#include "ui/faces/StartFaces.h"

#include <QFrame>
#include <QLabel>
#include <QPalette>
#include <QScreen>

#include "ui/faces/AnimationFace.h"
#include "ui/faces/Pictures.h"
#include "ui/frmAbout.h"

namespace veltrane {

void FinishSplash(Form&, QWidget& face) {
  face.setWindowFlags(Qt::SplashScreen | Qt::FramelessWindowHint);
  const QRect screen = face.screen()->availableGeometry();
  face.move(screen.center() - face.rect().center());
  auto& picture = *face.findChild<QLabel*>(QStringLiteral("imgPicture"));
  picture.setPixmap(SplashPicture(face.size(), face.devicePixelRatioF()));
}

void FinishAbout(Form& form, QWidget& face) {
  auto& about = static_cast<frmAbout&>(form);
  auto& holder = *face.findChild<QFrame*>(about.panAniHolder.Name());
  auto* animation = new AnimationFace(about.aniAnimation, holder);
  animation->setGeometry(QRect(QPoint(), holder.maximumSize()));
  auto& link = *face.findChild<QLabel*>(about.lblURL.Name());
  QPalette palette = link.palette();
  palette.setColor(QPalette::WindowText, palette.color(QPalette::Link));
  link.setPalette(palette);
}

}  // namespace veltrane
