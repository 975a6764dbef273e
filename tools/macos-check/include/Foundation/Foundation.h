// Foundation, as far as the adapter and the literals of the language use it.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <objc/NSObject.h>

typedef CGPoint NSPoint;
typedef CGSize NSSize;
typedef CGRect NSRect;
static inline NSSize NSMakeSize(CGFloat width, CGFloat height) {
    return CGSizeMake(width, height);
}
static inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
    return CGRectMake(x, y, width, height);
}
CHECK_C const NSSize NSZeroSize;
CHECK_C const NSRect NSZeroRect;

@protocol NSCopying
@end
typedef struct {
    unsigned long state;
    id __unsafe_unretained* itemsPtr;
    unsigned long* mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;
@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained*)buffer
                                    count:(NSUInteger)count;
@end

typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSUTF8StringEncoding = 4, NSISOLatin1StringEncoding = 5 };
@interface NSString : NSObject <NSCopying>
- (instancetype)initWithBytes:(const void*)bytes length:(NSUInteger)length encoding:(NSStringEncoding)encoding;
- (BOOL)isEqualToString:(NSString*)other;
@property(readonly) const char* UTF8String;
@end

@interface NSArray<Element> : NSObject <NSFastEnumeration>
+ (instancetype)arrayWithObjects:(Element const*)objects count:(NSUInteger)count;
@end
@interface NSMutableArray<Element> : NSArray <Element>
+ (instancetype)array;
- (void)addObject:(Element)object;
@end

@interface NSDictionary<Key, Value> : NSObject
+ (instancetype)dictionaryWithObjects:(Value const*)objects forKeys:(Key<NSCopying> const*)keys count:(NSUInteger)count;
- (Value)objectForKeyedSubscript:(Key)key;
@end

@interface NSNumber : NSObject
+ (NSNumber*)numberWithBool:(BOOL)value;
+ (NSNumber*)numberWithUnsignedInt:(unsigned int)value;
@property(readonly) int intValue;
@property(readonly) unsigned int unsignedIntValue;
@property(readonly) double doubleValue;
@end

@interface NSData : NSObject
@end

@interface NSError : NSObject
@property(readonly) NSInteger code;
@property(readonly, copy) NSString* localizedFailureReason;
@property(readonly, copy) NSString* localizedRecoverySuggestion;
@end

@interface NSException : NSObject
@property(readonly, copy) NSString* name;
@property(readonly, copy) NSString* reason;
@end

@interface NSThread : NSObject
@property(class, readonly) BOOL isMainThread;
@end

typedef NSString* NSNotificationName;
@interface NSNotification : NSObject
+ (instancetype)notificationWithName:(NSNotificationName)name object:(id)object userInfo:(NSDictionary*)information;
@property(readonly, copy) NSNotificationName name;
@property(readonly, strong) id object;
@property(readonly, copy) NSDictionary* userInfo;
@end

@interface NSNotificationCenter : NSObject
@property(class, readonly, strong) NSNotificationCenter* defaultCenter;
- (void)addObserver:(id)observer selector:(SEL)selector name:(NSNotificationName)name object:(id)object;
- (void)removeObserver:(id)observer;
@end

typedef enum NSPostingStyle : NSUInteger {
    NSPostWhenIdle = 1,
    NSPostASAP = 2,
    NSPostNow = 3,
} NSPostingStyle;
@interface NSNotificationQueue : NSObject
@property(class, readonly, strong) NSNotificationQueue* defaultQueue;
- (void)enqueueNotification:(NSNotification*)notification postingStyle:(NSPostingStyle)style;
@end

CHECK_C void NSLog(NSString* format, ...) __attribute__((format(__NSString__, 1, 2)));
