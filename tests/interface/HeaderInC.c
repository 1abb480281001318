/* The public header as a C99 host sees it. */
#include "zvkengine.h"

int32_t loadInC(const char* path);
int32_t loadInC(const char* path) {
    const ZVKPatternFile files = {path, (void*)0};
    return loadPattern(&files);
}
