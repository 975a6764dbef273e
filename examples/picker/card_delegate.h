// Draws one source as a card: its picture, its icon, title and application.
#pragma once

#include <QStyledItemDelegate>

class CardDelegate : public QStyledItemDelegate {
    Q_OBJECT

  public:
    using QStyledItemDelegate::QStyledItemDelegate;
    static int heightFor(int width, const QFontMetrics& font);
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
