// The facade's log: the thread that it runs on, and which of the three files it continues.
#include <cstring>
#include <string>

#include "ScreenCapture/api/OrvoScreenCaptureImpl.h"
#include "ScreenCapture/log/component_log.h"
#include "ScreenCapture/log/orvo_log.h"
#include "ScreenCapture/log/orvo_log_files.h"
#include "common/utils/orvo_signal_block.h"
#include "xplatform/common/orvoio.h"

namespace {

constexpr unsigned long long kFileSizeLimit = 5'242'880;  // bytes
constexpr int kLogThreadIdleInterval = 10;                // milliseconds
constexpr size_t kFiles = 3;
constexpr const char* kFileNames[kFiles] = {"/orvoscreencaplog1.txt", "/orvoscreencaplog2.txt",
                                            "/orvoscreencaplog3.txt"};

constexpr size_t kPathBytes = 512;
constinit std::mutex gPathsMutex;
constinit char g_strFullLogPath[kPathBytes] = {};
constinit char g_strFullLogPath1[kPathBytes] = {};
constinit char g_strFullLogPath2[kPathBytes] = {};

void copyPath(char (&to)[kPathBytes], const std::string& path) {
    std::strncpy(to, path.c_str(), kPathBytes);
    to[kPathBytes - 1] = 0;
}

std::string folderOf(const char* logFolder) {
    std::string folder = logFolder ? logFolder : "";
    if (!folder.empty() && (folder.back() == '\\' || folder.back() == '/')) folder.pop_back();
    return folder;
}

// While there is nothing to write it sleeps until there is, instead of making a hundred passes a second.
class LogWriterTask final : public CORVOTaskIO {
  public:
    using CORVOTaskIO::CORVOTaskIO;
    ~LogWriterTask() override { Join(); }
    void OnIdle() override { AwaitCall(); }
};

}  // namespace

OrvoScreenCaptureImpl::OrvoScreenCaptureImpl()
    : m_logTask(new LogWriterTask("screencap_logger", kLogThreadIdleInterval, ETHREAD_PRIORITY_NORMAL)),
      m_queueRunner(std::make_unique<ORVO::BASE::COrvoQueueRunner>()) {
    ORVO::ScreenCapture::run_log_on(m_queueRunner.get(), m_logTask);
}

OrvoScreenCaptureImpl::~OrvoScreenCaptureImpl() {
    UnInit();
    m_logTask->Stop();
    ORVO::ScreenCapture::run_log_on(nullptr, nullptr);
    m_logTask->Release();
}

bool OrvoScreenCaptureImpl::StartThreadIfNeeded() {
    const ORVO::BASE::SignalBlock block;
    if (!m_logTask->IsStarted()) m_logTask->Start();
    return m_logTask->IsStarted();
}

// Needs no Init, and does not start the log thread: until Init or a registration does, the latest lines wait.
bool OrvoScreenCaptureImpl::SetLogLevel(int level, const char* logFolder) {
    const std::string folder = folderOf(logFolder);
    if (!orvo::io::CDirectory::IsExisted(folder.c_str())) orvo::io::CDirectory::Create(folder.c_str());
    ORVO::ScreenCapture::LogFiles::Paths paths;
    for (size_t i = 0; i < kFiles; ++i) paths[i] = folder + kFileNames[i];
    const auto chosen = ORVO::ScreenCapture::LogFiles::choose(paths, kFileSizeLimit);
    const size_t first = chosen.value_or(0);
    {
        std::lock_guard lock(gPathsMutex);
        copyPath(g_strFullLogPath, paths[first]);
        copyPath(g_strFullLogPath1, paths[(first + 1) % kFiles]);
        copyPath(g_strFullLogPath2, paths[(first + 2) % kFiles]);
    }
    // Outside the lock: this logs a line, and the host's hook may come back here.
    ORVO::ScreenCapture::init_log(paths[first].c_str(), paths[(first + 1) % kFiles].c_str(),
                                  paths[(first + 2) % kFiles].c_str(), kFileSizeLimit);
    ORVO::ScreenCapture::set_log_level(level);
    if (!chosen)
        syslog_ex(1, ESYSLOG_ERROR, "Impl", __LINE__, "no log file can be opened in the folder \"%s\"", folder.c_str());
    COMPONENT_LOG("Impl", "%s, level: %d", "SetLogLevel", level);
    return true;
}
