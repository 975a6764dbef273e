// The classes whose insides several of the stand-ins use.
#pragma once

#include <Foundation/Foundation.h>

#include <map>
#include <string>
#include <vector>

@interface NSObject ()
+ (Class)class;
@end
@interface StandInString : NSString {
  @public
    std::string text;
}
@end
@interface NSArray () {
  @public
    std::vector<id> items;
    std::vector<const void*> raw;  // in place of objects, for an array without callbacks
}
@end
@interface NSDictionary () {
  @public
    std::map<std::string, id> items;
}
@end
@interface NSNumber () {
  @public
    double value;
    bool isBoolean;
}
@end
@interface NSData () {
  @public
    std::vector<uint8_t> bytes;
}
@end
@interface NSError () {
  @public
    long code;
    NSString* reason;
}
@end

NSString* textOf(const std::string& bytes);
NSNumber* numberOf(double value);
NSError* errorOf(long code, NSString* reason);
void postNotification(NSString* name, id object, NSDictionary* information);

// A new object behind a reference of the C interfaces, which the caller owns.
template <typename Reference>
Reference handOver(id object) {
    return (__bridge_retained Reference)object;
}
