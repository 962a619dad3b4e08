#include "ui/faces/PictureDelegate.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QToolTip>

#include <algorithm>

#include "forms/ListModel.h"
#include "forms/TreeModel.h"
#include "ui/faces/Pictures.h"

namespace veltrane {
namespace {

constexpr int kPictureSize = 16;

}  // namespace

static_assert(static_cast<int>(ListModel::kImageRole) == static_cast<int>(TreeModel::kImageRole));

// Line ends become spaces and what else has no picture a dot, so that a row stays one line high.
QString PictureDelegate::Shown(const QString& text) {
  QString shown = text.left(kLongest);
  const auto replace = [](QChar letter) {
    if (letter == u'\r' || letter == u'\n' || letter == u'\t') return QChar(u' ');
    return letter.category() == QChar::Other_Control ? QChar(u'\u00b7') : letter;
  };
  std::transform(shown.begin(), shown.end(), shown.begin(), replace);
  if (text.size() > kLongest) shown += u'\u2026';
  return shown;
}

QString PictureDelegate::displayText(const QVariant& value, const QLocale&) const {
  return Shown(value.toString());
}

QSize PictureDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  const QSize size = QStyledItemDelegate::sizeHint(option, index);
  return {size.width(), std::max(size.height(), kPictureSize + 2)};
}

bool PictureDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                const QStyleOptionViewItem& option, const QModelIndex& index) {
  if (event->type() != QEvent::ToolTip || !index.isValid()) return false;
  const bool hasRoom = sizeHint(option, index).width() <= view->visualRect(index).width();
  const QString text = hasRoom ? QString() : Shown(index.data().toString()).toHtmlEscaped();
  QToolTip::showText(event->globalPos(), text, view);
  return true;
}

void PictureDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
  QStyledItemDelegate::initStyleOption(option, index);
  const QString image = index.data(TreeModel::kImageRole).toString();
  if (image.isEmpty()) return;
  option->features |= QStyleOptionViewItem::HasDecoration;
  option->icon = Picture(image);
  option->decorationSize = QSize(kPictureSize, kPictureSize);
}

}  // namespace veltrane
