#include "theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

void applyTheme(QApplication& application, bool isDark) {
    application.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    const QColor window = isDark ? QColor(0x20, 0x21, 0x24) : QColor(0xf5, 0xf6, 0xf8);
    const QColor base = isDark ? QColor(0x28, 0x2a, 0x2e) : QColor(0xff, 0xff, 0xff);
    const QColor text = isDark ? QColor(0xe8, 0xea, 0xed) : QColor(0x1f, 0x21, 0x26);
    const QColor quiet = isDark ? QColor(0x9a, 0xa0, 0xa6) : QColor(0x5f, 0x63, 0x6b);
    const QColor accent = isDark ? QColor(0x8a, 0xb4, 0xf8) : QColor(0x1a, 0x62, 0xd8);
    QPalette palette(isDark ? QColor(0x35, 0x37, 0x3c) : QColor(0xec, 0xee, 0xf2), window);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::PlaceholderText, quiet);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, isDark ? window : base);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, quiet);
    application.setPalette(palette);
}
