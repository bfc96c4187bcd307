/* The same small method behind an Objective-C send, for the comparison of sends. */
#include <objc/objc.h>
#include <objc/runtime.h>
#include <objc/message.h>
#include <stdint.h>

__attribute__((objc_root_class)) @interface OocobolPeer {
    Class isa;
    int32_t k;
}
- (int32_t)bump:(int32_t *)x;
@end
@implementation OocobolPeer
- (int32_t)bump:(int32_t *)x {
    return *x + 1 + k;
}
@end

void *objc_peer_make(void);
void *objc_peer_make(void) {
    return class_createInstance(objc_getClass("OocobolPeer"), 0);
}

int64_t objc_peer_sends(void *object, int count);
int64_t objc_peer_sends(void *object, int count) {
    OocobolPeer *peer = object;
    int64_t sum = 0;
    for (int i = 0; i < count; ++i) {
        int32_t x = i & 1023;
        sum += [peer bump:&x];
    }
    return sum;
}
