// A private X server and a client that paints on it.
#include "support/x11/x_server.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/composite.h>
#include <xcb/shape.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace orvo::testing {
namespace {

int spawn(const std::vector<std::string>& command, int keepDescriptor = -1) {
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (const auto& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    const int pid = fork();
    if (pid < 0) throw std::runtime_error("cannot fork");
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        sigset_t none;
        sigemptyset(&none);
        pthread_sigmask(SIG_SETMASK, &none, nullptr);
        if (keepDescriptor >= 0) fcntl(keepDescriptor, F_SETFD, 0);
        const int null = open("/dev/null", O_RDWR);
        dup2(null, STDERR_FILENO);
        execvp(words[0], words.data());
        _exit(127);
    }
    return pid;
}

// Never to a number that stands for no process of ours: -1 would reach every process there is.
void send(int pid, int number) {
    if (pid <= 0) throw std::logic_error("there is no such process");
    ::kill(pid, number);
}

// A number that no test beside this one takes, also when its server has died: hosts would find the other one.
std::string ownNumber() {
    static int servers = 0;
    return ":" + std::to_string(1000 + (getpid() * 16 + servers++) % 50000);
}

int waitFor(int pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

XServer::XServer(const std::string& screen, const std::vector<std::string>& arguments)
    : arguments_{"-screen", "0", screen, "-nolisten", "tcp", "-noreset"} {
    arguments_.insert(arguments_.end(), arguments.begin(), arguments.end());
    display_ = ownNumber();
    launch();
}

void XServer::launch() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    std::vector<std::string> command = {"Xvfb", "-displayfd", std::to_string(ends[1]), display_};
    command.insert(command.end(), arguments_.begin(), arguments_.end());
    pid_ = spawn(command, ends[1]);
    close(ends[1]);
    // The server closes the pipe when it has written its number, or has failed.
    char last = 0;
    while (last != '\n' && ::read(ends[0], &last, 1) == 1) continue;
    close(ends[0]);
    if (last != '\n') throw std::runtime_error("Xvfb did not start");
    setenv("DISPLAY", display_.c_str(), 1);
}

void XServer::restart() {
    if (pid_ >= 0) {
        send(pid_, SIGKILL);
        waitFor(pid_);
    }
    launch();
}

XServer::~XServer() {
    kill();
    while (!clients_.empty()) end(clients_.back());
}

void XServer::kill() {
    if (pid_ < 0) return;
    send(pid_, SIGKILL);
    waitFor(pid_);
    pid_ = -1;
    const std::string number = display_.substr(1);
    unlink(("/tmp/.X" + number + "-lock").c_str());
    unlink(("/tmp/.X11-unix/X" + number).c_str());
}

void XServer::suspend() {
    send(pid_, SIGSTOP);
}
void XServer::resume() {
    send(pid_, SIGCONT);
}
int XServer::start(const std::vector<std::string>& command) {
    clients_.push_back(spawn(command));
    return clients_.back();
}
void XServer::end(int client) {
    std::erase(clients_, client);
    send(client, SIGKILL);
    waitFor(client);
}
int XServer::run(const std::vector<std::string>& command) {
    return waitFor(spawn(command));
}

Painter::Painter(const XServer& server) : connection_(xcb_connect(server.display().c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_)) throw std::runtime_error("the painter cannot connect");
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    context_ = xcb_generate_id(connection_);
    const uint32_t includeInferiors = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
    xcb_create_gc(connection_, context_, root_, XCB_GC_SUBWINDOW_MODE, &includeInferiors);
}

Painter::~Painter() {
    xcb_disconnect(connection_);
}

xcb_window_t Painter::window(const Area& area, uint32_t colour, bool hasAlpha) {
    xcb_create_window_value_list_t values{};
    values.background_pixel = colour;
    values.override_redirect = 1;
    return map(
        create(xcb_generate_id(connection_), area, 0, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values, hasAlpha));
}

xcb_window_t Painter::map(xcb_window_t window) {
    xcb_map_window(connection_, window);
    sync();
    return window;
}

