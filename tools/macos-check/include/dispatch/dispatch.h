// Grand Central Dispatch, as far as the adapter uses it.
#pragma once

#include <objc/NSObject.h>

@protocol OS_dispatch_object <NSObject>
@end
@protocol OS_dispatch_queue <OS_dispatch_object>
@end
@protocol OS_dispatch_queue_attr <OS_dispatch_object>
@end
@protocol OS_dispatch_source <OS_dispatch_object>
@end
@protocol OS_dispatch_semaphore <OS_dispatch_object>
@end
typedef NSObject<OS_dispatch_object>* dispatch_object_t;
typedef NSObject<OS_dispatch_queue>* dispatch_queue_t;
typedef NSObject<OS_dispatch_queue_attr>* dispatch_queue_attr_t;
typedef NSObject<OS_dispatch_source>* dispatch_source_t;
typedef NSObject<OS_dispatch_semaphore>* dispatch_semaphore_t;
typedef const struct dispatch_source_type_s* dispatch_source_type_t;
typedef uint64_t dispatch_time_t;
typedef void (^dispatch_block_t)(void);

#define CHECK_OBJECT_RETAINED __attribute__((ns_returns_retained))
#define DISPATCH_QUEUE_SERIAL nullptr
#define DISPATCH_QUEUE_PRIORITY_DEFAULT 0
#define DISPATCH_SOURCE_TYPE_TIMER (&_dispatch_source_type_timer)
#define DISPATCH_TIME_NOW 0ull
#define NSEC_PER_SEC 1000000000ull

CHECK_C const struct dispatch_source_type_s _dispatch_source_type_timer;

CHECK_C dispatch_queue_t dispatch_get_main_queue(void);
CHECK_C dispatch_queue_t dispatch_get_global_queue(intptr_t identifier, uintptr_t flags);
CHECK_C CHECK_OBJECT_RETAINED dispatch_queue_t dispatch_queue_create(const char* label,
                                                                     dispatch_queue_attr_t attributes);
CHECK_C void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
CHECK_C CHECK_OBJECT_RETAINED dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle,
                                                                       uintptr_t mask, dispatch_queue_t queue);
CHECK_C void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval,
                                       uint64_t leeway);
CHECK_C void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler);
CHECK_C void dispatch_source_cancel(dispatch_source_t source);
CHECK_C void dispatch_resume(dispatch_object_t object);
CHECK_C void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block);
CHECK_C dispatch_time_t dispatch_time(dispatch_time_t when, int64_t nanoseconds);
CHECK_C CHECK_OBJECT_RETAINED dispatch_semaphore_t dispatch_semaphore_create(intptr_t value);
CHECK_C intptr_t dispatch_semaphore_wait(dispatch_semaphore_t semaphore, dispatch_time_t timeout);
CHECK_C intptr_t dispatch_semaphore_signal(dispatch_semaphore_t semaphore);
