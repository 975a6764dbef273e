// Foundation: text, collections, numbers, exceptions, notifications.
#include <Foundation/Foundation.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "tools/macos-check/standin/desk.h"
#include "tools/macos-check/standin/runtime.h"
#include "tools/macos-check/standin/values.h"

namespace standin {

Desk& desk() {
    static Desk& only = *new Desk;
    return only;
}
void note(std::string call) {
    std::lock_guard guard(desk().lock);
    desk().calls.push_back(std::move(call));
}
bool wasCalled(const std::string& call) {
    std::lock_guard guard(desk().lock);
    return std::find(desk().calls.begin(), desk().calls.end(), call) != desk().calls.end();
}
long timesCalled(const std::string& start) {
    std::lock_guard guard(desk().lock);
    return std::count_if(desk().calls.begin(), desk().calls.end(),
                         [&](const std::string& call) { return call.starts_with(start); });
}
void forget() {
    std::lock_guard guard(desk().lock);
    desk().calls.clear();
    desk().console.clear();
}

}  // namespace standin

@implementation NSObject
+ (instancetype)alloc {
    return standin_create(self);
}
+ (Class)class {
    return self;
}
- (instancetype)init {
    return self;
}
- (NSString*)description {
    return @"an object";
}
- (void)dealloc {
    standin_dispose(self);
}
@end

// Text. Literals are of a class of their own, whose layout is the compiler's.
@interface StandInConstantString : NSString {
  @public
    int flags;
    const char* bytes;
    long length;
}
@end
@implementation NSString
+ (instancetype)alloc {
    return standin_create(self == [NSString class] ? [StandInString class] : self);
}
- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding {
    return nil;
}
- (BOOL)isEqualToString:(NSString*)other {
    return other && std::strcmp(self.UTF8String, other.UTF8String) == 0;
}
- (const char*)UTF8String {
    return "";
}
- (NSString*)description {
    return self;
}
@end
@implementation StandInString
// Strict enough to tell the two encodings apart.
static bool isUTF8(const unsigned char* bytes, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        const int following = bytes[i] < 0x80   ? 0
                              : bytes[i] < 0xC2 ? -1
                              : bytes[i] < 0xE0 ? 1
                              : bytes[i] < 0xF0 ? 2
                                                : 3;
        if (following < 0 || i + static_cast<size_t>(following) >= length + (following == 0)) return false;
        for (int k = 0; k < following; ++k)
            if ((bytes[++i] & 0xC0) != 0x80) return false;
    }
    return true;
}
- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding {
    const auto* source = static_cast<const unsigned char*>(bytes);
    if (encoding == NSUTF8StringEncoding) {
        if (!isUTF8(source, length)) return nil;
        text.assign(static_cast<const char*>(bytes), length);
        return self;
    }
    for (NSUInteger i = 0; i < length; ++i) {
        if (source[i] >= 0x80) text += static_cast<char>(0xC0 | source[i] >> 6);
        text += static_cast<char>(source[i] < 0x80 ? source[i] : 0x80 | (source[i] & 0x3F));
    }
    return self;
}
- (const char*)UTF8String {
    return text.c_str();
}
@end
@implementation StandInConstantString
- (const char*)UTF8String {
    return bytes;
}
@end
asm(".globl __CFConstantStringClassReference\n"
    ".set __CFConstantStringClassReference, OBJC_CLASS_$_StandInConstantString\n");

NSString* textOf(const std::string& bytes) {
    return [[NSString alloc] initWithBytes:bytes.data() length:bytes.size() encoding:NSUTF8StringEncoding];
}

@implementation NSArray
+ (instancetype)arrayWithObjects:(id const*)objects count:(NSUInteger)count {
    NSArray* array = [[self alloc] init];
    array->items.assign(objects, objects + count);
    return array;
}
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained*)buffer
                                    count:(NSUInteger)count {
    if (state->state++ || items.empty()) return 0;
    state->itemsPtr = reinterpret_cast<id __unsafe_unretained*>(reinterpret_cast<void*>(items.data()));
    state->mutationsPtr = &state->extra[0];
    return items.size();
}
- (NSUInteger)count {
    return items.size();
}
- (id)objectAtIndexedSubscript:(NSUInteger)index {
    return items.at(index);
}
@end
@implementation NSMutableArray
+ (instancetype)array {
    return [[self alloc] init];
}
- (void)addObject:(id)object {
    items.push_back(object);
}
@end

@implementation NSDictionary
+ (instancetype)dictionaryWithObjects:(id const*)objects forKeys:(id<NSCopying> const*)keys count:(NSUInteger)count {
    NSDictionary* dictionary = [[self alloc] init];
    for (NSUInteger i = 0; i < count; ++i) dictionary->items[[(NSString*)keys[i] UTF8String]] = objects[i];
    return dictionary;
}
- (id)objectForKeyedSubscript:(id)key {
    const auto found = items.find([(NSString*)key UTF8String]);
    return found == items.end() ? nil : found->second;
}
@end

