/* A host that loads the library while it runs, as plug-in hosts and COBOL's dynamic CALL do, and uses it at once from
 * threads that were there before. */
#define _POSIX_C_SOURCE 200809L
#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>

#include "oocobol/oocobol.h"

#define THREADS 4
#define ROUNDS 2000

static void (*get_class)(oops_ref *, const char *);
static void (*send_list)(oops_ref, oops_site *, void *const *, int32_t);
static uint32_t (*object_count)(oops_ref);
static pthread_barrier_t loaded;

static void *create_and_finalize(void *failed) {
    oops_site make = OOPS_SITE("withvalue"), size = OOPS_SITE("size"), end = OOPS_SITE("finalize");
    oops_ref texts = 0;
    int i;
    pthread_barrier_wait(&loaded);
    if (get_class == NULL) return NULL;
    get_class(&texts, "chararry");
    for (i = 0; i < ROUNDS; ++i) {
        oops_ref text = 0, ended = 0;
        uint32_t length = 0;
        void *making[] = {&text, "a text"}, *asking[] = {&length}, *ending[] = {&ended};
        send_list(texts, &make, making, 2);
        send_list(text, &size, asking, 1);
        send_list(text, &end, ending, 1);
        if (length != 6) *(int *)failed = 1;
    }
    return NULL;
}

/* A function pointer's way out of dlsym that C allows. */
static int find(void *library, const char *name, void *function) {
    *(void **)function = dlsym(library, name);
    return *(void **)function != NULL;
}

int main(int count, char **arguments) {
    pthread_t threads[THREADS];
    int failed[THREADS] = {0}, i, bad = 0;
    void *library;
    if (count < 2) return 2;
    pthread_barrier_init(&loaded, NULL, THREADS + 1);
    for (i = 0; i < THREADS; ++i) pthread_create(&threads[i], NULL, create_and_finalize, &failed[i]);
    library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) fprintf(stderr, "%s\n", dlerror());
    if (library != NULL &&
        (!find(library, "oopsresolvelist", &send_list) || !find(library, "oopsgetobjectcount", &object_count) ||
         !find(library, "oopsgetclassobject", &get_class)))
        fprintf(stderr, "a function is missing\n");
    pthread_barrier_wait(&loaded);
    for (i = 0; i < THREADS; ++i) {
        pthread_join(threads[i], NULL);
        bad += failed[i];
    }
    if (get_class == NULL || bad != 0) return 1;
    if (object_count(0) != 0) fprintf(stderr, "%u objects are left\n", object_count(0));
    return object_count(0) != 0;
}
