// Where a picture goes: as large as fits, in the middle.
#pragma once

#include <QRect>
#include <QSize>

inline QRect placedIn(const QRect& place, const QSize& picture) {
    QRect placed(QPoint(), picture.scaled(place.size(), Qt::KeepAspectRatio));
    placed.moveCenter(place.center());
    return placed;
}
