// The questions that the stand-in frameworks put to the stand-in runtime.
#pragma once

#include <objc/NSObject.h>

extern "C" {
id standin_create(Class kind) __attribute__((ns_returns_retained));  // the caller owns it
void standin_dispose(id object);                                     // at the end of dealloc
bool standin_is_kind(id object, Class kind);
void standin_send(id object, SEL selector, id argument);
SEL standin_selector(const char* name);
[[noreturn]] void objc_exception_throw(id exception);
id objc_retain(id object);
void objc_release(id object);
void* objc_autoreleasePoolPush(void);
void objc_autoreleasePoolPop(void* pool);
}

namespace standin {

long liveObjects();  // of this process, constants aside

// Messages that the adapter sends are counted. The one whose number is armed raises; 0: none does. Each thread has a
// count of its own, so that what other threads do does not move the numbers.
void armMessage(long number);
long messagesSent();                                            // by this thread since the last arming
const char* armedSelector();                                    // which message it was that raised; null: none has
[[noreturn]] void raise(const char* name, const char* reason);  // an NSException; foundation.mm

}  // namespace standin
