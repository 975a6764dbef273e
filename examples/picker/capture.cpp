#include "capture.h"

#include <orvo/screencapture_linux.h>

#include <utility>

namespace {

constexpr int kSentWidth = 1280;
constexpr int kSentHeight = 720;
constexpr int kStopCheck = 5;  // milliseconds

QString errorText(int code) {
    switch (code) {
        case ORVO_CAPTURE_ERROR_NO_SOURCE:
            return Capture::tr("Nothing was chosen");
        case ORVO_CAPTURE_ERROR_NO_CONTENT:
            return Capture::tr("The shared window is gone or shows nothing");
        default:
            return Capture::tr("The capture was interrupted");
    }
}

QString statusText(int status) {
    switch (status) {
        case ORVO_WINDOW_STATUS_MISSING:
            return Capture::tr("Window closed");
        case ORVO_WINDOW_STATUS_MINIMIZED:
            return Capture::tr("Window minimised");
        case ORVO_WINDOW_STATUS_ACTIVE:
            return Capture::tr("Application became active");
        case ORVO_WINDOW_STATUS_INACTIVE:
            return Capture::tr("Application became inactive");
        case ORVO_WINDOW_STATUS_SHOWN:
            return Capture::tr("Application shown");
        case ORVO_WINDOW_STATUS_HIDDEN:
            return Capture::tr("Application hidden");
        default:
            return {};
    }
}

}  // namespace

QImage imageOf(const OrvoThumbnailBitmapItem* bitmap) {
    if (!bitmap || !bitmap->data) return {};
    const int width = static_cast<int>(bitmap->width);
    const int height = static_cast<int>(bitmap->height);
    return QImage(bitmap->data, width, height, width * 4, QImage::Format_ARGB32_Premultiplied).copy();
}

Capture::Capture(QObject* parent) : QObject(parent) {
    orvo_screencapture_init();
    orvo_screencapture_set_capture_video_pixel_format(ORVO_PIXEL_FORMAT_BUFFER);
    registerCallbacks();
    connect(&stopping_, &QTimer::timeout, this, &Capture::startWhenStopped);
}

// After uninit nothing is called back, so that `this` may go.
Capture::~Capture() {
    orvo_screencapture_stop_capture();
    orvo_screencapture_uninit();
}

void Capture::registerCallbacks() {
    orvo_screencapture_reg_captured_frame_available_notify(
        [](const char* data, unsigned int, const OrvoScreenCaptureFrameFormat*, unsigned long long, unsigned int,
           void* self) { static_cast<Capture*>(self)->keep(data); },
        this);
    orvo_screencapture_reg_capture_error_notify(
        [](int code, void* self) {
            auto* capture = static_cast<Capture*>(self);
            QMetaObject::invokeMethod(capture, [=] { capture->tellError(code); });
        },
        this);
    // The three below come on the main queue, which Qt's event loop runs on the thread of the widgets.
    orvo_screencapture_reg_captured_window_status_change_notify(
        [](int status, unsigned int, OrvoScreenCaptureRect rect, void* self) {
            static_cast<Capture*>(self)->tellStatus(status, rect);
        },
        this);
    orvo_screencapture_reg_capture_process_window_change_notify(
        [](int, OrvoScreenCaptureProcessWindow window, void* self) {
            auto* capture = static_cast<Capture*>(self);
            emit capture->happened(tr("Slide show \"%1\" began").arg(QString::fromUtf8(window.title)));
            capture->showWindow(window.windowID);
        },
        this);
    orvo_windowthumbnail_reg_window_status_change_notify(
        [](int status, OrvoThumbnailWindowInfo* info, void* self) {
            static_cast<Capture*>(self)->tellThumbnail(status, info);
        },
        this);
}

void Capture::showScreen(quint32 screen, const QList<quint32>& hidden) {
    isScreen_ = true;
    target_ = screen;
    hidden_ = hidden;
    refuseFrames();
    restart();
}

void Capture::showWindow(quint32 window) {
    isScreen_ = false;
    target_ = window;
    refuseFrames();
    restart();
}

void Capture::stop() {
    target_ = 0;
    refuseFrames();
    restart();
}

void Capture::refuseFrames() {
    const QMutexLocker lock(&mutex_);
    accepts_ = false;
    frame_ = QImage();
}

// Stopping is carried out on a queue of the library, and the calls do not wait for it.
void Capture::restart() {
    orvo_screencapture_stop_capture();
    target_ ? stopping_.start(kStopCheck) : stopping_.stop();
    lastError_ = 0;
    emit stateChanged({});
}

