// SPDX-License-Identifier: Apache-2.0
/**
 * @file zvkengine.h
 * The public interface of the stream scan engine, libzvkengine.
 *
 * The engine finds known malicious content in markup and script text that arrives as a stream of
 * chunks. It never keeps a whole stream. It works in three steps:
 *   1. It reads the type of the stream from the first 256 bytes. A stream that is not markup is
 *      refused.
 *   2. It normalises the stream: the letters A to Z become lower case and white space is removed.
 *      If the stream begins with a tag, only tags and script text are kept.
 *   3. It searches the normalised stream for the signatures of one set.
 *
 * updateKeywords() and matchKeywords() are a separate search of whole texts for a list of keywords.
 * They need neither a signature set nor an instance.
 *
 * zvkengine.hpp is the same interface for C++20: handles that free themselves, and exceptions.
 *
 * @par Calling order
 *   1. setOptions() and setInternalOptions(), both optional, before anything else.
 *   2. loadPattern(), once.
 *   3. createInstance(), once for each stream that is open at the same time. An instance scans any
 *      number of streams, one after the other.
 *   4. Per stream: beginScan(), then scan() or scanfilter() for each chunk in stream order, then
 *      endScan(), endScanFilter() or endScanFilter2(). Detections reach the host's event function
 *      during these calls, on the calling thread.
 *   5. reloadPattern() at any time after the first load, also while streams are open. A stream
 *      keeps the signature set that it began with; streams begun after the call use the new one.
 *   6. destroyInstance() for each instance, destroyEngine() at the end.
 *
 * @par Results
 * On success a function returns 0 or a count, on failure one of the ZVK_ERR_ codes. It makes its
 * checks in the order in which its results are listed; the first check that fails decides. No C++
 * exception leaves the library.
 *
 * @par Threads
 *   - loadPattern(), reloadPattern(), getPatternInfo(), createInstance() and destroyInstance() may
 *     be called from any thread, also while others scan.
 *   - Different instances run in parallel. The calls on one instance must not overlap, and it must
 *     not be destroyed while another thread uses it.
 *   - updateKeywords() and matchKeywords() may be called from any thread. They wait only for each
 *     other.
 *   - setOptions(), setInternalOptions() and destroyEngine() take no lock. Call the first two
 *     before scanning starts, and destroyEngine() while no other call runs.
 *   - The event function must not call functions on the instance that raised the event, nor
 *     destroyEngine(). During matchKeywords() it must not call either keyword function.
 *   - A thread must not be cancelled, nor exit, within a call.
 *
 * @par Types and versions
 * Lengths and offsets are in bytes and 32 bits wide. The header is plain C99 and also compiles as
 * C++. The caller owns every record that it passes; the engine reads it or fills it.
 */
#ifndef ZVKENGINE_H
#define ZVKENGINE_H

#include <stdbool.h>
#include <stdint.h>

