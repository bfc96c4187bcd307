/* A program that knows only the public header: creates, fills, sorts, walks and finalizes a collection. Plain C. */
#include <stdio.h>
#include <string.h>

#include "oocobol/oocobol.h"

static int visited;
static char order[64];

static int64_t visit(void *element, void *a2, void *a3, void *a4, void *a5, void *a6, void *a7, void *a8, void *a9,
                     void *a10, void *a11, void *a12, void *a13, void *a14, void *a15) {
    (void)a2, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8, (void)a9;
    (void)a10, (void)a11, (void)a12, (void)a13, (void)a14, (void)a15;
    memcpy(order + 4 * visited, element, 4);
    ++visited;
    return 0;
}

int road_runs(void);
int road_runs(void) {
    oops_ref picx, ordered, entries, template_class = 0, list = 0, sorted = 0, block = 0;
    int32_t length = 4, capacity = 2;
    uint32_t size = 0;
    uint64_t cache[2] = {0, 0};
    const char *words[] = {"pear", "fig ", "plum"};
    int i;
    oopsgetclassobject(&picx, "picx");
    oopsgetclassobject(&ordered, "ORDRDCLL");
    oopsgetclassobject(&entries, "entrycll ");
    cobinvoke2(picx, "newclass", NULL, NULL, 2, &template_class, &length);
    cobinvoke2(ordered, "ofvalues", NULL, NULL, 3, &list, &template_class, &capacity);
    for (i = 0; i < 3; ++i) cobinvoke2(list, "add", &cache[1], &cache[0], 2, NULL, words[i]);
    cobinvoke2(list, "asdefaultsortedcollection", NULL, NULL, 1, &sorted);
    host_register_entry("road-visit", visit);
    cobinvoke2(entries, "new", NULL, NULL, 2, &block, "road-visit");
    cobinvoke2(sorted, "do", NULL, NULL, 2, NULL, &block);
    cobinvoke2(sorted, "size", NULL, NULL, 1, &size);
    cobinvoke2(block, "finalize", NULL, NULL, 1, &block);
    cobinvoke2(sorted, "finalize", NULL, NULL, 1, &sorted);
    cobinvoke2(list, "finalize", NULL, NULL, 1, &list);
    if (size != 3 || visited != 3 || memcmp(order, "fig pearplum", 12) != 0) {
        fprintf(stderr, "size %u, visited %d: %.12s\n", size, visited, order);
        return 0;
    }
    return list == 0 && sorted == 0 && block == 0;
}
