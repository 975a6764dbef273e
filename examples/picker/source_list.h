// A grid of cards: the screens or the windows among the sources that match a search.
#pragma once

#include <QListView>
#include <QSortFilterProxyModel>

#include "sources.h"

class SourceFilter : public QSortFilterProxyModel {
    Q_OBJECT

  public:
    SourceFilter(Sources* sources, bool screens, QObject* parent);
    void setSearch(const QString& text);

  protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

  private:
    const bool screens_;
    QString search_;
};

class SourceList : public QListView {
    Q_OBJECT

  public:
    // nothing: what an empty list says.
    SourceList(Sources* sources, bool screens, const QString& nothing, QWidget* parent = nullptr);
    void setSearch(const QString& text);
    // Shows which source is shared; 0 for none of these.
    void mark(quint32 number);
    int count() const { return filter_->rowCount(); }

  signals:
    void chosen(const QModelIndex& source);  // by a click, Enter or Space
    void countChanged();

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void arrange();

    SourceFilter* const filter_;
    const QString nothing_;
    bool isSearched_ = false;
    quint32 marked_ = 0;
};