xcb_window_t Painter::create(xcb_window_t number, const Area& area, int border, uint32_t mask,
                             xcb_create_window_value_list_t values, bool hasAlpha) {
    xcb_visualid_t visual = XCB_COPY_FROM_PARENT;
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
    for (auto depths = xcb_screen_allowed_depths_iterator(screen); hasAlpha && depths.rem > 0; xcb_depth_next(&depths))
        if (depths.data->depth == 32 && depths.data->visuals_len > 0)
            visual = xcb_depth_visuals_iterator(depths.data).data->visual_id;
    if (visual != XCB_COPY_FROM_PARENT) {
        values.colormap = xcb_generate_id(connection_);
        xcb_create_colormap(connection_, XCB_COLORMAP_ALLOC_NONE, values.colormap, root_, visual);
        mask |= XCB_CW_BORDER_PIXEL | XCB_CW_COLORMAP;
    }
    const uint8_t depth = visual == XCB_COPY_FROM_PARENT ? XCB_COPY_FROM_PARENT : 32;
    xcb_create_window_aux(connection_, depth, number, root_, static_cast<int16_t>(area.x), static_cast<int16_t>(area.y),
                          static_cast<uint16_t>(area.width), static_cast<uint16_t>(area.height),
                          static_cast<uint16_t>(border), XCB_WINDOW_CLASS_INPUT_OUTPUT, visual, mask, &values);
    return number;
}

void Painter::clear(xcb_window_t window, const Area& area) {
    const auto colour = ++colour_ * 0x10305U & 0xFFFFFF;
    xcb_change_window_attributes(connection_, window, XCB_CW_BACK_PIXEL, &colour);
    xcb_clear_area(connection_, 0, window, static_cast<int16_t>(area.x), static_cast<int16_t>(area.y),
                   static_cast<uint16_t>(area.width), static_cast<uint16_t>(area.height));
    sync();
}

void Painter::scroll(xcb_window_t window, const Area& area) {
    const xcb_gcontext_t context = xcb_generate_id(connection_);
    const uint32_t noExposures = 0;
    xcb_create_gc(connection_, context, window, XCB_GC_GRAPHICS_EXPOSURES, &noExposures);
    xcb_copy_area(connection_, window, window, context, static_cast<int16_t>(area.x), static_cast<int16_t>(area.y), 0,
                  0, static_cast<uint16_t>(area.width), static_cast<uint16_t>(area.height));
    xcb_free_gc(connection_, context);
    sync();
}

void Painter::shape(xcb_window_t window, const Area& area) {
    const xcb_rectangle_t part = {static_cast<int16_t>(area.x), static_cast<int16_t>(area.y),
                                  static_cast<uint16_t>(area.width), static_cast<uint16_t>(area.height)};
    xcb_shape_rectangles(connection_, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, 0, window, 0, 0, 1, &part);
    sync();
}

void Painter::setRootBackground(uint32_t colour) {
    xcb_change_window_attributes(connection_, root_, XCB_CW_BACK_PIXEL, &colour);
    xcb_clear_area(connection_, 0, root_, 0, 0, 0, 0);
    sync();
}

void Painter::fill(xcb_drawable_t target, const Area& area, uint32_t colour) {
    const xcb_gcontext_t context = xcb_generate_id(connection_);  // of the target's depth
    const uint32_t values[] = {colour, XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS};
    xcb_create_gc(connection_, context, target, XCB_GC_FOREGROUND | XCB_GC_SUBWINDOW_MODE, values);
    const xcb_rectangle_t rectangle = {static_cast<int16_t>(area.x), static_cast<int16_t>(area.y),
                                       static_cast<uint16_t>(area.width), static_cast<uint16_t>(area.height)};
    xcb_poly_fill_rectangle(connection_, target, context, 1, &rectangle);
    xcb_free_gc(connection_, context);
    sync();
}

void Painter::move(xcb_window_t window, int x, int y) {
    const int32_t values[] = {x, y};
    xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
    sync();
}

void Painter::raise(xcb_window_t window) {
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    sync();
}

void Painter::destroy(xcb_window_t window) {
    xcb_destroy_window(connection_, window);
    sync();
}

void Painter::redirect(xcb_window_t window) {
    xcb_composite_redirect_window(connection_, window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    sync();
}

void Painter::warpPointer(int x, int y) {
    xcb_warp_pointer(connection_, XCB_NONE, root_, 0, 0, 0, 0, static_cast<int16_t>(x), static_cast<int16_t>(y));
    sync();
}

std::vector<uint8_t> Painter::read(const Area& area) {
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&free)> reply(
        xcb_get_image_reply(connection_,
                            xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, static_cast<int16_t>(area.x),
                                          static_cast<int16_t>(area.y), static_cast<uint16_t>(area.width),
                                          static_cast<uint16_t>(area.height), ~0U),
                            nullptr),
        &free);
    if (!reply) throw std::runtime_error("the root's pixels cannot be read");
    const uint8_t* data = xcb_get_image_data(reply.get());
    return {data, data + xcb_get_image_data_length(reply.get())};
}

void Painter::sync() {
    free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

}  // namespace orvo::testing
