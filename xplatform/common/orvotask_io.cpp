// A task thread that serves a descriptor event pump in the same loop.
#include "xplatform/common/orvotask_io.h"

#include "xplatform/common/orvosyslog.h"

CORVOTaskIO::CORVOTaskIO(const char* name, int idleInterval, ethread_priority priority)
    : CORVOTaskBase(name, idleInterval, priority), pump_(orvofe_alloc()) {}

CORVOTaskIO::~CORVOTaskIO() {
    Join();  // before the pump goes, which the worker uses
    orvofe_free(pump_);
}

bool CORVOTaskIO::Eachloop() {
    bool worked = CORVOTaskBase::Eachloop();
    if (orvofe_fdsize(pump_) == 0) return worked;  // polling nothing would be one more wake-up a pass
    // No far deadline holds up the calls: the pump waits no longer than an idle task sleeps.
    auto longest = static_cast<unsigned int>(IdleTime() / 1000000);
    return orvofe_loop_within(pump_, longest) > 0 || worked;
}

orvofe* CORVOTaskIO::GetFevent() {
    CORVOTaskBase* task = GetCurrentTask();
    if (!task) orvo_syslog(ESYSLOG_NOTICE, "task", 633, "get task error");
    auto* io = dynamic_cast<CORVOTaskIO*>(task);
    return io ? io->pump_ : nullptr;
}

orvofe* GetCurrentTheadFEvent(void) {
    return CORVOTaskIO::GetFevent();
}
