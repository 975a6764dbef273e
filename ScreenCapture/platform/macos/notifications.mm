// Named notifications: the process's default notification queue.
#include <Foundation/Foundation.h>

#include "ScreenCapture/platform/macos/exceptions.h"
#include "ScreenCapture/platform/macos/services.h"

// What listeners find under "thing": an object of the library, kept alive as long as the notification.
@interface OrvoScreenCaptureThing : NSObject
- (instancetype)initWithThing:(std::shared_ptr<void>)thing;
@end

@implementation OrvoScreenCaptureThing {
    std::shared_ptr<void> _thing;
}
- (instancetype)initWithThing:(std::shared_ptr<void>)thing {
    self = [super init];
    if (self) _thing = std::move(thing);
    return self;
}
@end

namespace orvo::platform::macos {
namespace {

class MacNotifications final : public Notifications {
  public:
    void postCoalescing(const char* name, const std::shared_ptr<void>& thing) override {
        guarded([&] {
            NSDictionary* information = @{@"thing" : [[OrvoScreenCaptureThing alloc] initWithThing:thing]};
            NSNotification* notification = [NSNotification notificationWithName:textFrom(name)
                                                                         object:nil
                                                                       userInfo:information];
            // Listeners run inside this call.
            [[NSNotificationQueue defaultQueue] enqueueNotification:notification postingStyle:NSPostNow];
        });
    }
};

}  // namespace

std::unique_ptr<Notifications> makeNotifications() {
    return std::make_unique<MacNotifications>();
}

}  // namespace orvo::platform::macos
