#include "source_list.h"

#include <QPainter>
#include <QResizeEvent>
#include <QScrollBar>

#include "card_delegate.h"

namespace {
constexpr int kNarrowestCard = 168;
constexpr int kWidestCard = 260;
}  // namespace

SourceFilter::SourceFilter(Sources* sources, bool screens, QObject* parent)
    : QSortFilterProxyModel(parent), screens_(screens) {
    setSourceModel(sources);
}

void SourceFilter::setSearch(const QString& text) {
    search_ = text.trimmed();
    invalidateFilter();
}

bool SourceFilter::filterAcceptsRow(int row, const QModelIndex& parent) const {
    const QModelIndex source = sourceModel()->index(row, 0, parent);
    if (source.data(Sources::IsScreenRole).toBool() != screens_) return false;
    return source.data().toString().contains(search_, Qt::CaseInsensitive) ||
           source.data(Sources::OwnerRole).toString().contains(search_, Qt::CaseInsensitive);
}

SourceList::SourceList(Sources* sources, bool screens, const QString& nothing, QWidget* parent)
    : QListView(parent), filter_(new SourceFilter(sources, screens, this)), nothing_(nothing) {
    setModel(filter_);
    setItemDelegate(new CardDelegate(this));
    setViewMode(IconMode);
    setResizeMode(Adjust);
    setMovement(Static);
    setUniformItemSizes(true);
    setSelectionRectVisible(false);
    setMouseTracking(true);
    setFrameShape(NoFrame);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setAutoScroll(false);  // marking a card must not move the list under the user's pointer
    connect(this, &QListView::clicked, this, &SourceList::chosen);
    connect(filter_, &QAbstractItemModel::rowsInserted, this, &SourceList::countChanged);
    connect(filter_, &QAbstractItemModel::rowsRemoved, this, &SourceList::countChanged);
    connect(this, &SourceList::countChanged, this, [this] { mark(marked_); });
}

void SourceList::setSearch(const QString& text) {
    isSearched_ = !text.trimmed().isEmpty();
    filter_->setSearch(text);
    viewport()->update();
    emit countChanged();
}

// Views select a neighbour when a row vanishes; only the user chooses.
void SourceList::mark(quint32 number) {
    marked_ = number;
    for (int row = 0; row < count(); ++row) {
        const QModelIndex index = filter_->index(row, 0);
        if (index.data(Sources::NumberRole).toUInt() == number) return setCurrentIndex(index);
    }
    selectionModel()->clear();
}

void SourceList::keyPressEvent(QKeyEvent* event) {
    QListView::keyPressEvent(event);
    if (currentIndex().isValid()) scrollTo(currentIndex());
    const bool chooses =
        event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space;
    if (chooses && currentIndex().isValid()) emit chosen(currentIndex());
}

void SourceList::resizeEvent(QResizeEvent* event) {
    arrange();
    QListView::resizeEvent(event);
}

// As many columns as fit, filling the width that is left beside a scroll bar, so that its coming moves nothing.
void SourceList::arrange() {
    const int width = this->width() - verticalScrollBar()->sizeHint().width() - 2;
    const int columns = qMax(1, width / kNarrowestCard);
    const int card = qMin(width / columns, kWidestCard);
    setGridSize({card, CardDelegate::heightFor(card, fontMetrics())});
}

void SourceList::paintEvent(QPaintEvent* event) {
    QListView::paintEvent(event);
    if (count() > 0) return;
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    const QString text = isSearched_ ? tr("Nothing matches the search") : nothing_;
    painter.drawText(viewport()->rect().adjusted(16, 16, -16, -16), Qt::AlignCenter | Qt::TextWordWrap, text);
}
