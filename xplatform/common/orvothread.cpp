// Threads of the base runtime. Values kept by thread are in orvothread_slots.cpp.
#include "xplatform/common/orvothread.h"

#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>
#include <new>

#include "xplatform/common/orvofailure.h"
#include "xplatform/common/orvosys_thread.h"
#include "xplatform/common/orvothread_slots.h"

struct orvothread {
    pthread_t id{};
    std::atomic<unsigned char> signaled{0};
    std::atomic<int> users{1};  // the owner, and who waits for the end
    std::mutex join_lock;
    bool joined = false;  // under join_lock
    orvothread_function function = nullptr;
    void* argument = nullptr;
    ethread_priority priority = ETHREAD_PRIORITY_NORMAL;
};

namespace {

using orvo::kInvalidArgument;

int scheduling_priority(int policy, ethread_priority priority) {
    int lowest = sched_get_priority_min(policy);
    int highest = sched_get_priority_max(policy);
    if (priority == ETHREAD_PRIORITY_LOW) return lowest;
    return priority == ETHREAD_PRIORITY_HIGH ? highest : (lowest + highest) / 2;
}

void* run(void* handle) {
    auto* thread = static_cast<orvothread*>(handle);
    if (orvothread_setspecific_private(orvo::kThreadHandleSlot, thread) == 0) thread->function(thread->argument);
    thread->signaled = 1;
    return nullptr;
}

int start(orvothread* thread) {
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0) return error;
    int policy = SCHED_OTHER;
    sched_param parameter{};
    pthread_attr_getschedpolicy(&attributes, &policy);
    pthread_attr_getschedparam(&attributes, &parameter);
    parameter.sched_priority = scheduling_priority(policy, thread->priority);
    pthread_attr_setschedparam(&attributes, &parameter);
    error = pthread_create(&thread->id, &attributes, run, thread);
    pthread_attr_destroy(&attributes);
    return error;
}

void release(orvothread* thread) {
    if (thread->users.fetch_sub(1) == 1) delete thread;
}

// A second caller waits as well. Result: 0, or why the thread could not be waited for.
int join(orvothread* thread) {
    if (orvothread_getspecific(orvo::kThreadHandleSlot) == thread) return EDEADLK;
    std::lock_guard guard(thread->join_lock);
    if (thread->joined) return kInvalidArgument;
    const int error = pthread_join(thread->id, nullptr);
    thread->joined = error == 0;
    return error;
}

}  // namespace

extern "C" {

orvothread* orvothread_create(orvothread_function function, void* argument, ethread_priority priority) {
    if (!function) {
        errno = kInvalidArgument;
        return nullptr;
    }
    std::unique_ptr<orvothread> thread(new (std::nothrow) orvothread);
    if (!thread) return nullptr;
    thread->function = function;
    thread->argument = argument;
    thread->priority = priority;
    if (int error = start(thread.get())) {
        errno = error;
        return nullptr;
    }
    return thread.release();
}

int orvothread_terminate(orvothread* thread, int /*timeout*/) {
    if (!thread) return kInvalidArgument;
    thread->signaled = 1;
    if (join(thread) == EDEADLK) return EDEADLK;
    release(thread);
    return 0;
}

int orvothread_signaled(void) {
    return orvothread_signaled2(static_cast<orvothread*>(orvothread_getspecific(orvo::kThreadHandleSlot)));
}

int orvothread_signaled2(orvothread* thread) {
    return thread ? thread->signaled.load() : kInvalidArgument;
}

int orvothread_waitfor(orvothread* thread) {
    if (!thread) return kInvalidArgument;
    ++thread->users;
    const int result = join(thread);
    release(thread);
    return result;
}

ethread_priority orvothread_priority(const orvothread* thread) {
    return thread ? thread->priority : ETHREAD_PRIORITY_NORMAL;
}

int orvothread_selfid(void) {
    return orvo::sys::thread_id();
}

int orvothread_setname(const char* name) {
    int error = name ? orvo::sys::name_thread(name) : 0;
    if (error != 0) return error;
    return orvothread_setspecific_private(orvo::kThreadNameSlot, const_cast<char*>(name));
}

const char* orvothread_getname(void) {
    return static_cast<const char*>(orvothread_getspecific(orvo::kThreadNameSlot));
}

}  // extern "C"
