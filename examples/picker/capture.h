// The library in use: one capture, its latest frame, and what happens to its target, as Qt signals.
#pragma once

#include <orvo/screencapture_additions.h>

#include <QImage>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QTimer>

// How the shared picture fills the size that is sent.
enum class Fit { source, letterbox, fill, stretch };

// Only one may live at a time: the library has one capture.
class Capture : public QObject {
    Q_OBJECT

  public:
    explicit Capture(QObject* parent = nullptr);
    ~Capture() override;

    // Begins with a new target. hidden: windows that a screen is shown without, such as the caller's own.
    void showScreen(quint32 screen, const QList<quint32>& hidden);
    void showWindow(quint32 window);
    void stop();
    bool isOn() const { return target_ != 0; }
    quint32 target() const { return target_; }  // 0: nothing is shared

    void setFrameRate(int framesPerSecond);
    void setCursorVisible(bool visible);
    void setFit(Fit fit);

    // The latest frame; its pixels are the library's own and go back to it with the last copy of the image.
    QImage frame() const;
    OrvoScreenCaptureStatistics statistics() const;

  signals:
    void frameArrived();  // of many frames in one turn of the event loop only the last is signalled
    void happened(const QString& what);
    void stateChanged(const QString& trouble);  // empty: the picture is live
    void pictureArrived(quint32 window, const QImage& picture);

  private:
    void registerCallbacks();
    void restart();
    void startWhenStopped();
    void refuseFrames();
    void keep(const char* data);
    void tellFrame();
    void tellError(int code);
    void tellStatus(int status, const OrvoScreenCaptureRect& rect);
    void tellThumbnail(int status, OrvoThumbnailWindowInfo* info);

    quint32 target_ = 0;
    bool isScreen_ = false;
    QList<quint32> hidden_;
    Fit fit_ = Fit::source;
    int lastStatus_ = ORVO_WINDOW_STATUS_NORMAL;
    int lastError_ = 0;  // since the last frame: it is reported again and again
    QTimer stopping_;    // checks whether the capture before has ended

    mutable QMutex mutex_;  // frames of windows come on a thread of the library
    bool accepts_ = false;  // until a capture has ended it may still bring a frame of the target before
    QImage frame_;
    bool isTold_ = false;
};

// A copy of a picture of the library's lists; null when there is none.
QImage imageOf(const OrvoThumbnailBitmapItem* bitmap);