void Capture::startWhenStopped() {
    if (orvo_screencapture_is_capturing()) return;
    stopping_.stop();
    {
        const QMutexLocker lock(&mutex_);
        accepts_ = true;
    }
    lastStatus_ = ORVO_WINDOW_STATUS_NORMAL;
    OrvoScreenCaptureRect rect = {};
    orvo_screencapture_get_window_rect(target_, &rect);
    // A screen answers with its width and height, a window with its right and bottom edges.
    const int sourceWidth = isScreen_ ? rect.right : rect.right - rect.left;
    const int width = fit_ == Fit::source ? 0 : qMin(kSentWidth, sourceWidth);
    orvo_screencapture_set_resolution(width, width * kSentHeight / kSentWidth);
    orvo_screencapture_set_resolution_mode(fit_ == Fit::fill      ? ORVO_RESOLUTION_MODE_FILL
                                           : fit_ == Fit::stretch ? ORVO_RESOLUTION_MODE_STRETCH
                                                                  : ORVO_RESOLUTION_MODE_FIT);
    if (isScreen_) {
        orvo_screencapture_set_excluded_windows(hidden_.data(), static_cast<int>(hidden_.size()), true);
        orvo_screencapture_set_target_screen(target_);
    } else {
        orvo_screencapture_set_target_window(target_);
    }
    orvo_screencapture_start_capture();
}

// The rate of a window counts from the next start.
void Capture::setFrameRate(int framesPerSecond) {
    orvo_screencapture_set_fps(framesPerSecond);
    if (target_) restart();
}

void Capture::setCursorVisible(bool visible) {
    orvo_screencapture_set_cursor_visible(visible);
}

void Capture::setFit(Fit fit) {
    fit_ = fit;
    if (target_) restart();
}

QImage Capture::frame() const {
    const QMutexLocker lock(&mutex_);
    return frame_;
}

OrvoScreenCaptureStatistics Capture::statistics() const {
    OrvoScreenCaptureStatistics figures = ORVO_SCREENCAPTURE_STATISTICS_INIT;
    orvo_screencapture_get_statistics(&figures);
    return figures;
}

// On a thread of the library: keeps the buffer instead of copying it, and notifies the widgets.
void Capture::keep(const char* data) {
    auto* buffer = orvo_pixelbuffer_retain(reinterpret_cast<OrvoPixelBufferRef>(const_cast<char*>(data)));
    const QImage image(
        static_cast<const uchar*>(orvo_pixelbuffer_get_base_address(buffer)),
        static_cast<int>(orvo_pixelbuffer_get_width(buffer)), static_cast<int>(orvo_pixelbuffer_get_height(buffer)),
        static_cast<qsizetype>(orvo_pixelbuffer_get_bytes_per_row(buffer)), QImage::Format_ARGB32_Premultiplied,
        [](void* kept) { orvo_pixelbuffer_release(static_cast<OrvoPixelBufferRef>(kept)); }, buffer);
    const QMutexLocker lock(&mutex_);
    if (!accepts_) return;
    frame_ = image;
    if (isTold_) return;
    isTold_ = true;
    QMetaObject::invokeMethod(this, &Capture::tellFrame, Qt::QueuedConnection);
}

void Capture::tellFrame() {
    {
        const QMutexLocker lock(&mutex_);
        isTold_ = false;
    }
    if (!target_) return;
    if (std::exchange(lastError_, 0) != 0) emit stateChanged({});
    emit frameArrived();
}

// An error is reported with every tick until it is over: once until the next frame is enough.
void Capture::tellError(int code) {
    if (!target_ || lastError_ == code) return;
    lastError_ = code;
    const QString text = errorText(code);
    emit happened(tr("Error: %1").arg(text));
    emit stateChanged(text);
}

// Most states are reported with every tick; only changes are shown.
void Capture::tellStatus(int status, const OrvoScreenCaptureRect& rect) {
    if (!target_) return;
    if (status == ORVO_WINDOW_STATUS_MOVED) {
        emit happened(tr("Window is now %1 × %2 at %3, %4")
                          .arg(rect.right - rect.left)
                          .arg(rect.bottom - rect.top)
                          .arg(rect.left)
                          .arg(rect.top));
        return;
    }
    if (status == lastStatus_) return;
    lastStatus_ = status;
    const QString text = statusText(status);
    if (!text.isEmpty()) emit happened(text);
    const bool isTrouble = status == ORVO_WINDOW_STATUS_MISSING || status == ORVO_WINDOW_STATUS_MINIMIZED ||
                           status == ORVO_WINDOW_STATUS_HIDDEN;
    emit stateChanged(isTrouble ? text : QString());
}

// The record is ours to free.
void Capture::tellThumbnail(int status, OrvoThumbnailWindowInfo* info) {
    if (status == ORVO_THUMBNAIL_PICTURE) emit pictureArrived(info->itemID, imageOf(info->imageThumbnail));
    orvo_windowthumbnail_free_windows(info, 1);
}
