#include "main_window.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QTabWidget>
#include <QTime>
#include <QTimer>

#include "preview.h"
#include "source_list.h"

namespace {

constexpr int kSideBySide = 820;  // pixels; a narrower window has the preview above the sources
constexpr int kMaxEvents = 200;
constexpr int kTitlesRefresh = 5000;  // milliseconds: titles change without an event of the desktop

void every(int milliseconds, QObject* owner, std::function<void()> work) {
    auto* timer = new QTimer(owner);
    QObject::connect(timer, &QTimer::timeout, owner, std::move(work));
    timer->start(milliseconds);
}

QLabel* quietLabel() {
    auto* label = new QLabel;
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

}  // namespace

MainWindow::MainWindow() {
    setWindowTitle(tr("Share your screen"));
    halves_ = new QHBoxLayout(this);
    halves_->setSpacing(16);
    halves_->setContentsMargins(16, 16, 16, 16);
    halves_->addWidget(makeSources(), 1);
    halves_->addWidget(makeLive(), 1);

    connect(&capture_, &Capture::happened, this, &MainWindow::note);
    connect(&capture_, &Capture::stateChanged, preview_, &Preview::setTrouble);
    connect(&capture_, &Capture::pictureArrived, &sources_, &Sources::setPicture);
    QTimer::singleShot(0, this, &MainWindow::refresh);
    connect(&desktop_, &DesktopEvents::windowsChanged, this, &MainWindow::refresh);
    every(kTitlesRefresh, this, [this] { refresh(); });
    every(1000, this, [this] {
        if (isVisible() && !isMinimized()) sources_.askForNextPicture();
    });
    every(1000, this, [this] { tellStatistics(); });
    tellPermission();
    setMinimumSize(400, 480);  // stacked; side by side they need more
    resize(1120, 720);
}

SourceList* MainWindow::addTab(QTabWidget* tabs, bool screens, const QString& title, const QString& nothing) {
    auto* list = new SourceList(&sources_, screens, nothing);
    list->setObjectName(screens ? QStringLiteral("screens") : QStringLiteral("windows"));
    list->setAccessibleName(title);
    const int tab = tabs->addTab(list, title);
    connect(list, &SourceList::chosen, this, &MainWindow::choose);
    connect(list, &SourceList::countChanged, this,
            [=] { tabs->setTabText(tab, tr("%1 (%2)").arg(title).arg(list->count())); });
    return list;
}

QWidget* MainWindow::makeSources() {
    auto* side = new QWidget;
    auto* column = new QVBoxLayout(side);
    column->setContentsMargins(0, 0, 0, 0);
    auto* search = new QLineEdit;
    search->setObjectName(QStringLiteral("search"));
    search->setPlaceholderText(tr("Search screens and windows"));
    search->setClearButtonEnabled(true);
    auto* tabs = new QTabWidget;
    tabs->setObjectName(QStringLiteral("tabs"));
    tabs->setDocumentMode(true);
    windows_ = addTab(tabs, false, tr("Windows"), tr("No window is open"));
    screens_ = addTab(tabs, true, tr("Screens"), tr("There is no screen"));
    for (SourceList* list : {screens_, windows_})
        connect(search, &QLineEdit::textChanged, list, &SourceList::setSearch);
    permission_ = new QLabel;
    permission_->setWordWrap(true);
    column->addWidget(search);
    column->addWidget(permission_);
    column->addWidget(tabs, 1);
    return side;
}

QWidget* MainWindow::makeControls() {
    auto* row = new QWidget;
    auto* line = new QHBoxLayout(row);
    line->setContentsMargins(0, 0, 0, 0);

    auto* cursor = new QCheckBox(tr("&Cursor"));
    cursor->setChecked(true);
    connect(cursor, &QCheckBox::toggled, &capture_, &Capture::setCursorVisible);

    auto* rate = new QComboBox;
    rate->setObjectName(QStringLiteral("rate"));
    rate->setAccessibleName(tr("Frame rate"));
    for (const int fps : {5, 10, 15, 24, 30}) rate->addItem(tr("%1 fps").arg(fps), fps);
    rate->setCurrentIndex(2);  // the library's own
    connect(rate, &QComboBox::currentIndexChanged, this,
            [this, rate] { capture_.setFrameRate(rate->currentData().toInt()); });

    auto* fit = new QComboBox;
    fit->setObjectName(QStringLiteral("fit"));
    fit->setAccessibleName(tr("How the picture fills the frame"));
    fit->addItems({tr("Size of the source"), tr("16:9 with bars"), tr("16:9 filled"), tr("16:9 stretched")});
    fit->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    fit->setMinimumContentsLength(9);
    connect(fit, &QComboBox::currentIndexChanged, this,
            [this](int index) { capture_.setFit(static_cast<Fit>(index)); });

    auto* stopButton = new QPushButton(tr("&Stop"));
    stopButton->setObjectName(QStringLiteral("stop"));
    connect(stopButton, &QPushButton::clicked, this, &MainWindow::stop);
    line->addWidget(rate);
    line->addWidget(fit, 1);
    line->addWidget(cursor);
    line->addStretch(1);
    line->addWidget(stopButton);
    return row;
}

QWidget* MainWindow::makeLive() {
    auto* side = new QWidget;
    auto* column = new QVBoxLayout(side);
    column->setContentsMargins(0, 0, 0, 0);
    preview_ = new Preview(&capture_);
    shared_ = new QLabel(tr("Nothing is shared"));
    shared_->setTextFormat(Qt::PlainText);  // titles are whatever programs set
    shared_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    QFont bold = shared_->font();
    bold.setBold(true);
    shared_->setFont(bold);
    figures_ = quietLabel();
    figures_->setWordWrap(true);
    events_ = new QListWidget;
    events_->setObjectName(QStringLiteral("events"));
    events_->setAccessibleName(tr("Events"));
    events_->setSelectionMode(QAbstractItemView::NoSelection);
    events_->setTextElideMode(Qt::ElideRight);
    events_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    events_->setMinimumHeight(60);
    column->addWidget(shared_);
    column->addWidget(preview_, 3);
    column->addWidget(makeControls());
    column->addWidget(figures_);
    column->addWidget(events_, 1);
    return side;
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    halves_->setDirection(width() >= kSideBySide ? QBoxLayout::LeftToRight : QBoxLayout::BottomToTop);
    QWidget::resizeEvent(event);
}

void MainWindow::choose(const QModelIndex& source) {
    const quint32 number = source.data(Sources::NumberRole).toUInt();
    if (number == capture_.target()) return;
    const QString title = source.data().toString();
    if (source.data(Sources::IsScreenRole).toBool()) {
        capture_.showScreen(number, ownWindows());  // without this window, which would show itself in itself
    } else {
        capture_.showWindow(number);
    }
    mark();
    shared_->setText(title);
    shared_->setToolTip(title);
    note(tr("Sharing %1").arg(title));
}

void MainWindow::mark() {
    for (SourceList* list : {screens_, windows_}) list->mark(capture_.target());
}

void MainWindow::stop() {
    if (!capture_.isOn()) return;
    capture_.stop();
    mark();
    shared_->setText(tr("Nothing is shared"));
    preview_->setTrouble({});
    note(tr("Stopped"));
}

void MainWindow::refresh() {
    sources_.refresh(ownWindows());
}

void MainWindow::note(const QString& text) {
    const QScrollBar* const bar = events_->verticalScrollBar();
    const bool isAtEnd = bar->value() == bar->maximum();  // who has scrolled back reads there
    events_->addItem(QTime::currentTime().toString(QStringLiteral("HH:mm:ss  ")) + text);
    while (events_->count() > kMaxEvents) delete events_->takeItem(0);
    if (isAtEnd) events_->scrollToBottom();
}

void MainWindow::tellStatistics() {
    const OrvoScreenCaptureStatistics now = capture_.statistics();
    const double seconds = sinceFigures_.isValid() ? sinceFigures_.restart() / 1000.0 : 0;
    if (!sinceFigures_.isValid()) sinceFigures_.start();
    const double rate = seconds > 0 ? static_cast<double>(now.framesDelivered - lastFrames_) / seconds : 0;
    lastFrames_ = now.framesDelivered;
    QString text = tr("%1 frames · %2 fps · longest gap %3 ms")
                       .arg(now.framesDelivered)
                       .arg(rate, 0, 'f', 1)
                       .arg(now.longestGapMilliseconds);
    const QString reason = QString::fromUtf8(now.lastErrorReason);
    if (!reason.isEmpty()) text += tr(" · last trouble: %1").arg(reason);
    figures_->setText(text);
}

void MainWindow::tellPermission() {
    QString text;
    switch (orvo_screencapture_get_permission(ORVO_PERMISSION_SCREEN_RECORDING)) {
        case ORVO_PERMISSION_GRANTED:
            break;
        case ORVO_PERMISSION_RESTART_NEEDED:
            text = tr("Screen recording is allowed from the next start of this program.");
            break;
        case ORVO_PERMISSION_NEVER_ASKED:
            orvo_screencapture_request_permission(ORVO_PERMISSION_SCREEN_RECORDING);
            [[fallthrough]];
        default:
            text = tr("Allow screen recording for this program in the system's privacy settings.");
    }
    permission_->setText(text);
    permission_->setVisible(!text.isEmpty());
}
