#include "sources.h"

#include <orvo/screencapture_additions.h>

#include "capture.h"

namespace {

QString ownerOf(quint32 window) {
    OrvoScreenCaptureWindowOwner owner = ORVO_SCREENCAPTURE_WINDOW_OWNER_INIT;
    orvo_screencapture_get_window_owner(window, &owner);
    return QString::fromUtf8(owner.name);
}

Source sourceOf(const OrvoThumbnailWindowInfo& info) {
    Source source;
    source.number = info.itemID;
    source.isScreen = info.isScreen != 0;
    source.owner = source.isScreen ? QString() : ownerOf(info.itemID);
    source.title = QString::fromUtf8(info.title).simplified();
    if (source.title.isEmpty()) source.title = source.owner.isEmpty() ? Sources::tr("Untitled") : source.owner;
    source.icon = imageOf(info.iconThumbnail);
    source.picture = imageOf(info.imageThumbnail);
    return source;
}

QList<Source> currentSources(const QList<quint32>& own) {
    orvo_windowthumbnail_find_windows_async(true);  // without pictures: fast enough for the thread of the widgets
    int count = 0;
    OrvoThumbnailWindowInfo* const infos = orvo_windowthumbnail_find_windows(&count);
    QList<Source> found;
    for (int i = 0; i < count; ++i)
        if (!own.contains(infos[i].itemID)) found.append(sourceOf(infos[i]));
    orvo_windowthumbnail_free_windows(infos, count);
    return found;
}

int rowOf(const QList<Source>& sources, quint32 number) {
    for (int row = 0; row < sources.size(); ++row)
        if (sources[row].number == number) return row;
    return -1;
}

}  // namespace

int Sources::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(sources_.size());
}

QVariant Sources::data(const QModelIndex& index, int role) const {
    const Source& source = sources_[index.row()];
    switch (role) {
        case Qt::DisplayRole:
            return source.title;
        case Qt::AccessibleTextRole:
        case Qt::ToolTipRole:
            return source.owner.isEmpty() ? source.title : source.title + QStringLiteral(" – ") + source.owner;
        case NumberRole:
            return source.number;
        case IsScreenRole:
            return source.isScreen;
        case OwnerRole:
            return source.owner;
        case PictureRole:
            return source.picture;
        case IconRole:
            return source.icon;
        default:
            return {};
    }
}

void Sources::refresh(const QList<quint32>& own) {
    const QList<Source> found = currentSources(own);
    for (int row = rowCount() - 1; row >= 0; --row) {
        if (rowOf(found, sources_[row].number) >= 0) continue;
        beginRemoveRows({}, row, row);
        sources_.removeAt(row);
        endRemoveRows();
    }
    for (const Source& source : found) {
        const int row = rowOf(sources_, source.number);
        if (row >= 0) {
            update(row, source);
            continue;
        }
        const int end = rowCount();
        beginInsertRows({}, end, end);
        sources_.append(source);
        endInsertRows();
        orvo_windowthumbnail_register(source.number);
    }
}

void Sources::update(int row, const Source& source) {
    Source& known = sources_[row];
    if (known.title == source.title && known.icon == source.icon) return;
    known.title = source.title;
    known.icon = source.icon;
    emit dataChanged(index(row), index(row));
}

void Sources::askForNextPicture() {
    if (sources_.isEmpty()) return;
    nextPicture_ = (nextPicture_ + 1) % rowCount();
    orvo_windowthumbnail_register(sources_[nextPicture_].number);
}

void Sources::setPicture(quint32 number, const QImage& picture) {
    const int row = rowOf(sources_, number);
    if (row < 0 || picture.isNull()) return;
    sources_[row].picture = picture;
    emit dataChanged(index(row), index(row), {PictureRole});
}
