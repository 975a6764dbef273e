/*
 * A task thread that serves a descriptor event pump in the same loop.
 *
 * The function at the end is plain C11; the class needs C++.
 */
#ifndef ORVO_TASK_IO_H
#define ORVO_TASK_IO_H

#include "xplatform/common/orvobase.h"
#include "xplatform/common/orvofe.h"

#ifdef __cplusplus

#include "xplatform/common/orvotask.h"

// See CORVOTaskBase for memory and threads.
class ORVO_API CORVOTaskIO : public CORVOTaskBase {
  public:
    CORVOTaskIO(const char* name, int idleInterval, ethread_priority priority);
    ~CORVOTaskIO() override;

    // A pass of the task, then one of its pump, which does not wait. Result: whether either had something to do. Worker
    // only.
    bool Eachloop() override;
    // The pump of the task whose worker calls this, for that worker alone; it lives as long as the task. Null, with a
    // line in the log, on a thread without a task; null for a task without a pump.
    static orvofe* GetFevent();

  protected:
    // Also for events and the earliest deadline of the pump.
    void WaitFor(int descriptor, uint64_t nanoseconds) override;

  private:
    orvofe* const pump_;
};

extern "C" {
#endif

/* CORVOTaskIO::GetFevent() for C. */
ORVO_API orvofe* GetCurrentTheadFEvent(void);

#ifdef __cplusplus
}
#endif

#endif
