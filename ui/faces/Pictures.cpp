#include "ui/faces/Pictures.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <array>

// The resources of a static library are linked in only when somebody asks for them.
static void InitPictures() {
  Q_INIT_RESOURCE(pictures);
}

namespace veltrane {
namespace {

constexpr char kInk[] = "#111111";
constexpr std::array kAccents{"#2f7fd1", "#2e9e5b", "#d8453f", "#d9951a"};
constexpr double kDisabledOpacity = 0.35;

class PictureEngine : public QIconEngine {
 public:
  PictureEngine(QString key, QByteArray drawing) : mKey(std::move(key)), mDrawing(std::move(drawing)) {}

  // A tree that shows running traffic paints its pictures many times a second: each is drawn once.
  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
    const double ratio = painter->device()->devicePixelRatioF();
    QPixmap picture = pixmap((QSizeF(rect.size()) * ratio).toSize(), mode, state);
    picture.setDevicePixelRatio(ratio);
    painter->drawPixmap(rect, picture);
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override {
    const QString cached = QStringLiteral("picture-%1-%2-%3-%4x%5")
                               .arg(mKey, Ink(mode).name())
                               .arg(static_cast<int>(mode))
                               .arg(size.width())
                               .arg(size.height());
    QPixmap picture;
    if (QPixmapCache::find(cached, &picture)) return picture;
    picture = QPixmap(size);
    picture.fill(Qt::transparent);
    Draw(picture, mode);
    QPixmapCache::insert(cached, picture);
    return picture;
  }

  QIconEngine* clone() const override { return new PictureEngine(mKey, mDrawing); }

 private:
  void Draw(QPixmap& picture, QIcon::Mode mode) const {
    QByteArray drawing = mDrawing;
    drawing.replace(kInk, Ink(mode).name().toLatin1());
    // On the colour of a selection the accents would be lost; the shapes tell enough.
    for (const char* accent : kAccents) {
      if (mode == QIcon::Selected) drawing.replace(accent, Ink(mode).name().toLatin1());
    }
    QPainter painter(&picture);
    if (mode == QIcon::Disabled) painter.setOpacity(kDisabledOpacity);
    QSvgRenderer(drawing).render(&painter, QRect(QPoint(), picture.size()));
  }

  static QColor Ink(QIcon::Mode mode) {
    return QGuiApplication::palette().color(mode == QIcon::Selected ? QPalette::HighlightedText
                                                                    : QPalette::WindowText);
  }

  QString mKey;
  QByteArray mDrawing;
};

/// Keys differ in case: the button "Realtime" has the picture "RealTime".
QIcon Load(const QString& key) {
  const QDir folder(QStringLiteral(":/pictures"));
  for (const QString& name : folder.entryList()) {
    if (name.compare(key + QStringLiteral(".svg"), Qt::CaseInsensitive) != 0) continue;
    QFile file(folder.filePath(name));
    if (file.open(QIODevice::ReadOnly)) return QIcon(new PictureEngine(key, file.readAll()));
  }
  return {};
}

}  // namespace

QIcon Picture(const QString& key) {
  InitPictures();
  static QHash<QString, QIcon> pictures;
  const auto found = pictures.constFind(key);
  return found != pictures.constEnd() ? *found : *pictures.insert(key, Load(key));
}

QPixmap SplashPicture(const QSize& size, double ratio) {
  InitPictures();
  QPixmap picture = QPixmap(QStringLiteral(":/pictures/Splash.png"))
                        .scaled(size * ratio, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
  picture.setDevicePixelRatio(ratio);
  return picture;
}

}  // namespace veltrane
