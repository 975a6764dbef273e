#include "theme.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QPalette>
#include <QStyleFactory>

namespace {

const auto kService = QStringLiteral("org.freedesktop.portal.Desktop");
const auto kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const auto kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const auto kSpace = QStringLiteral("org.freedesktop.appearance");
const auto kKey = QStringLiteral("color-scheme");
constexpr uint kPreferDark = 1;  // 2: light, 0: no preference

}  // namespace

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

SystemTheme::SystemTheme(QApplication& application) : application_(application) {
    applyTheme(application, application.palette().color(QPalette::Window).lightness() < 128);
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) return;  // a bus would be started
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                SLOT(settingChanged(QString, QString, QDBusVariant)));
    QDBusMessage question = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
    question << kSpace << kKey;
    auto* const answer = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (reply.isValid()) settingChanged(kSpace, kKey, reply.value());
        answer->deleteLater();
    });
}

void SystemTheme::settingChanged(const QString& space, const QString& key, const QDBusVariant& value) {
    if (space != kSpace || key != kKey) return;
    QVariant preference = value.variant();  // an answer is wrapped twice, a signal once
    if (preference.canConvert<QDBusVariant>()) preference = preference.value<QDBusVariant>().variant();
    applyTheme(application_, preference.toUInt() == kPreferDark);
}
