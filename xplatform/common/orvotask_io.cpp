// A task thread that serves a descriptor event pump in the same loop.
#include "xplatform/common/orvotask_io.h"

#include "xplatform/common/orvofe_wait.h"
#include "xplatform/common/orvosyslog.h"

CORVOTaskIO::CORVOTaskIO(const char* name, int idleInterval, ethread_priority priority)
    : CORVOTaskBase(name, idleInterval, priority), pump_(orvofe_alloc()) {}

CORVOTaskIO::~CORVOTaskIO() {
    Join();  // before the pump goes, which the worker uses
    orvofe_free(pump_);
}

bool CORVOTaskIO::Eachloop() {
    bool worked = CORVOTaskBase::Eachloop();
    return (orvofe_fdsize(pump_) > 0 && orvofe_loop_within(pump_, 0) > 0) || worked;
}

void CORVOTaskIO::WaitFor(int descriptor, uint64_t nanoseconds) {
    if (!pump_) return CORVOTaskBase::WaitFor(descriptor, nanoseconds);
    orvo::wait_for_events(*pump_, descriptor, nanoseconds);
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
