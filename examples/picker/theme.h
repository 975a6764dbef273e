// Colours, light or dark: as the desktop has them, or as the user wants them.
#pragma once

#include <QObject>

class QApplication;
class QDBusVariant;

void applyTheme(QApplication& application, bool isDark);

// Follows the desktop's choice while it lives: first what Qt makes of it, then what the desktop portal says.
class SystemTheme : public QObject {
    Q_OBJECT

  public:
    explicit SystemTheme(QApplication& application);

  private slots:
    void settingChanged(const QString& space, const QString& key, const QDBusVariant& value);

  private:
    QApplication& application_;
};
