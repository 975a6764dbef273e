// What programs of a desktop need beside the X server: a session bus, and settings that nobody else has.
#pragma once

#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/temporary_folder.h"
#include "support/x11/x_server.h"

namespace orvo::testing {

inline bool areInstalled(XServer& server, const std::string& programs) {
    return server.run({"sh", "-c", "command -v dbus-daemon " + programs + " >/dev/null"}) == 0;
}

// Its programs end with the server. Compositors add no shadows, which are in no window.
class DesktopSession {
  public:
    explicit DesktopSession(XServer& server) : server_(server) {
        const std::string settings = folder_.path() + "/xfce4/xfconf/xfce-perchannel-xml";
        server_.run({"mkdir", "-p", settings});
        std::ofstream(settings + "/xfwm4.xml")
            << R"(<channel name="xfwm4" version="1.0"><property name="general" type="empty">)"
            << R"(<property name="show_frame_shadow" type="bool" value="false"/></property></channel>)";
        start({"dbus-daemon", "--session", "--nofork", "--address=unix:path=" + bus_});
        for (int i = 0; i < 500 && access(bus_.c_str(), F_OK) != 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    void start(std::vector<std::string> command) {
        command.insert(command.begin(), {"env", "XDG_CONFIG_HOME=" + folder_.path(), "NO_AT_BRIDGE=1", "GTK_CSD=1",
                                         "DBUS_SESSION_BUS_ADDRESS=unix:path=" + bus_});
        server_.start(command);
    }

  private:
    XServer& server_;
    const TemporaryFolder folder_;
    const std::string bus_ = folder_.path() + "/bus";
};

}  // namespace orvo::testing
