// What can be shared, as a list model: screens, then windows front to back, each with an icon and a picture.
#pragma once

#include <QAbstractListModel>
#include <QImage>
#include <QList>

struct Source {
    quint32 number = 0;
    bool isScreen = false;
    QString title;
    QString owner;  // the application; empty for a screen
    QImage icon;
    QImage picture;
};

class Sources : public QAbstractListModel {
    Q_OBJECT

  public:
    enum Role { NumberRole = Qt::UserRole, IsScreenRole, OwnerRole, PictureRole, IconRole };

    using QAbstractListModel::QAbstractListModel;
    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

    // Reads the lists again. Rows that stay keep their place in the views, and their pictures.
    // own: windows that are not offered.
    void refresh(const QList<quint32>& own);
    // Asks for the picture of the next source in turn; it comes with Capture::pictureArrived.
    void askForNextPicture();
    void setPicture(quint32 number, const QImage& picture);

  private:
    void update(int row, const Source& source);

    QList<Source> sources_;
    int nextPicture_ = 0;
};
