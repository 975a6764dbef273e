// Locks of the base runtime: mutexes and read-write locks.
#include "xplatform/common/orvolock.h"

#include <memory>
#include <new>

#include "xplatform/common/orvofailure.h"

struct orvorwlock {
    pthread_rwlock_t lock;
};

namespace {

using orvo::log_failure;
using orvo::refuse_argument;

constexpr char kModule[] = "lock";

// Asks the system, unless the lock is null.
int ask(int (*call)(pthread_mutex_t*), orvolock_t* mutex, int line) {
    return mutex ? call(mutex) : refuse_argument(kModule, line);
}

int ask(int (*call)(pthread_rwlock_t*), orvorwlock_t* lock, int line) {
    return lock ? call(&lock->lock) : refuse_argument(kModule, line);
}

}  // namespace

extern "C" {

orvolock_t* orvolock_init(orvolock_t* mutex) {
    if (!mutex) {
        refuse_argument(kModule, __LINE__);
        return nullptr;
    }
    if (pthread_mutex_init(mutex, nullptr) == 0) return mutex;
    log_failure(kModule, __LINE__, "faile to init mutex object!");
    return nullptr;
}

int orvolock_destroy(orvolock_t* mutex) {
    return ask(pthread_mutex_destroy, mutex, __LINE__);
}

int orvolock_lock(orvolock_t* mutex) {
    return ask(pthread_mutex_lock, mutex, __LINE__);
}

int orvolock_trylock(orvolock_t* mutex) {
    return ask(pthread_mutex_trylock, mutex, __LINE__);
}

int orvolock_unlock(orvolock_t* mutex) {
    return ask(pthread_mutex_unlock, mutex, __LINE__);
}

orvorwlock_t* orvorwlock_alloc(void) {
    std::unique_ptr<orvorwlock> lock(new (std::nothrow) orvorwlock);
    if (lock && pthread_rwlock_init(&lock->lock, nullptr) == 0) return lock.release();
    log_failure(kModule, __LINE__, "faile to init rwlock object!");
    return nullptr;
}

int orvorwlock_destroy(orvorwlock_t* lock) {
    int error = ask(pthread_rwlock_destroy, lock, __LINE__);
    if (error == 0) {
        delete lock;
    } else if (lock) {
        log_failure(kModule, __LINE__, "faile to destroy rwlock object!");
    }
    return error;
}

int orvorwlock_rdlock(orvorwlock_t* lock) {
    return ask(pthread_rwlock_rdlock, lock, __LINE__);
}

int orvorwlock_tryrdlock(orvorwlock_t* lock) {
    return ask(pthread_rwlock_tryrdlock, lock, __LINE__);
}

int orvorwlock_wrlock(orvorwlock_t* lock) {
    return ask(pthread_rwlock_wrlock, lock, __LINE__);
}

int orvorwlock_tryrwlock(orvorwlock_t* lock) {
    return ask(pthread_rwlock_trywrlock, lock, __LINE__);
}

int orvorwlock_unlock(orvorwlock_t* lock) {
    return ask(pthread_rwlock_unlock, lock, __LINE__);
}

}  // extern "C"
