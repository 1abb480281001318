/* Scans one file with one pattern file. Exit status: 0 clean, 1 something found, 2 an error. */
#include <stdio.h>
#include <zvkengine.h>

static int32_t onEvent(void* reserved, ZVK_ENGINE_EVENT_TYPE type, const void* data, void* found) {
    (void)reserved;
    if (type != ZVK_EVENT_VIRUS_FOUND) return 0;
    printf("found: %s\n", ((const ZVKVirusEvent*)data)->name); /* valid only during this call */
    *(int*)found = 1;
    return 0; /* go on after the match */
}

int main(int argc, char** argv) {
    static const ZVKScanEngineCallbacks callbacks = {onEvent};
    static char chunk[65536];
    const ZVKPatternFile patterns = {argc == 3 ? argv[1] : NULL, NULL};
    FILE* file = argc == 3 ? fopen(argv[2], "rb") : NULL;
    if (file == NULL || loadPattern(&patterns) != 0) {
        fprintf(stderr, "usage: %s PATTERNS FILE (two readable files)\n", argv[0]);
        return 2;
    }
    int found = 0;
    void* instance = createInstance();
    int32_t result = beginScan(instance, 0, &callbacks, &found);
    for (size_t n; result >= 0 && (n = fread(chunk, 1, sizeof chunk, file)) > 0;)
        result = scan(instance, chunk, (uint32_t)n);
    const int32_t ended = endScan(instance); /* always, also after a refusal; may raise events */
    if (ended == ZVK_ERR_NOT_SCANNABLE) printf("not scannable: %s\n", argv[2]);
    destroyInstance(instance);
    destroyEngine();
    const int unread = ferror(file);
    fclose(file);
    if (unread || (result < 0 && result != ZVK_ERR_NOT_SCANNABLE)) return 2;
    return found;
}
