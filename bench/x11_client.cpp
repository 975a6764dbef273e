// A client of the X server that DISPLAY names, with memory that both share.
#include "x11_client.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/composite.h>
#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include <cstdio>

namespace bench {

namespace {

[[noreturn]] void fail(const char* why) {
    fprintf(stderr, "bench: %s\n", why);
    exit(1);
}

template <typename T>
T narrow(int value) {
    return static_cast<T>(value);
}

}  // namespace

Client::Client() : connection(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(connection)) fail("no X server");
    if (!xcb_get_extension_data(connection, &xcb_shm_id)->present) fail("the X server shares no memory");
    const auto composite = xcb_composite_query_version(connection, 0, 4);
    const auto fixes = xcb_xfixes_query_version(connection, 5, 0);
    const auto damage = xcb_damage_query_version(connection, 1, 1);
    const Reply<void> replies[] = {Reply<void>(xcb_composite_query_version_reply(connection, composite, nullptr)),
                                   Reply<void>(xcb_xfixes_query_version_reply(connection, fixes, nullptr)),
                                   Reply<void>(xcb_damage_query_version_reply(connection, damage, nullptr))};
    for (const auto& reply : replies) {
        if (!reply) fail("the X server lacks composite, fixes or damage");
    }
    screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    root = screen->root;
}

void Client::sync() {
    Reply(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

Area Client::windowArea(xcb_window_t window) {
    const Reply reply(xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    if (!reply) fail("there is no such window");
    return {reply->x, reply->y, reply->width, reply->height};
}

SharedPicture::SharedPicture(Client& owner, int pictureWidth, int pictureHeight)
    : client(owner), width(pictureWidth), height(pictureHeight), segment(xcb_generate_id(owner.connection)) {
    const int id = shmget(IPC_PRIVATE, bytesPerRow() * static_cast<size_t>(height), IPC_CREAT | 0600);
    void* memory = id < 0 ? nullptr : shmat(id, nullptr, 0);
    if (!memory || memory == reinterpret_cast<void*>(-1)) fail("no shared memory");
    pixels = static_cast<uint32_t*>(memory);
    xcb_shm_attach(client.connection, segment, static_cast<uint32_t>(id), 0);
    client.sync();
    shmctl(id, IPC_RMID, nullptr);
}

SharedPicture::~SharedPicture() {
    xcb_shm_detach(client.connection, segment);
    shmdt(pixels);
}

bool SharedPicture::grab(xcb_drawable_t from, const Area& area) {
    const auto cookie = xcb_shm_get_image(client.connection, from, narrow<int16_t>(area.x), narrow<int16_t>(area.y),
                                          narrow<uint16_t>(area.width), narrow<uint16_t>(area.height), ~0u,
                                          XCB_IMAGE_FORMAT_Z_PIXMAP, segment, 0);
    return static_cast<bool>(Reply(xcb_shm_get_image_reply(client.connection, cookie, nullptr)));
}

void SharedPicture::put(xcb_drawable_t on, xcb_gcontext_t context, const Area& part, int x, int y) {
    xcb_shm_put_image(client.connection, on, context, narrow<uint16_t>(width), narrow<uint16_t>(height),
                      narrow<uint16_t>(part.x), narrow<uint16_t>(part.y), narrow<uint16_t>(part.width),
                      narrow<uint16_t>(part.height), narrow<int16_t>(x), narrow<int16_t>(y), 24,
                      XCB_IMAGE_FORMAT_Z_PIXMAP, 0, segment, 0);
}

}  // namespace bench
