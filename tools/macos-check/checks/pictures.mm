// Pictures: what is asked for, whose bytes the host gets, and the work on them.
#include <AppKit/AppKit.h>

#include "ScreenCapture/platform/macos/image.h"
#include "ScreenCapture/platform/macos/services.h"
#include "tools/macos-check/checks/checks.h"

using namespace orvo::platform;
using standin::desk;

namespace {

void questions() {
    const auto server = macos::makeWindowServer();
    const auto grabber = server->grabber(7, false);
    const Shot shot = grabber->window();
    EXPECT_CALL("image inf,inf 0x0 list 8 window 7 options 1");
    EXPECT(shot.image->width() == 30 && shot.image->bytesPerRow() == 136 && shot.image->bytes()[0] == 7);
    EXPECT(grabber->area({1, 2, 3, 4}).image);
    EXPECT_CALL("image 1,2 3x4 list 16 window 0 options 1");
    EXPECT(grabber->composed({-5, 2, 3, 4}, {8, 7}).image);
    EXPECT_CALL("composed -5,2 3x4 8 7 options 0");
    EXPECT(server->windowPicture(7).image);
    EXPECT_CALL("image inf,inf 0x0 list 8 window 7 options 0");
    EXPECT(server->displayPicture(1, 400).image->width() == 288);
    EXPECT(server->grabber(2, true)->display().image->width() == 200);
    EXPECT(!server->displayPicture(99, 400).image);
    desk().isPermitted = false;
    EXPECT(server->displayPicture(99, 400).why == NoImage::notPermitted);
    desk().isPermitted = true;
}

// Every crop shows the pixels of its own place, whatever the sub-image's data provider begins with.
void crops() {
    const auto imaging = macos::makeImaging();
    const auto image = macos::makeWindowServer()->windowPicture(7).image;
    uint8_t* bytes = image->paint({0, 0, image->width(), image->height()});
    for (int y = 0; y < image->height(); ++y)
        for (int x = 0; x < image->width(); ++x) {
            uint8_t* pixel = bytes + static_cast<size_t>(y) * image->bytesPerRow() + static_cast<size_t>(x) * 4;
            pixel[0] = static_cast<uint8_t>(x);
            pixel[1] = static_cast<uint8_t>(y);
        }
    for (const Rect& area : {Rect{0, 0, 10.5, 10}, Rect{7, 5, 10, 10}, Rect{-5, 12.5, 20, 9}, Rect{20, 30, 50, 50}}) {
        const auto part = imaging->crop(image, area);
        const int left = area.x < 0 ? 0 : static_cast<int>(area.x), top = static_cast<int>(area.y);
        EXPECT(part->bytes()[0] == left && part->bytes()[1] == top && part->bytesPerRow() == image->bytesPerRow());
        const uint8_t* last = part->bytes() + static_cast<size_t>(part->height() - 1) * part->bytesPerRow();
        EXPECT(last[1] == top + part->height() - 1);
        const auto drawn =
            imaging->draw(part, static_cast<uint32_t>(part->width()), static_cast<uint32_t>(part->height()),
                          {0, 0, double(part->width()), double(part->height())});
        EXPECT(drawn->bytes()[0] == left && drawn->bytes()[1] == top);
        const auto buffer = imaging->wrap(part);  // reads whole rows
        buffer->lock();
        EXPECT(static_cast<const uint8_t*>(buffer->baseAddress())[0] == left);
        buffer->unlock();
    }
    EXPECT(imaging->crop(image, {0, 0, 10.5, 10})->width() == 11);
    EXPECT(imaging->crop(image, {20, 30, 50, 50})->width() == 10);
    EXPECT(!imaging->crop(image, {500, 0, 10, 10}) && !imaging->crop(nullptr, {0, 0, 1, 1}));
    // What is painted into a part stays there.
    const auto part = imaging->crop(image, {3, 3, 5, 5});
    part->paint({0, 0, 1, 1})[0] = 99;
    EXPECT(part->bytes()[0] == 99 && imaging->crop(image, {3, 3, 5, 5})->bytes()[0] == 3);
    EXPECT(imaging->draw(part, 5, 5, {0, 0, 5, 5})->bytes()[0] == 99);
}

void drawing() {
    const auto imaging = macos::makeImaging();
    auto image = macos::makeWindowServer()->windowPicture(7).image;
    EXPECT(!imaging->draw(image, 100, 10, {0, 0, 100, 10}));  // its rows do not fit
    EXPECT(imaging->draw(image, 20, 20, {0, 5, 20, 10})->bytesPerRow() == 136);
    EXPECT_CALL("context row 136 info 2");
    const auto buffer = imaging->wrap(imaging->crop(image, {0, 0, 11, 10}));
    image = nullptr;  // the buffer keeps the bytes
    buffer->lock();
    const auto small = imaging->scaledRGB(*buffer, {0, 0, 11, 10}, 4, 4);
    const Picture picture = imaging->picture(*buffer);
    buffer->unlock();
    small->lock();
    EXPECT(static_cast<const uint8_t*>(small->baseAddress())[0] == 7);
    small->unlock();
    EXPECT(picture.size.width == 11 && picture.image->width() == 11);
    const auto scaled = imaging->scaled(picture, {4, 4.7});
    EXPECT(scaled && scaled->size.height == 4.7 && desk().savedGraphicsStates == 0);
    EXPECT_CALL("draw operation 1");
    EXPECT(!imaging->scaled(picture, {0, 4}) && !imaging->scaled({}, {4, 4}));
    EXPECT(imaging->flatten(*scaled)->width() == 4 && !imaging->flatten({}));
}

}  // namespace

void checks::checkPictures() {
    questions();
    crops();
    drawing();
}
