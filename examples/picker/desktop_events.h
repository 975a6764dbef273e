// Says when windows come or go, as the window manager announces it on the root window.
#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <QSet>
#include <QTimer>

class DesktopEvents : public QObject, public QAbstractNativeEventFilter {
    Q_OBJECT

  public:
    explicit DesktopEvents(QObject* parent = nullptr);  // silent where there is no X server

  signals:
    void windowsChanged();  // once for several changes in a row

  protected:
    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

  private:
    quint32 root_ = 0;
    QSet<quint32> properties_;  // their atoms
    QTimer settled_;
};
