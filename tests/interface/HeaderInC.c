/* The public header as a C99 host sees it; compiled with its own warnings as errors. */
#include <stddef.h>

#include "zvkengine.h"

static int32_t onEvent(void* reserved, ZVK_ENGINE_EVENT_TYPE type, const void* data,
                       void* userData) {
    (void)reserved;
    (void)data;
    (void)userData;
    return type == ZVK_EVENT_DATA_DUMP ? ZVK_ERR_BAD_PARAM : ZVK_EVENT_VIRUS_FOUND;
}

/* Tells by 0 that the records are laid out as hosts built by other compilers expect them. */
int describeHeaderInC(void);
int describeHeaderInC(void) {
    const size_t pointer = sizeof(void*);
    ZVKScanEngineCallbacks callbacks = {onEvent};
    if (callbacks.onEvent(NULL, ZVK_EVENT_DATA_DUMP, NULL, NULL) != -492) return 1;
    if (offsetof(ZVKVirusEvent, name) != 2 * pointer) return 2;
    if (offsetof(ZVKDumpEvent, length) != pointer) return 3;
    if (offsetof(ZVKInternalOptions, dump) != pointer) return 4;
    if (offsetof(ZVKInternalOptions, detailEvent) != pointer + 3) return 5;
    if (offsetof(ZVKLogOptions, logFunction) != pointer) return 6;
    if (sizeof(ZVKPatternInfo) != 8 || sizeof(ZVK_ENGINE_EVENT_TYPE) != 4) return 7;
    return 0;
}
