// A picker such as a conference client has: choose a screen or a window, see it live.
#include <QApplication>

#include <optional>

#include "main_window.h"
#include "theme.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("orvo-picker"));
    std::optional<SystemTheme> system;
    if (application.arguments().contains(QStringLiteral("--dark")))
        applyTheme(application, true);
    else if (application.arguments().contains(QStringLiteral("--light")))
        applyTheme(application, false);
    else
        system.emplace(application);
    MainWindow window;
    window.show();
    return QApplication::exec();
}
