// The pictures of tree, grid and bars, by the image keys of the logic. They are drawings without pixels, so
// they are crisp at any scale; their ink takes the colour of the text around them, light or dark.
#pragma once

#include <QIcon>
#include <QPixmap>

namespace veltrane {

/// The picture under a key; a null icon when there is none.
QIcon Picture(const QString& key);
/// The picture of the start in a size, for a screen with that many pixels to the unit.
QPixmap SplashPicture(const QSize& size, double ratio);

}  // namespace veltrane
