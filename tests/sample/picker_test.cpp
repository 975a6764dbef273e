// The picker sample on a real X server: real clients, real clicks, and the pixels of the preview.
#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QTabWidget>

#include <functional>
#include <memory>

#include "examples/picker/main_window.h"
#include "examples/picker/theme.h"

namespace {

constexpr int kPatience = 15000;        // milliseconds
const QColor kEmpty(0x17, 0x18, 0x1b);  // the preview where a frame has nothing

bool comes(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < kPatience) QApplication::processEvents(QEventLoop::AllEvents, 10);
    return condition();
}

struct Program {
    Program(const QString& name, const QStringList& arguments) { process.start(name, arguments); }
    ~Program() { end(); }
    void end() {
        process.terminate();
        process.waitForFinished(kPatience);
    }
    QProcess process;
};

void xdotool(const QStringList& arguments) {
    ASSERT_EQ(0, QProcess::execute(QStringLiteral("xdotool"), arguments)) << arguments.join(' ').toStdString();
}

std::unique_ptr<Program> coloured(const QString& title, const QString& colour, const QString& geometry) {
    return std::make_unique<Program>(QStringLiteral("xlogo"),
                                     QStringList{"-title", title, "-bg", colour, "-fg", colour, "-geometry", geometry});
}

class PickerSample : public testing::Test {
  protected:
    PickerSample() {
        window_.move(0, 0);
        window_.show();
    }

    template <typename Widget>
    Widget* part(const char* name) {
        auto* found = window_.findChild<Widget*>(QLatin1String(name));
        EXPECT_TRUE(found) << name;
        return found;
    }

    QModelIndex card(const char* list, const QString& title) {
        const auto* model = part<QAbstractItemView>(list)->model();
        for (int row = 0; row < model->rowCount(); ++row)
            if (model->index(row, 0).data().toString() == title) return model->index(row, 0);
        return {};
    }

    // As a user: moves the pointer there and presses the button.
    void click(const char* list, const QString& title) {
        ASSERT_TRUE(comes([&] { return card(list, title).isValid(); })) << title.toStdString();
        QAbstractItemView* view = part<QAbstractItemView>(list);
        const QPoint place = view->viewport()->mapToGlobal(view->visualRect(card(list, title)).center());
        xdotool({"mousemove", QString::number(place.x()), QString::number(place.y()), "click", "1"});
    }

    QColor previewAt(double x, double y) {
        QWidget* preview = part<QWidget>("preview");
        const QImage shown = preview->grab().toImage();
        return shown.pixelColor(int(shown.width() * x), int(shown.height() * y));
    }
    bool shows(const QColor& colour) {
        return comes([&] { return previewAt(0.5, 0.5) == colour; });
    }

    bool tells(const QString& text) {
        return comes([&] { return !part<QListWidget>("events")->findItems(text, Qt::MatchContains).isEmpty(); });
    }

    MainWindow window_;
};

TEST_F(PickerSample, AClickedCardIsShownLiveAndFollowed) {
    const auto blue = coloured("blue card", "#2060c0", "300x200+1000+50");
    const auto red = coloured("red card", "#c02040", "200x300+1000+400");
    click("windows", "blue card");
    EXPECT_TRUE(shows(QColor("#2060c0")));
    EXPECT_TRUE(comes([&] { return card("windows", "red card").isValid(); }));
    part<QLineEdit>("search")->setText("RED");
    EXPECT_FALSE(card("windows", "blue card").isValid());
    click("windows", "red card");
    EXPECT_TRUE(shows(QColor("#c02040")));

    xdotool({"search", "--name", "red card", "windowmove", "1100", "450"});
    EXPECT_TRUE(tells("200 × 300"));
    // The same picture in a wide frame has bars at its sides.
    part<QComboBox>("fit")->setCurrentIndex(static_cast<int>(Fit::letterbox));
    EXPECT_TRUE(comes([&] { return previewAt(0.26, 0.5) == kEmpty; }));
    EXPECT_TRUE(shows(QColor("#c02040")));

    red->end();
    EXPECT_TRUE(tells("Window closed"));
    EXPECT_TRUE(comes([&] { return !card("windows", "red card").isValid(); }));
    // The error is reported with every tick, and shown once; nothing of the window is left after Stop.
    EXPECT_TRUE(tells("Error"));
    QElapsedTimer ticks;
    for (ticks.start(); ticks.elapsed() < 500;) QApplication::processEvents(QEventLoop::AllEvents, 10);
    EXPECT_EQ(part<QListWidget>("events")->findItems("Error", Qt::MatchContains).size(), 1);
    part<QPushButton>("stop")->click();
    EXPECT_EQ(previewAt(0.5, 0.1), kEmpty);
}

TEST_F(PickerSample, AScreenIsShownWithoutThePickerItself) {
    const auto green = coloured("green card", "#20a040", "400x960+1160+0");
    ASSERT_TRUE(comes([&] { return card("windows", "green card").isValid(); }));
    part<QTabWidget>("tabs")->setCurrentIndex(1);
    click("screens", "desk 1");
    EXPECT_TRUE(comes([&] { return previewAt(0.85, 0.5) == QColor("#20a040"); }));
    EXPECT_EQ(kEmpty, previewAt(0.3, 0.5));  // where the picker is; the root is empty
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    applyTheme(application, false);
    return RUN_ALL_TESTS();
}
