// The connection for questions and orders that come now and then.
#include "ScreenCapture/platform/x11/asking.h"

namespace orvo::platform::x11 {
namespace {

struct Shared {
    std::mutex mutex;
    std::unique_ptr<Connection> connection;
    Atoms atoms;
};

Shared& shared() {
    static Shared& one = *new Shared;
    return one;
}

}  // namespace

Asking::Asking() : lock_(shared().mutex) {
    auto& connection = shared().connection;
    // Reading what has arrived drops the errors of earlier orders, and tells when the server has gone.
    while (connection && connection->nextEvent()) {
    }
    if (!connection || connection->lost()) {
        connection = Connection::open();
        if (connection) shared().atoms = Atoms::of(*connection);
    }
    if (connection && !connection->lost()) connection_ = connection.get();
}

const Atoms& Asking::atoms() const {
    return shared().atoms;
}

}  // namespace orvo::platform::x11
