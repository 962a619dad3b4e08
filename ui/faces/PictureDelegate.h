// Draws the rows of trees and lists: the picture of the image key before the text, and of a very long text
// only its beginning, on one line.
#pragma once

#include <QStyledItemDelegate>

namespace veltrane {

class PictureDelegate : public QStyledItemDelegate {
  Q_OBJECT

 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  /// What of a text is shown; a cell may hold all the data of an event.
  static QString Shown(const QString& text);
  static constexpr qsizetype kLongest = 500;

  QString displayText(const QVariant& value, const QLocale& locale) const override;
  /// Rows are equally high with a picture and without.
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  /// A text that has no room stands whole in its tool tip.
  bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                 const QModelIndex& index) override;

 protected:
  void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};

}  // namespace veltrane