/** Marks what the shared library exports; everything else in it is hidden. */
#define ZVK_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/** @name Result codes
 * Each function documents which of them it returns, and when.
 * @{ */
#define ZVK_ERR_NOT_SCANNABLE (-488)     /**< the type gate refused the stream */
#define ZVK_ERR_BAD_LOG_LEVEL (-489)     /**< log level outside 0 to 3 */
#define ZVK_ERR_BAD_OPTION (-490)        /**< unknown option code */
#define ZVK_ERR_BAD_INSTANCE (-491)      /**< handle is null, never created or destroyed */
#define ZVK_ERR_BAD_PARAM (-492)         /**< a required pointer is null, or unknown filter mode */
#define ZVK_ERR_NO_IDLE_CONTAINER (-493) /**< an older stream still uses the set to be replaced */
#define ZVK_ERR_NO_CONTAINER (-494)      /**< no signature set is loaded */
#define ZVK_ERR_LOAD_FAILED (-495)       /**< the pattern files could not be loaded */
#define ZVK_ERR_NULL_ARG (-496)          /**< record pointer is null, or no base directory */
#define ZVK_ERR_NO_MEMORY (-497)         /**< out of memory */
#define ZVK_ERR_BAD_STATE (-498)         /**< the call does not fit the state */
#define ZVK_ERR_NO_SCANNER (-499)        /**< the stream scanner could not be created */
/** @} */

/** @name Bits of the filter mode of scanfilter(), endScanFilter() and endScanFilter2()
 * @{ */
#define ZVK_FILTER_OBJECTS 1 /**< blank out applet, embed, plugin and object elements */
#define ZVK_FILTER_SCRIPTS 2 /**< blank out script and noscript elements */
#define ZVK_FILTER_SCAN 4    /**< scan for detections; alone it is a plain scan */
/** @} */

/** Option code of setOptions() for ::_ZVKLogOptions. */
#define ZVK_OPTION_LOG 0

/** The kind of an event, which decides its data record. 32 bits wide. */
typedef enum ZVK_ENGINE_EVENT_TYPE {
    /** A signature matched. Data: ::_ZVKVirusEvent. The answer decides how the scan goes on, see
     * ::ZVKEventFunction. */
    ZVK_EVENT_VIRUS_FOUND = 0,
    /** Reserved; never raised. Data: ::_ZVKVirusEvent. */
    ZVK_EVENT_RESERVED = 1,
    /** Reserved for failed cleaning; never raised. Data: ::_ZVKVirusEvent. */
    ZVK_EVENT_CLEAN_FAILURE = 2,
    /** A block of normalised bytes is about to be matched. Raised only while the dump option is
     * on. Data: ::_ZVKDumpEvent. The answer is ignored. */
    ZVK_EVENT_DATA_DUMP = 500
} ZVK_ENGINE_EVENT_TYPE;

/** Data record of ::ZVK_EVENT_VIRUS_FOUND. The record and its texts are owned by the engine and
 * valid only during the event function's call. */
struct _ZVKVirusEvent {
    const char* label; /**< always "Malform.HTML" */
    int32_t reserved;  /**< has no meaning */
    /** Detection name, or the detail text of the detection while the detail-event option is on;
     * NUL-terminated. */
    const char* name;
};

/** Data record of ::ZVK_EVENT_DATA_DUMP. Owned by the engine, valid only during the call. */
struct _ZVKDumpEvent {
    const char* data; /**< normalised bytes, not NUL-terminated */
    uint32_t length;  /**< number of bytes at data; may be 0 */
};

/**
 * The host's event function. Called on the thread that made the call that caused the event, before
 * that call returns. No C++ exception may leave it, and it must not call functions on the instance
 * that raised the event.
 *
 * @param reserved  always null
 * @param type      a ::ZVK_ENGINE_EVENT_TYPE, which decides the record at data
 * @param data      the event's record, valid only during the call
 * @param userData  the pointer given to beginScan() or matchKeywords()
 * @return for a ::ZVK_EVENT_VIRUS_FOUND that is raised while bytes are scanned, by scan() or
 *         scanfilter(), or by an end call for a stream shorter than 256 bytes:
 *         0       go on just after the match
 *         1 or 3  leave the rest of the chunk: the call returns at once, with the detections
 *                 counted so far. The stream stays open.
 *         other   not defined: the bytes that are being searched are dropped, and the scan goes on
 *                 with the next input
 *         For an MD5 detection, a keyword and every other kind of event the answer is ignored.
 */
typedef int32_t (*ZVKEventFunction)(void* reserved, ZVK_ENGINE_EVENT_TYPE type, const void* data,
                                    void* userData);

/** The host's callbacks. The engine keeps the record's address, not a copy: it must stay valid
 * until the stream is ended by an end call or by destroyInstance(). */
struct ZVKScanEngineCallbacks {
    ZVKEventFunction onEvent; /**< required; the only field that the engine reads */
};
typedef struct ZVKScanEngineCallbacks ZVKScanEngineCallbacks;

/**
 * The host's log function.
 *
 * It is called on every thread that runs engine code, possibly on several at once, and while the
 * engine holds locks. So it must not call functions of the engine. No C++ exception should leave
 * it; the engine would drop the exception and the line.
 *
 * @param line  one NUL-terminated line without a line end, valid only during the call. Its first
 *              character is its kind: '0' information, '1' error, '3' debug.
 */
typedef void (*ZVKLogFunction)(const char* line);

/** Filled by getEngineInfo(). The texts are static; the host must not free them. */
struct _ZVKEngineInfo {
    const char* buildTime;     /**< "Engine Build Time: ..." */
    const char* engineVersion; /**< "Engine Version   : ..." */
};

/**
 * Names the pattern files of loadPattern() and reloadPattern(). Borrowed for the call.
 *
 * The end of a file's name decides its kind:
 *   ".db"     basic lines
 *   ".ndb"    extended lines
 *   ".hdb"    MD5 lines
 *   "hwinfo"  lines that are read and ignored
 *   no "."    a container file
 * A file with any other name loads nothing.
 *
 * The body of a container file is inflated into temporary files, which tmpfile() makes. Its length
 * is limited: to 100 times the stored body or 16 MiB, whichever is more, and to 1 GiB in any case.
 * A file above the limit counts as broken. The environment variable ZVK_BODY_LIMIT, a decimal
 * number of bytes, sets another limit.
 */
struct _ZVKPatternFile {
    const char* base;   /**< path of the base pattern file, NUL-terminated; required */
    const char* update; /**< path of a second file for the same set; null for none */
};

/** Filled by getPatternInfo(). */
struct _ZVKPatternInfo {
    /** highest build time, in seconds since 1970, of the container files loaded; 0 for none */
    uint32_t patternVersion;
    uint32_t patternCount; /**< number of signatures that the loaded files reported */
};

/** Value record of option ::ZVK_OPTION_LOG. Copied by setOptions(). */
struct _ZVKLogOptions {
    int32_t level;              /**< 0 information, 1 and 2 also errors, 3 also debug lines */
    ZVKLogFunction logFunction; /**< receives every log line; required */
};

/** Given to setInternalOptions() and copied by it. A flag is on when its byte is not 0. */
struct _ZVKInternalOptions {
    const char* text;     /**< any text, NUL-terminated; kept, but not used; null is empty */
    uint8_t dump;         /**< raise ::ZVK_EVENT_DATA_DUMP for each block of normalised bytes */
    uint8_t skipPatterns; /**< open pattern files but load nothing from them */
    uint8_t detailLog;    /**< write the detail text of each detection to the log */
    uint8_t detailEvent;  /**< report the detail text in place of the detection name */
};

typedef struct _ZVKVirusEvent ZVKVirusEvent;
typedef struct _ZVKDumpEvent ZVKDumpEvent;
typedef struct _ZVKEngineInfo ZVKEngineInfo;
typedef struct _ZVKPatternFile ZVKPatternFile;
typedef struct _ZVKPatternInfo ZVKPatternInfo;
typedef struct _ZVKLogOptions ZVKLogOptions;
typedef struct _ZVKInternalOptions ZVKInternalOptions;

/**
 * Gets the engine's build time and version.
 *
 * @param info  filled on success; owned by the caller
 * @return 0, or ZVK_ERR_NULL_ARG if info is null
 */
ZVK_API int32_t getEngineInfo(struct _ZVKEngineInfo* info);

/**
 * Sets an engine option. The only option is the log option, ::ZVK_OPTION_LOG. A log function can be
 * replaced but not removed. A call that fails changes nothing.
 *
 * @param code   ::ZVK_OPTION_LOG
 * @param value  a ::_ZVKLogOptions record, borrowed for the call
 * @return 0, or
 *         ZVK_ERR_BAD_OPTION     code is not ::ZVK_OPTION_LOG
 *         ZVK_ERR_NULL_ARG       value is null, or its logFunction is
 *         ZVK_ERR_BAD_LOG_LEVEL  its level is negative or above 3
 * @par Threads
 *         call it before scanning starts; it takes no lock
 */
ZVK_API int32_t setOptions(int32_t code, const void* value);

/**
 * Sets all internal options at once.
 *
 * Nothing changes if options is null, or if there is no memory for its text.
 *
 * @param options  borrowed for the call
 * @par Threads
 *         call it before scanning starts; it takes no lock
 */
ZVK_API void setInternalOptions(const struct _ZVKInternalOptions* options);

/**
 * Loads the first signature set.
 *
 * A signature line that cannot be used is skipped, and the load goes on. The reason is logged at
 * level 1 and also written to the standard output stream. A line is skipped as well if there is no
 * memory for its record. Scans go on while a load runs.
 *
 * @param files  the pattern files, borrowed for the call. If it is null, the files are pattern/base
 *               and pattern/update in the directory that the environment variable ZVK_DIR names.
 *               Its value must be shorter than 128 bytes. If only pattern/update exists, it is
 *               loaded as the base; if only pattern/base exists, the load fails.
 * @return 0, or
 *         ZVK_ERR_NULL_ARG     files is null and ZVK_DIR does not name an existing directory
 *         ZVK_ERR_BAD_STATE    a set is loaded already: use reloadPattern()
 *         ZVK_ERR_LOAD_FAILED  base is null, a file cannot be opened or read, a container file is
 *                              broken, or memory ran out. The reason is logged at level 1, and no
 *                              set is loaded.
 * @par Threads
 *         any; loads and reloads wait for each other
 */
ZVK_API int32_t loadPattern(const struct _ZVKPatternFile* files);

/**
 * Replaces the signature set. Streams that are open go on with the set that they began with.
 *
 * The call never waits for a stream. The engine keeps two sets at most: the current one and the one
 * before it. So a reload fails while a stream still uses the set before the current one. Example: a
 * stream begins with set 1 and stays open. The reload to set 2 succeeds. The reload to set 3 fails
 * with ZVK_ERR_NO_IDLE_CONTAINER until the stream has ended.
 *
 * A failed reload leaves the loaded set as it was.
 *
 * @param files  as for loadPattern()
 * @return 0, or
 *         ZVK_ERR_NULL_ARG           as for loadPattern()
 *         ZVK_ERR_NO_CONTAINER       nothing is loaded yet
 *         ZVK_ERR_NO_IDLE_CONTAINER  a stream still uses the set before the current one; try again
 *                                    when it has ended
 *         ZVK_ERR_LOAD_FAILED        as for loadPattern(); the reason is also written to the
 *                                    standard error stream, at every log level
 * @par Threads
 *         any; loads and reloads wait for each other
 */
ZVK_API int32_t reloadPattern(const struct _ZVKPatternFile* files);

/**
 * Gets version and size of the loaded signature set.
 *
 * @param info  filled on success; owned by the caller
 * @return 0, or
 *         ZVK_ERR_NULL_ARG      info is null
 *         ZVK_ERR_NO_CONTAINER  nothing is loaded
 * @par Threads
 *         any; waits for a load in progress
 */
ZVK_API int32_t getPatternInfo(struct _ZVKPatternInfo* info);

/**
 * Empties the engine: both signature sets are freed. Patterns may be loaded again.
 *
 * Instances stay valid, but their open streams are closed without an event. scan(), the end calls
 * and getSafeDataLength() then return ZVK_ERR_BAD_STATE. beginScan() returns ZVK_ERR_NO_CONTAINER
 * until a set is loaded again, and uses that set from then on.
 *
 * @return always 0
 * @par Threads
 *         call it while no other call runs
 */
ZVK_API int32_t destroyEngine(void);

/**
 * Creates a scan instance.
 *
 * @return its handle, to be given to destroyInstance(); null if memory ran out
 * @par Threads
 *         any
 */
ZVK_API void* createInstance(void);

/**
 * Destroys an instance. A stream that is open on it is ended first, as by endScan(): this can still
 * raise detections. The result of the end is dropped.
 *
 * @param instance  handle from createInstance(); not valid afterwards
 * @return 0, or ZVK_ERR_BAD_INSTANCE if it is null, never created or already destroyed
 * @par Threads
 *         any, while no other thread uses the instance
 */
ZVK_API int32_t destroyInstance(void* instance);

/**
 * Sets an option of an instance. No option exists yet: every code and value is accepted, and
 * nothing changes.
 *
 * @param instance  handle from createInstance()
 * @param code      any
 * @param value     any, not read
 * @return 0, or ZVK_ERR_BAD_INSTANCE if instance is null, never created or already destroyed
 */
ZVK_API int32_t setInstanceOptions(void* instance, int32_t code, const void* value);

/**
 * Opens a stream on an instance. The stream uses the signature set that is current now until it
 * ends.
 *
 * @param instance   handle from createInstance()
 * @param reserved   ignored
 * @param callbacks  kept until the stream is ended; owned by the caller
 * @param userData   passed to every call of the event function; must not be null
 * @return 0, or
 *         ZVK_ERR_BAD_INSTANCE  null, never created or already destroyed
 *         ZVK_ERR_BAD_PARAM     callbacks or userData is null
 *         ZVK_ERR_BAD_STATE     a stream is open on the instance; it stays open
 *         ZVK_ERR_NO_CONTAINER  no signature set is loaded
 *         ZVK_ERR_NO_SCANNER    the stream scanner could not be created; no stream is open
 * @par Threads
 *         different instances run in parallel; calls on one instance must not overlap
 */
ZVK_API int32_t beginScan(void* instance, int32_t reserved,
                          const struct ZVKScanEngineCallbacks* callbacks, void* userData);

/**
 * Scans the next chunk of the stream that is open on an instance.
 *
 * The first 256 bytes decide whether the stream is scanned. Nothing is matched before they are
 * complete.
 *   - As soon as they show a known binary or mail format, or a byte that cannot be text, the stream
 *     is refused.
 *   - When a chunk completes them and they have none of the markup tags that the engine looks for,
 *     the stream is refused.
 *   - Otherwise the stream is accepted and these 256 bytes are scanned. If they hold a detection,
 *     the rest of the chunk that completed them is not scanned.
 *
 * Detections are reported through onEvent on the calling thread, before this call returns. The
 * engine keeps no pointer to data.
 *
 * @param instance  handle from createInstance()
 * @param data      the chunk, borrowed for the call; any bytes, no NUL needed; not null
 * @param length    bytes in data, 0 allowed
 * @return detections reported during this call (0 or more), or
 *         ZVK_ERR_BAD_INSTANCE   null, never created or already destroyed
 *         ZVK_ERR_BAD_PARAM      data is null
 *         ZVK_ERR_BAD_STATE      no stream is open
 *         ZVK_ERR_NOT_SCANNABLE  the stream is refused; it still has to be ended
 *         ZVK_ERR_NO_MEMORY      memory ran out; the stream still has to be ended
 * @par Threads
 *         different instances run in parallel; calls on one instance must not overlap
 */
ZVK_API int32_t scan(void* instance, const char* data, uint32_t length);

/**
 * Scans the next chunk, filters it, or both.
 *
 * Mode ::ZVK_FILTER_SCAN alone is scan(); the output stays empty. The other modes filter: they
 * write a copy of the chunk in which elements of the kinds that the mode names are blanked out.
 * Every byte of such an element becomes a blank (0x20), from its "<" to the ">" of its closing tag,
 * or of its own tag if that ends in "/>". All other bytes are copied unchanged, so the copy of a
 * stream is as long as the stream. Example with ::ZVK_FILTER_SCRIPTS:
 *
 *     <p>a<script>x()</script>b</p>
 *     <p>a                    b</p>
 *
 * An element may be spread over any number of chunks. One that is never closed is blanked to the
 * end of the stream. Up to 10 bytes at the end of a chunk that may be part of such a tag are held
 * back; the next call or the end call writes them.
 *
 * The filter works on the raw bytes and does not depend on the scan. A refused stream is filtered
 * too. Without ::ZVK_FILTER_SCAN the chunk is not scanned. Use the same mode for all chunks of a
 * stream: the mode is read when an element opens. beginScan() resets the filter.
 *
 * @param instance      handle from createInstance()
 * @param data          the chunk, borrowed for the call; not null
 * @param length        bytes in data, 0 allowed, at most UINT32_MAX - 10 if the mode filters
 * @param output        receives the filtered bytes; owned by the caller, with room for length + 10;
 *                      not null if the mode filters. It must not overlap data: the bytes that the
 *                      call before held back are written first.
 * @param outputLength  receives the number of bytes written; set to 0 before any check; not null
 * @param mode          sum of ::ZVK_FILTER_OBJECTS, ::ZVK_FILTER_SCRIPTS and ::ZVK_FILTER_SCAN;
 *                      other bits are ignored
 * @return with ::ZVK_FILTER_SCAN the result of scan(), and the chunk is filtered whatever that is;
 *         without it 0, or
 *         ZVK_ERR_BAD_PARAM     mode has none of the three bits
 *         ZVK_ERR_BAD_INSTANCE  null, never created or already destroyed
 *         ZVK_ERR_BAD_PARAM     data is null
 *         ZVK_ERR_BAD_STATE     there is no stream to filter, and nothing is written: no stream was
 *                               begun on the instance since it was created, since destroyEngine(),
 *                               or since beginScan() returned ZVK_ERR_NO_SCANNER
 * @par Threads
 *         different instances run in parallel; calls on one instance must not overlap
 */
ZVK_API int32_t scanfilter(void* instance, const char* data, uint32_t length, char* output,
                           uint32_t* outputLength, uint8_t mode);

/**
 * Ends the stream that is open on an instance. The stream is closed whatever the result.
 *
 * A stream shorter than 256 bytes is accepted or refused here, and scanned. Then the MD5 digest of
 * the whole normalised stream is looked up. Both can raise events.
 *
 * @param instance  handle from createInstance()
 * @return the safe data length, or one of the codes below. The safe data length is the number of
 *         bytes scanned while the stream had no detection: all bytes of a clean stream, 0 for an
 *         empty one. It has 32 bits: from 2 GiB on a length can look like a code. A stream of 4 GiB
 *         or more is not looked up by its digest.
 *         ZVK_ERR_BAD_INSTANCE   null, never created or already destroyed
 *         ZVK_ERR_BAD_STATE      no stream is open
 *         ZVK_ERR_NOT_SCANNABLE  the stream was refused, or is refused now
 *         ZVK_ERR_NO_MEMORY      memory ran out; the stream is closed all the same
 * @par Threads
 *         different instances run in parallel; calls on one instance must not overlap
 */
ZVK_API int32_t endScan(void* instance);

/**
 * endScanFilter2() with a null flag. All parameters and results are those of endScanFilter2().
 */
ZVK_API int32_t endScanFilter(void* instance, char* output, uint32_t* outputLength, uint8_t mode);

/**
 * Ends a stream that was filtered. It ends the stream as endScan() does, in every mode. Then it
 * writes the bytes that the filter still holds, whatever the result of endScan() is: an unfinished
 * opening tag unchanged, an unfinished closing tag as blanks.
 *
 * @param instance      handle from createInstance()
 * @param output        receives the bytes held back; owned by the caller, with room for 10; not
 *                      null if the mode filters
 * @param outputLength  receives the number of bytes written; set to 0 before any check; not null
 * @param mode          as for scanfilter(); ::ZVK_FILTER_SCAN alone is endScan()
 * @param flag          receives whether the filter blanked out any byte of the stream; may be
 *                      null. It is not written if the mode does not filter, or if there is no
 *                      stream to filter. For a stream that is scanned too, see below.
 * @return the result of endScan(), or
 *         ZVK_ERR_BAD_PARAM     mode has none of the three bits
 *         ZVK_ERR_BAD_INSTANCE  null, never created or already destroyed
 *         ZVK_ERR_BAD_STATE     no stream is open. If there is no stream to filter either, as
 *                               for scanfilter(), nothing is written.
 * @par The flag of a stream that is scanned too
 *         The flag starts again at false in the call that accepts the stream: the one that
 *         completes its first 256 bytes, or the end call if the stream is shorter. Bytes blanked by
 *         that call and by later ones count, bytes blanked by earlier calls do not. Example: the
 *         first chunk has 100 bytes with a script element, the second has 300 bytes without one.
 *         The second call accepts the stream, so the flag is false; as one chunk of 400 bytes it
 *         would be true. In a refused stream all blanked bytes count.
 * @par Threads
 *         different instances run in parallel; calls on one instance must not overlap
 */
ZVK_API int32_t endScanFilter2(void* instance, char* output, uint32_t* outputLength, uint8_t mode,
                               bool* flag);

/**
 * Gets the safe data length: the number of bytes that were scanned while the stream had no
 * detection. It can still be read after the end call, until the next beginScan() on the instance.
 *
 * @param instance  handle from createInstance()
 * @return the length in bytes, or
 *         ZVK_ERR_BAD_INSTANCE  null, never created or already destroyed
 *         ZVK_ERR_BAD_STATE     no stream was begun on the instance since it was created, since
 *                               destroyEngine(), or since beginScan() returned ZVK_ERR_NO_SCANNER
 * @par Threads
 *         must not overlap another call on the instance
 */
ZVK_API int32_t getSafeDataLength(void* instance);

/**
 * Replaces the keyword set of matchKeywords(). A process has one keyword set, which is empty at
 * first. It does not depend on the signature sets, and destroyEngine() does not change it.
 *
 * The call waits for the matches that run. Matches that begin after it wait for the new set.
 * Several updates run in the order of their calls. No call waits for ever: the matches that wait
 * for an update run before the next update begins.
 *
 * A keyword has 2 to 256 bytes, of any value but NUL. The case of A to Z makes no difference. A
 * keyword that is shorter or longer is skipped, with an error line in the log; the other keywords
 * keep their indices. If all are skipped, the set is empty.
 *
 * @param keywords  array of NUL-terminated keywords, ended by a null pointer; borrowed for the call
 * @return 1 if the list is in use now, or 0 after a failure, whose reason is logged at level 1:
 *         keywords or its first entry is null (the set does not change), or memory ran out (the set
 *         is empty)
 * @par Threads
 *         any, but not from the event function of a matchKeywords() call: it would wait for that
 *         call to end
 */
ZVK_API int32_t updateKeywords(const char** keywords);

/**
 * Searches a text for the keywords and reports one of them, if any occurs: one
 * ::ZVK_EVENT_VIRUS_FOUND. Its name is the keyword's index in the array of updateKeywords(), in
 * decimal, or the detail text while the detail-event option is on. The event's answer is ignored.
 *
 * The text is not normalised: white space counts. Only the case of A to Z makes no difference.
 *
 * If several keywords occur, these rules decide which one is reported:
 *   1. One of 2 to 9 bytes is reported rather than a longer one, wherever they are in the text.
 *   2. Among those of 2 to 9 bytes the heads decide. A head is the first three bytes, or both bytes
 *      of a keyword of two. The keyword whose head ends first is reported, and if two heads end at
 *      the same byte, the one with the head of three. Example: "xab" contains "ab" and "xab"; both
 *      heads end at the "b", so "xab" is reported.
 *   3. Among longer ones the one that begins first is reported.
 *   4. Among keywords that begin at the same byte it is not defined which one is reported.
 *
 * Keywords of 10 bytes and more that have their first 10 bytes in common are compared one by one
 * wherever these 10 bytes occur. Thousands of such keywords make the search of such a text slow.
 *
 * The event function runs while the keyword set is locked. It must not call updateKeywords(), which
 * would wait for this call to end, nor matchKeywords(), which would wait for an update that waits
 * for this call.
 *
 * @param callbacks  borrowed for the call; not null
 * @param userData   passed to the event function; not null
 * @param buffer     the text, any bytes, no NUL needed; borrowed for the call, only read; not null
 * @param length     bytes in buffer; a text of less than 2 bytes is not searched, and an error line
 *                   is logged
 * @return 1 if a keyword was reported; 0 if none occurs, or if there was no memory for a copy of
 *         the text or for the detail text, which is logged; or
 *         ZVK_ERR_BAD_PARAM  callbacks, userData or buffer is null
 *         ZVK_ERR_NO_MEMORY  memory ran out elsewhere; no keyword was reported
 * @par Threads
 *         any, any number at a time; waits for an update in progress
 */
ZVK_API int32_t matchKeywords(const struct ZVKScanEngineCallbacks* callbacks, void* userData,
                              char* buffer, uint32_t length);

#ifdef __cplusplus
}
#endif

#endif
