#include "card_delegate.h"

#include <QListView>
#include <QPainter>
#include <QPainterPath>

#include "picture.h"
#include "sources.h"

namespace {

constexpr int kMargin = 5;
constexpr int kPadding = 8;
constexpr int kIcon = 28;
constexpr qreal kRadius = 8;

int textHeight(const QFontMetrics& font) {
    return qMax(kIcon, 2 * font.height());
}

QColor mixed(const QColor& from, const QColor& to, qreal part) {
    return QColor::fromRgbF(from.redF() + (to.redF() - from.redF()) * part,
                            from.greenF() + (to.greenF() - from.greenF()) * part,
                            from.blueF() + (to.blueF() - from.blueF()) * part);
}

void paintBackground(QPainter& painter, const QStyleOptionViewItem& option, const QRectF& card) {
    const QPalette& palette = option.palette;
    const bool isChosen = option.state & QStyle::State_Selected;
    const bool isHovered = option.state & QStyle::State_MouseOver;
    const QColor base = palette.color(QPalette::Base);
    const QColor accent = palette.color(QPalette::Highlight);
    QColor fill = mixed(base, palette.color(QPalette::Text), isHovered ? 0.09 : 0.04);
    if (isChosen) fill = mixed(base, accent, 0.22);
    painter.setPen(QPen(isChosen ? accent : mixed(base, palette.color(QPalette::Text), 0.14), isChosen ? 2 : 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(card, kRadius, kRadius);
    if ((option.state & QStyle::State_HasFocus) && !isChosen) {
        painter.setPen(QPen(accent, 1, Qt::DotLine));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(card.adjusted(3, 3, -3, -3), kRadius - 3, kRadius - 3);
    }
}

void paintPicture(QPainter& painter, const QPalette& palette, const QRect& place, const QImage& picture) {
    QPainterPath rounded;
    rounded.addRoundedRect(place, kRadius / 2, kRadius / 2);
    painter.save();
    painter.setClipPath(rounded);
    painter.fillRect(place, mixed(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.10));
    if (!picture.isNull()) painter.drawImage(placedIn(place, picture.size()), picture);
    painter.restore();
}

// A program without an icon gets its initial.
void paintIcon(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place, const QModelIndex& index) {
    const QImage icon = index.data(Sources::IconRole).value<QImage>();
    if (!icon.isNull()) return painter.drawImage(placedIn(place, icon.size()), icon);
    const QPalette& palette = option.palette;
    painter.setPen(Qt::NoPen);
    painter.setBrush(mixed(palette.color(QPalette::Base), palette.color(QPalette::Text), 0.16));
    painter.drawRoundedRect(place, kRadius / 2, kRadius / 2);
    painter.setPen(palette.color(QPalette::PlaceholderText));
    painter.drawText(place, Qt::AlignCenter, index.data().toString().left(1).toUpper());
}

// Two lines: the title, and the application unless that says the same.
void paintText(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place, const QModelIndex& index) {
    const QFontMetrics& font = option.fontMetrics;
    const QString title = index.data().toString();
    const QString owner = index.data(Sources::OwnerRole).toString();
    const bool isOneLine = owner.isEmpty() || owner == title;
    const QRect first = isOneLine ? place : QRect(place.left(), place.top(), place.width(), place.height() / 2);
    const int flags = Qt::AlignVCenter | (title.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft);
    painter.setPen(option.palette.color(QPalette::Text));
    painter.drawText(first, flags, font.elidedText(title, Qt::ElideMiddle, place.width()));
    if (isOneLine) return;
    painter.setPen(option.palette.color(QPalette::PlaceholderText));
    const QRect second(place.left(), first.bottom() + 1, place.width(), place.height() - first.height());
    painter.drawText(second, Qt::AlignVCenter | Qt::AlignLeft, font.elidedText(owner, Qt::ElideRight, place.width()));
}

}  // namespace

int CardDelegate::heightFor(int width, const QFontMetrics& font) {
    return (width - 2 * (kMargin + kPadding)) * 9 / 16 + textHeight(font) + 2 * kMargin + 3 * kPadding;
}

QSize CardDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& /*index*/) const {
    const auto* view = qobject_cast<const QListView*>(option.widget);
    return view ? view->gridSize() : QSize();
}

void CardDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    painter->save();
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const QRect card = option.rect.adjusted(kMargin, kMargin, -kMargin, -kMargin);
    paintBackground(*painter, option, QRectF(card).adjusted(0.5, 0.5, -0.5, -0.5));

    const QRect inner = card.adjusted(kPadding, kPadding, -kPadding, -kPadding);
    const int below = textHeight(option.fontMetrics);
    const QRect picture = inner.adjusted(0, 0, 0, -below - kPadding);
    paintPicture(*painter, option.palette, picture, index.data(Sources::PictureRole).value<QImage>());

    QRect text(inner.left(), picture.bottom() + 1 + kPadding, inner.width(), below);
    if (!index.data(Sources::IsScreenRole).toBool()) {
        const QRect icon(text.left(), text.top() + (below - kIcon) / 2, kIcon, kIcon);
        paintIcon(*painter, option, icon, index);
        text.setLeft(icon.right() + 1 + kPadding);
    }
    paintText(*painter, option, text, index);
    painter->restore();
}