// The empty literals are constants.
extern "C" {
extern id __NSArray0__;
extern id __NSDictionary0__;
id __NSArray0__ = [[NSArray alloc] init];
id __NSDictionary0__ = [[NSDictionary alloc] init];
}

@implementation NSNumber
+ (NSNumber*)numberWithBool:(BOOL)truth {
    NSNumber* number = numberOf(truth);
    number->isBoolean = true;
    return number;
}
+ (NSNumber*)numberWithUnsignedInt:(unsigned)whole {
    return numberOf(whole);
}
- (int)intValue {
    return static_cast<int>(static_cast<int64_t>(value));
}
- (unsigned)unsignedIntValue {
    return static_cast<unsigned>(static_cast<int64_t>(value));
}
- (double)doubleValue {
    return value;
}
@end
NSNumber* numberOf(double value) {
    NSNumber* number = [[NSNumber alloc] init];
    number->value = value;
    return number;
}

@implementation NSData
@end

@implementation NSError
- (NSInteger)code {
    return code;
}
- (NSString*)localizedFailureReason {
    return reason;
}
- (NSString*)localizedRecoverySuggestion {
    return nil;
}
@end
NSError* errorOf(long code, NSString* reason) {
    NSError* error = [[NSError alloc] init];
    error->code = code;
    error->reason = reason;
    return error;
}

@implementation NSException {
  @public
    NSString* _name;
    NSString* _reason;
}
- (NSString*)name {
    return _name;
}
- (NSString*)reason {
    return _reason;
}
@end
[[noreturn]] void standin::raise(const char* name, const char* reason) {
    NSException* exception = [[NSException alloc] init];
    exception->_name = textOf(name);
    exception->_reason = textOf(reason);
    objc_exception_throw(exception);
}

@implementation NSThread
+ (BOOL)isMainThread {
    return getpid() == gettid();
}
@end

@implementation NSNotification
+ (instancetype)notificationWithName:(NSString*)name object:(id)object userInfo:(NSDictionary*)information {
    NSNotification* notification = [[self alloc] init];
    notification->_name = name;
    notification->_object = object;
    notification->_userInfo = information;
    return notification;
}
@end

struct Observation {
    __unsafe_unretained id observer;
    SEL selector;
    std::string name;
};
static std::mutex& observationLock = *new std::mutex;
static std::vector<Observation>& observations = *new std::vector<Observation>;
@implementation NSNotificationCenter
+ (NSNotificationCenter*)defaultCenter {
    static NSNotificationCenter* const center = [[self alloc] init];
    return center;
}
- (void)addObserver:(id)observer selector:(SEL)selector name:(NSString*)name object:(id)object {
    std::lock_guard guard(observationLock);
    observations.push_back({observer, selector, name.UTF8String});
}
- (void)removeObserver:(id)observer {
    std::lock_guard guard(observationLock);
    std::erase_if(observations, [&](const Observation& each) { return each.observer == observer; });
}
@end
void postNotification(NSString* name, id object, NSDictionary* information) {
    NSNotification* const notification = [NSNotification notificationWithName:name object:object userInfo:information];
    std::vector<std::pair<id, SEL>> receivers;
    {
        std::lock_guard guard(observationLock);
        for (const Observation& each : observations)
            if (each.name == name.UTF8String) receivers.emplace_back(each.observer, each.selector);
    }
    for (const auto& [receiver, selector] : receivers) standin_send(receiver, selector, notification);
}

@implementation NSNotificationQueue
+ (NSNotificationQueue*)defaultQueue {
    static NSNotificationQueue* const queue = [[self alloc] init];
    return queue;
}
- (void)enqueueNotification:(NSNotification*)notification postingStyle:(NSPostingStyle)style {
    standin::note("post " + std::string(notification.name.UTF8String) + " style " + std::to_string(style));
    postNotification(notification.name, nil, notification.userInfo);
}
@end

extern "C" void NSLog(NSString* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string line;
    for (const char* at = format.UTF8String; *at; ++at) {
        if (std::strncmp(at, "%@", 2) != 0) {
            line += *at;
            continue;
        }
        ++at;
        NSObject* const object = va_arg(arguments, __unsafe_unretained id);
        line += object ? object.description.UTF8String : "(null)";
    }
    va_end(arguments);
    std::lock_guard guard(standin::desk().lock);
    standin::desk().console.push_back(line);
}
const NSSize NSZeroSize{};
const NSRect NSZeroRect{};
