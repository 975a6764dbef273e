// Work from which no exception may leave: behind an export, in a step, in a queue's job.
#pragma once

#include <exception>

#include "ScreenCapture/platform/dispatch.h"
#include "ScreenCapture/platform/system.h"
#include "xplatform/common/orvosyslog.h"

namespace orvo::platform {

// Runs work(); what it throws is passed to report(name, reason). Result: whether it ran to its end.
template <typename Work, typename Report>
bool contained(Work&& work, Report&& report) noexcept {
    try {
        work();
        return true;
    } catch (const PlatformException& error) {
        report(error.name.c_str(), error.reason.c_str());
    } catch (const std::exception& error) {
        report("exception", error.what());
    } catch (...) {
        report("exception", "of an unknown kind");
    }
    return false;
}

// How adapters run every job and every tick: nobody above them could catch what one throws. Result: as above.
inline bool runJob(const Job& job) noexcept {
    return contained(job, [](const char* name, const char* reason) {
        syslog_ex(1, ESYSLOG_ERROR, "queue", __LINE__, "a job failed: %s: %s", name, reason);
    });
}

}  // namespace orvo::platform
