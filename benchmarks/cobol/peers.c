/* What sends.cob compares itself with. */
#include <time.h>

#include "oocobol/oocobol.h"

int clocknow(int64_t *nanoseconds);
int clocknow(int64_t *nanoseconds) {
    struct timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    *nanoseconds = (int64_t)now.tv_sec * 1000000000 + now.tv_nsec;
    return 0;
}

int nothing(const char *name, const void *receiver, void *item);
int nothing(const char *name, const void *receiver, void *item) {
    (void)name, (void)receiver, (void)item;
    return 0;
}

int cachedsends(const oops_ref *receiver, int32_t *item, const uint32_t *count);
int cachedsends(const oops_ref *receiver, int32_t *item, const uint32_t *count) {
    static oops_site site = OOPS_SITE("size");
    void *arguments[] = {item};
    for (uint32_t i = 0; i < *count; ++i) oopsresolvelist(*receiver, &site, arguments, 1);
    return 0;
}
