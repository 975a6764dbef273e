// The connection for questions and orders that come now and then.
#include "ScreenCapture/platform/x11/asking.h"

#include <array>
#include <optional>

namespace orvo::platform::x11 {
namespace {

struct Shared {
    std::mutex mutex;
    std::unique_ptr<Connection> connection;
    std::optional<PointerPosition> pointer;
    Atoms atoms;
};

Shared& shared(Line line) {
    static auto& lines = *new std::array<Shared, 2>;
    return lines[static_cast<size_t>(line)];
}

}  // namespace

Asking::Asking(Line line) : line_(line), lock_(shared(line).mutex) {
    auto& connection = shared(line).connection;
    auto& pointer = shared(line).pointer;
    // Reading what has arrived drops the errors of earlier orders, and tells when the server has gone.
    while (const Event event = connection ? connection->nextEvent() : nullptr)
        if (pointer) pointer->handle(*event);
    if (!connection || connection->lost()) {
        pointer.reset();
        connection = Connection::open();
        if (connection) shared(line).atoms = Atoms::of(*connection);
    }
    if (connection && !connection->lost()) connection_ = connection.get();
}

PointerPosition& Asking::pointer() const {
    auto& pointer = shared(line_).pointer;
    return pointer ? *pointer : pointer.emplace(*connection_);
}

const Atoms& Asking::atoms() const {
    return shared(line_).atoms;
}

}  // namespace orvo::platform::x11
