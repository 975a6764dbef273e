// A picker such as a conference client has: choose a screen or a window, see it live.
#include <QApplication>

#include "main_window.h"
#include "theme.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("orvo-picker"));
    applyTheme(application, application.arguments().contains(QStringLiteral("--dark")));
    MainWindow window;
    window.show();
    return QApplication::exec();
}
