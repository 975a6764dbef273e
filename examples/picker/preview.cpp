#include "preview.h"

#include <QPainter>
#include <QPainterPath>

#include "picture.h"

Preview::Preview(const Capture* capture, QWidget* parent) : QWidget(parent), capture_(capture) {
    setObjectName(QStringLiteral("preview"));
    setAccessibleName(tr("Preview of what is shared"));
    setMinimumSize(320, 180);
    connect(capture, &Capture::frameArrived, this, qOverload<>(&QWidget::update));
}

void Preview::setTrouble(const QString& trouble) {
    trouble_ = trouble;
    update();
}

void Preview::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    QPainterPath rounded;
    rounded.addRoundedRect(rect(), 8, 8);
    painter.setClipPath(rounded);
    painter.fillRect(rect(), QColor(0x17, 0x18, 0x1b));

    const QImage frame = capture_->frame();
    if (!frame.isNull()) painter.drawImage(placedIn(rect(), frame.size()), frame);
    QString text = trouble_;
    if (text.isEmpty() && frame.isNull())
        text =
            capture_->isOn() ? tr("Waiting for the first picture…") : tr("Choose a screen or a window to preview it");
    if (text.isEmpty()) return;
    if (!frame.isNull()) painter.fillRect(rect(), QColor(0, 0, 0, 160));
    painter.setPen(QColor(0xe8, 0xea, 0xed));
    painter.drawText(rect().adjusted(16, 16, -16, -16), Qt::AlignCenter | Qt::TextWordWrap, text);
}
