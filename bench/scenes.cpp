// The scenes that are captured: windows of one client, repainted step by step, with the time of each step in the
// picture.
#include "scenes.h"

#include <cstring>

#include "stamp.h"

namespace bench {

namespace {

// A picture with edges, slopes and noise, as tall as the tallest window and this much more to scroll through.
constexpr int kScroll = 64;

void paintPicture(SharedPicture& picture) {
    uint32_t noise = 1;
    for (int y = 0; y < picture.height; ++y) {
        uint32_t* row = picture.row(y);
        for (int x = 0; x < picture.width; ++x) {
            noise = noise * 1664525 + 1013904223;
            const uint32_t edge = (x / 24 + y / 24) % 5 == 0 ? 0x404040 : 0;
            row[x] = (static_cast<uint32_t>(x * 255 / picture.width) << 16 |
                      static_cast<uint32_t>(y * 255 / picture.height) << 8 | (noise >> 26)) ^
                     edge;
        }
    }
}

// What all scenes draw with.
class Brush {
  public:
    explicit Brush(Client& owner)
        : client(owner),
          picture(owner, owner.screen->width_in_pixels, owner.screen->height_in_pixels + kScroll),
          strip(owner, kStampWidth, kBlock),
          context(xcb_generate_id(owner.connection)) {
        const uint32_t noExposures = 0;
        xcb_create_gc(client.connection, context, client.root, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
        paintPicture(picture);
        setBackground(client.root, client.screen->width_in_pixels, client.screen->height_in_pixels, 0);
    }

    xcb_window_t window(const Area& area) {
        const xcb_window_t made = xcb_generate_id(client.connection);
        xcb_create_window(client.connection, XCB_COPY_FROM_PARENT, made, client.root, static_cast<int16_t>(area.x),
                          static_cast<int16_t>(area.y), static_cast<uint16_t>(area.width),
                          static_cast<uint16_t>(area.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0,
                          nullptr);
        const std::string title = "scene " + std::to_string(made);
        xcb_change_property(client.connection, XCB_PROP_MODE_REPLACE, made, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                            static_cast<uint32_t>(title.size()), title.data());
        setBackground(made, area.width, area.height, static_cast<int>(made % kScroll));
        xcb_map_window(client.connection, made);
        return made;
    }

    // Repaints a window of a size with the picture from a row of it on.
    void video(xcb_window_t window, int width, int height, int step) {
        picture.put(window, context, {0, step * 8 % kScroll, width, height}, 0, 0);
    }
    void setTime(uint64_t time) {
        uint32_t colours[kBlocks];
        stampColours(time, colours);
        for (int y = 0; y < kBlock; ++y) {
            for (int x = 0; x < kStampWidth; ++x) strip.row(y)[x] = colours[x / kBlock];
        }
    }
    void stamp(xcb_window_t window, int x, int y) { strip.put(window, context, {0, 0, kStampWidth, kBlock}, x, y); }

    void begin(uint64_t time) {
        setTime(time);
        xcb_grab_server(client.connection);
    }
    void end() {
        xcb_ungrab_server(client.connection);
        client.sync();
    }

    Client& client;
    SharedPicture picture;
    SharedPicture strip;
    xcb_gcontext_t context;

  private:
    // The server paints it again by itself where it was covered.
    void setBackground(xcb_window_t window, int width, int height, int fromRow) {
        const xcb_pixmap_t pixmap = xcb_generate_id(client.connection);
        xcb_create_pixmap(client.connection, 24, pixmap, client.root, static_cast<uint16_t>(width),
                          static_cast<uint16_t>(height));
        picture.put(pixmap, context, {0, fromRow, width, height}, 0, 0);
        xcb_change_window_attributes(client.connection, window, XCB_CW_BACK_PIXMAP, &pixmap);
        xcb_clear_area(client.connection, 0, window, 0, 0, 0, 0);
        xcb_free_pixmap(client.connection, pixmap);
        client.sync();
    }
};

// A window in the middle, two thirds of the screen high and wide, repainted whole; other windows over or around it.
class VideoScene final : public Scene {
  public:
    VideoScene(Client& client, bool still) : brush(client), still_(still) {
        const int width = client.screen->width_in_pixels, height = client.screen->height_in_pixels;
        area = {width / 6, height / 6, width * 2 / 3, height * 2 / 3};
        video_ = brush.window(area);
        facts.windows.push_back(video_);
        facts.stamps = {{area.x, area.y}, {area.x + area.width - kStampWidth, area.y + area.height - kBlock}};
        step(0, now());
    }
    void step(int number, uint64_t time) override {
        brush.begin(time);
        brush.video(video_, area.width, area.height, number);
        brush.stamp(video_, 0, 0);
        brush.stamp(video_, area.width - kStampWidth, area.height - kBlock);
        brush.end();
    }
    bool isStill() const override { return still_; }

    // A still window over the video.
    void cover() {
        facts.windows.push_back(
            brush.window({area.x + area.width / 4, area.y + area.height / 4, area.width / 2, area.height / 2}));
    }
    // Windows of a fifth of the screen in rows and columns that overlap; the video's corners stay free.
    void crowd(int count) {
        const int width = brush.client.screen->width_in_pixels, height = brush.client.screen->height_in_pixels;
        for (int i = 0; i < count; ++i) {
            const int column = i % 7, row = i / 7 % 5;
            Area each = {column * width / 9, row * height / 8, width / 5, height / 5};
            const xcb_window_t made = brush.window(each);
            // Every other one stands under the video.
            const uint32_t below[] = {video_, XCB_STACK_MODE_BELOW};
            if (i % 2 || coversStamp(each))
                xcb_configure_window(brush.client.connection, made,
                                     XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE, below);
            facts.windows.push_back(made);
        }
        brush.client.sync();
    }

    Brush brush;
    Area area;

  private:
    bool coversStamp(const Area& each) const {
        for (const Corner& corner : facts.stamps) {
            if (corner.x + kStampWidth > each.x && corner.x < each.x + each.width && corner.y + kBlock > each.y &&
                corner.y < each.y + each.height)
                return true;
        }
        return false;
    }

    xcb_window_t video_;
    bool still_;
};

// A corner of a large window repainted, and a caret that blinks in its middle.
class SmallScene final : public Scene {
  public:
    explicit SmallScene(Client& client) : brush_(client) {
        const int width = client.screen->width_in_pixels, height = client.screen->height_in_pixels;
        area_ = {width / 6, height / 6, width * 2 / 3, height * 2 / 3};
        window_ = brush_.window(area_);
        facts.windows = {window_};
        facts.stamps = {{area_.x, area_.y}, {area_.x + kWidth - kStampWidth, area_.y + kHeight - kBlock}};
        step(0, now());
    }
    void step(int number, uint64_t time) override {
        brush_.begin(time);
        brush_.video(window_, kWidth, kHeight, number);
        brush_.stamp(window_, 0, 0);
        brush_.stamp(window_, kWidth - kStampWidth, kHeight - kBlock);
        brush_.picture.put(window_, brush_.context, {0, number % 2 * kCaret, 2, kCaret}, area_.width / 2,
                           area_.height / 2);
        brush_.end();
    }

  private:
    static constexpr int kWidth = 128, kHeight = 96, kCaret = 18;

    Brush brush_;
    Area area_;
    xcb_window_t window_;
};

// Lines of text that move up in a window, as in a terminal.
class ScrollScene final : public Scene {
  public:
    explicit ScrollScene(Client& client) : brush_(client), text_(xcb_generate_id(client.connection)) {
        const xcb_font_t font = xcb_generate_id(client.connection);
        xcb_open_font(client.connection, font, 5, "fixed");
        const uint32_t values[] = {client.screen->black_pixel, client.screen->white_pixel, font, 0};
        xcb_create_gc(client.connection, text_, client.root,
                      XCB_GC_FOREGROUND | XCB_GC_BACKGROUND | XCB_GC_FONT | XCB_GC_GRAPHICS_EXPOSURES, values);
        area_ = {client.screen->width_in_pixels / 4, 60, client.screen->width_in_pixels / 2,
                 client.screen->height_in_pixels - 120};
        window_ = brush_.window(area_);
        facts.windows = {window_};
        facts.stamps = {{area_.x, area_.y}, {area_.x + area_.width - kStampWidth, area_.y}};
    }
    void step(int number, uint64_t time) override {
        const int line = 16, top = kBlock + line;
        xcb_connection_t* connection = brush_.client.connection;
        brush_.begin(time);
        xcb_copy_area(connection, window_, window_, text_, 0, static_cast<int16_t>(top + line), 0,
                      static_cast<int16_t>(top), static_cast<uint16_t>(area_.width),
                      static_cast<uint16_t>(area_.height - top - line));
        char words[121];
        for (int i = 0; i < 120; ++i) words[i] = static_cast<char>(' ' + (number * 31 + i * i) % 95);
        xcb_image_text_8(connection, 120, window_, text_, 8, static_cast<int16_t>(area_.height - 4), words);
        brush_.stamp(window_, 0, 0);
        brush_.stamp(window_, area_.width - kStampWidth, 0);
        brush_.end();
    }

  private:
    Brush brush_;
    Area area_;
    xcb_window_t window_;
    xcb_gcontext_t text_;
};

// A window dragged by the pointer; a small one of its own shows the time.
class DragScene final : public Scene {
  public:
    explicit DragScene(Client& client) : brush_(client) {
        area_ = {0, 100, 640, 400};
        window_ = brush_.window(area_);
        clock_ = brush_.window({0, 0, kStampWidth, kBlock});
        facts.windows = {window_, clock_};
        facts.stamps = {{0, 0}, {0, 0}};
    }
    void step(int number, uint64_t time) override {
        xcb_connection_t* connection = brush_.client.connection;
        const int span = brush_.client.screen->width_in_pixels - area_.width;
        const int along = number * 12 % (2 * span);
        const uint32_t place[] = {static_cast<uint32_t>(along < span ? along : 2 * span - along),
                                  static_cast<uint32_t>(area_.y + number * 5 % 300)};
        brush_.begin(time);
        xcb_configure_window(connection, window_, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, place);
        xcb_warp_pointer(connection, XCB_NONE, brush_.client.root, 0, 0, 0, 0, static_cast<int16_t>(place[0] + 200),
                         static_cast<int16_t>(place[1] + 10));
        brush_.stamp(clock_, 0, 0);
        brush_.end();
    }

  private:
    Brush brush_;
    Area area_;
    xcb_window_t window_, clock_;
};

// Windows side by side, all repainted in each step, or none.
class TilesScene final : public Scene {
  public:
    TilesScene(Client& client, int count, const Area& size, int columns, bool still)
        : brush_(client), size_(size), still_(still) {
        for (int i = 0; i < count; ++i) {
            const int x = i % columns * size.x, y = i / columns * size.y;
            facts.windows.push_back(brush_.window({x, y, size.width, size.height}));
            if (i == 0 || i == count - 1) facts.stamps.push_back({x, y});
        }
        if (count == 1) facts.stamps.push_back(facts.stamps[0]);
        step(0, now());
    }
    void step(int number, uint64_t time) override {
        brush_.begin(time);
        for (const xcb_window_t window : facts.windows) {
            brush_.video(window, size_.width, size_.height, number);
            brush_.stamp(window, 0, 0);
        }
        brush_.end();
    }
    bool isStill() const override { return still_; }

  private:
    Brush brush_;
    Area size_;  // x, y: from one window to the next
    bool still_;
};

}  // namespace

std::unique_ptr<Scene> makeScene(Client& client, const std::string& name, int count) {
    if (name == "small") return std::make_unique<SmallScene>(client);
    if (name == "scroll") return std::make_unique<ScrollScene>(client);
    if (name == "drag") return std::make_unique<DragScene>(client);
    if (name == "tiles") return std::make_unique<TilesScene>(client, count, Area{400, 300, 320, 240}, 4, false);
    if (name == "list") return std::make_unique<TilesScene>(client, count, Area{120, 100, 640, 480}, 10, true);
    if (name != "static" && name != "busy" && name != "under" && name != "crowd" && name != "crowd-static")
        return nullptr;
    auto scene = std::make_unique<VideoScene>(client, name == "static" || name == "crowd-static");
    if (name == "under") scene->cover();
    if (name == "crowd" || name == "crowd-static") scene->crowd(count);
    return scene;
}

}  // namespace bench
