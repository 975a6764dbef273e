// The whole picker: sources on one side; preview, controls, figures and events on the other.
#pragma once

#include <QElapsedTimer>
#include <QWidget>

#include "capture.h"
#include "desktop_events.h"
#include "sources.h"

class Preview;
class QBoxLayout;
class QLabel;
class QListWidget;
class QTabWidget;
class SourceList;

class MainWindow : public QWidget {
    Q_OBJECT

  public:
    MainWindow();

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    QWidget* makeSources();
    QWidget* makeControls();
    QWidget* makeLive();
    SourceList* addTab(QTabWidget* tabs, bool screens, const QString& title, const QString& nothing);
    void choose(const QModelIndex& source);
    void stop();
    void mark();
    void refresh();
    void note(const QString& text);
    void tellStatistics();
    void tellPermission();
    QList<quint32> ownWindows() const { return {static_cast<quint32>(winId())}; }

    Capture capture_;
    Sources sources_;
    DesktopEvents desktop_;
    QBoxLayout* halves_ = nullptr;
    SourceList* screens_ = nullptr;
    SourceList* windows_ = nullptr;
    Preview* preview_ = nullptr;
    QListWidget* events_ = nullptr;
    QLabel* shared_ = nullptr;
    QLabel* figures_ = nullptr;
    QLabel* permission_ = nullptr;
    quint64 lastFrames_ = 0;
    QElapsedTimer sinceFigures_;
};
