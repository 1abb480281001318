// SPDX-License-Identifier: Apache-2.0
/**
 * @file zvkengine.h
 * The public interface of the stream scan engine, libzvkengine.
 *
 * The engine finds known malicious content in markup and script text that arrives as a stream of
 * chunks. It types a stream from its first 256 bytes, normalises it (ASCII letters lowered, white
 * space removed and, for a stream that opens with a tag, only tags and script text kept) and
 * matches the normalised stream against one signature set. It never keeps a whole stream.
 *
 * Beside that, updateKeywords() and matchKeywords() search whole texts for a list of keywords. They
 * need neither a signature set nor an instance.
 *
 * @par Calling order
 *   1. setOptions() and setInternalOptions(), both optional, before anything else.
 *   2. loadPattern(), once.
 *   3. createInstance() for each stream that is to run in parallel; an instance serves any number
 *      of streams, one after the other.
 *   4. Per stream: beginScan(), then scan() or scanfilter() for each chunk in stream order, then
 *      endScan(), endScanFilter() or endScanFilter2(). Detections reach the host's event function
 *      during these calls, on the calling thread.
 *   5. reloadPattern() at any time after the first load, also while streams run: a stream keeps
 *      the signature set that it began with; streams begun after the call use the new one.
 *   6. destroyInstance() for each instance, destroyEngine() at the end.
 *
 * @par Results
 * A status is 0 or a count on success and one of the ZVK_ERR_ codes on failure. The checks of a
 * function run in the order in which its results are listed; the first that fails decides. No C++
 * exception leaves the library.
 *
 * @par Threads
 * loadPattern(), reloadPattern(), getPatternInfo(), createInstance() and destroyInstance() may be
 * called from any thread, also while others scan. Different instances run in parallel; the calls on
 * one instance must not overlap, and an instance must not be destroyed while another thread uses
 * it. updateKeywords() and matchKeywords() may be called from any thread as well; they wait for
 * each other alone. The event function must not call back into the instance that raised the event,
 * nor destroyEngine(), nor, during matchKeywords(), either keyword function. setOptions(),
 * setInternalOptions() and destroyEngine() take no lock: call the first two before scanning starts
 * and the last while no other call runs. A thread must not be cancelled, nor exit, within a call.
 *
 * @par Types and versions
 * Lengths and offsets count bytes and are 32 bits wide. The header is plain C99 and also compiles
 * as C++. Records are only ever read or filled through pointers that the caller owns.
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
 * What each function answers with them, and when, is told at the function.
 * @{ */
#define ZVK_ERR_NOT_SCANNABLE (-488)     /**< the type gate refused the stream */
#define ZVK_ERR_BAD_LOG_LEVEL (-489)     /**< log level outside 0 to 3 */
#define ZVK_ERR_BAD_OPTION (-490)        /**< unknown option code */
#define ZVK_ERR_BAD_INSTANCE (-491)      /**< null, never created or already destroyed handle */
#define ZVK_ERR_BAD_PARAM (-492)         /**< required pointer is null, or unknown filter mode */
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

/** What the event function is told; its data record depends on it. 32 bits wide. */
typedef enum ZVK_ENGINE_EVENT_TYPE {
    /** A signature matched. Data: ::_ZVKVirusEvent. The answer steers the scan, see
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
    int32_t reserved;  /**< carries no information */
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
 * that call returns. It must not let a C++ exception out and must not call functions on the
 * instance that raised the event.
 *
 * @param reserved  always null
 * @param type      a ::ZVK_ENGINE_EVENT_TYPE, which decides the record at data
 * @param data      the event's record, valid only during the call
 * @param userData  the pointer given to beginScan() or matchKeywords()
 * @return for ::ZVK_EVENT_VIRUS_FOUND raised while bytes are scanned (by scan() or scanfilter(),
 * and by an end call for a stream shorter than 256 bytes): 0 to go on just behind the match, 1 or 3
 * to stop matching the current chunk, so that the call returns at once with the detections counted
 * so far. Other values have no defined meaning: the scan goes on with the next input, the bytes at
 * hand forgotten. For an MD5 detection, a keyword and every other event the answer is ignored.
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
 * Called from every thread that runs engine code, possibly from several at once and with locks of
 * the engine held: it must not call functions of the engine, and should not let a C++ exception
 * out, which would be dropped with the line.
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
 * The end of a file's name tells its kind: ".db" basic lines, ".ndb" extended lines, ".hdb" MD5
 * lines, "hwinfo" lines that are read and ignored; a name without any "." is a container file. A
 * file of any other name loads nothing.
 *
 * A container file is restored through two temporary files where tmpfile() puts them. One that
 * would restore to more than 100 times its body's length (or 16 MiB, if that is more), or to more
 * than 1 GiB, is broken, unless the environment variable ZVK_BODY_LIMIT, a decimal number of bytes,
 * allows it.
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
    int32_t level;              /**< 0 information, 1 and 2 also errors, 3 also debug messages */
    ZVKLogFunction logFunction; /**< receives every log line; required */
};

/** Given to setInternalOptions() and copied by it. A flag is on when its byte is not 0. */
struct _ZVKInternalOptions {
    const char* text;     /**< free text, NUL-terminated, kept but read by nobody; null is empty */
    uint8_t dump;         /**< raise ::ZVK_EVENT_DATA_DUMP for each block of normalised bytes */
    uint8_t skipPatterns; /**< open pattern files but load nothing from them */
    uint8_t detailLog;    /**< write the detail text of each detection to the log */
    uint8_t detailEvent;  /**< send the detail text in place of the bare detection name */
};

typedef struct _ZVKVirusEvent ZVKVirusEvent;
typedef struct _ZVKDumpEvent ZVKDumpEvent;
typedef struct _ZVKEngineInfo ZVKEngineInfo;
typedef struct _ZVKPatternFile ZVKPatternFile;
typedef struct _ZVKPatternInfo ZVKPatternInfo;
typedef struct _ZVKLogOptions ZVKLogOptions;
typedef struct _ZVKInternalOptions ZVKInternalOptions;

/**
 * Tells the engine's build time and version.
 *
 * @param info  filled on success; owned by the caller
 * @return 0, or ZVK_ERR_NULL_ARG if info is null
 */
ZVK_API int32_t getEngineInfo(struct _ZVKEngineInfo* info);

/**
 * Sets an engine option. The only option is the log option, ::ZVK_OPTION_LOG; a log function can
 * be replaced but not removed. A call that fails changes nothing.
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
 * @param options  borrowed for the call; null, or out of memory for its text: nothing changes
 * @par Threads
 *         call it before scanning starts; it takes no lock
 */
ZVK_API void setInternalOptions(const struct _ZVKInternalOptions* options);

/**
 * Loads the first signature set.
 *
 * A signature line that cannot be used is logged at level 1, its reason is written to the standard
 * output stream as well, and the load goes on; so it does with a line that finds no memory for its
 * record. While a load runs, scans are not held up.
 *
 * @param files  the pattern files, borrowed for the call. Null: the files pattern/base and
 *               pattern/update below the directory that the environment variable ZVK_DIR names
 *               (pattern/update alone serves as the base; pattern/base alone is a failure). The
 *               variable's value must be shorter than 128 bytes.
 * @return 0, or
 *         ZVK_ERR_NULL_ARG     files is null and ZVK_DIR does not name an existing directory
 *         ZVK_ERR_BAD_STATE    a set is loaded already: use reloadPattern()
 *         ZVK_ERR_LOAD_FAILED  base is null, a file cannot be opened, a container file is broken,
 *                              a file cannot be read, or memory ran out; the reason is logged at
 *                              level 1 and no set is loaded
 * @par Threads
 *         any; loads and reloads wait for each other
 */
ZVK_API int32_t loadPattern(const struct _ZVKPatternFile* files);

/**
 * Replaces the signature set while streams go on with the one that they began with. It never waits
 * for a stream: two sets are kept at most, so it is refused while a stream that began before the
 * previous reload is still open. A failed reload leaves the loaded set as it was.
 *
 * @param files  as for loadPattern()
 * @return 0, or
 *         ZVK_ERR_NULL_ARG           as for loadPattern()
 *         ZVK_ERR_NO_CONTAINER       nothing is loaded yet
 *         ZVK_ERR_NO_IDLE_CONTAINER  a stream still uses the set before the current one; try again
 *                                    when it has ended
 *         ZVK_ERR_LOAD_FAILED        as for loadPattern(); the reason is also written to the
 *                                    standard error stream, whatever the log level
 * @par Threads
 *         any; loads and reloads wait for each other
 */
ZVK_API int32_t reloadPattern(const struct _ZVKPatternFile* files);

/**
 * Tells version and size of the loaded signature set.
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
 * Instances that live on stay valid. A stream that was open on one is gone: scan(), the end calls
 * and getSafeDataLength() answer ZVK_ERR_BAD_STATE for it, without an event. beginScan() answers
 * ZVK_ERR_NO_CONTAINER until a set is loaded again, and works with that set from then on.
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
 * Destroys an instance. A stream that is open on it is ended first as by endScan(), which may
 * still raise an MD5 detection; the result of that is dropped.
 *
 * @param instance  handle from createInstance(); not valid afterwards
 * @return 0, or ZVK_ERR_BAD_INSTANCE if it is null, never created or already destroyed
 * @par Threads
 *         any, while no other thread uses the instance
 */
ZVK_API int32_t destroyInstance(void* instance);

/**
 * Sets an option of an instance. No option exists yet: every code and value is accepted and
 * changes nothing.
 *
 * @param instance  handle from createInstance()
 * @param code      any
 * @param value     any, not read
 * @return 0, or ZVK_ERR_BAD_INSTANCE if instance is null, never created or already destroyed
 */
ZVK_API int32_t setInstanceOptions(void* instance, int32_t code, const void* value);

/**
 * Opens a stream on an instance and binds it to the signature set that is current now.
 *
 * @param instance   handle from createInstance()
 * @param reserved   ignored
 * @param callbacks  kept until the stream is ended; owned by the caller
 * @param userData   handed back with every event; must not be null
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
 * The stream is refused as soon as its first 256 bytes show a known binary or mail format or a byte
 * that cannot be text. Nothing is matched before they are complete. The chunk that completes them
 * has the stream refused if they hold none of the markup tags that the engine looks for; otherwise
 * they are scanned, and if that gives a detection, the rest of that chunk is not. Detections are
 * reported through onEvent on the calling thread before this call returns. The engine keeps no
 * pointer to data.
 *
 * @param instance  handle from createInstance()
 * @param data      the chunk, borrowed for the call; any bytes, no NUL needed; not null
 * @param length    bytes in data, 0 allowed
 * @return detections reported during this call (0 or more), or
 *         ZVK_ERR_BAD_INSTANCE   null, never created or already destroyed
 *         ZVK_ERR_BAD_PARAM      data is null
 *         ZVK_ERR_BAD_STATE      no stream is open
 *         ZVK_ERR_NOT_SCANNABLE  the stream is refused; it still has to be ended
 *         ZVK_ERR_NO_MEMORY      out of memory; the stream still has to be ended
 * @par Threads
 *         different instances run in parallel; calls on one instance must not overlap
 */
ZVK_API int32_t scan(void* instance, const char* data, uint32_t length);

/**
 * Scans the next chunk, filters it, or both.
 *
 * Mode ::ZVK_FILTER_SCAN alone is scan(); the output stays empty. The modes that filter hand back
 * a copy of the chunk in which the elements that the mode names are blanked out: every byte from
 * the "<" of such an element to the ">" of its closing tag, or of its own tag if that ends in "/>",
 * is a blank (0x20). All else is copied unchanged, and the copy of a stream is as long as the
 * stream. An element may span any number of chunks; one that is never closed is blanked to the
 * stream's end. Up to 10 bytes at a chunk's end that may be part of such a tag are held back and
 * written by the next call or by the end call.
 *
 * The filter works on the raw bytes, apart from the scan: a stream that is refused is filtered all
 * the same, and without ::ZVK_FILTER_SCAN the call does not count as part of the scan. The mode
 * should be the same throughout a stream; it decides when a tag opens. The filter starts anew at
 * beginScan().
 *
 * @param instance      handle from createInstance()
 * @param data          the chunk, borrowed for the call; not null
 * @param length        bytes in data, 0 allowed, at most UINT32_MAX - 10 if the mode filters
 * @param output        receives the filtered bytes; owned by the caller, with room for length + 10;
 *                      not null if the mode filters; must not overlap data (the bytes held back
 *                      before come first, so that a copy in place would overtake its source)
 * @param outputLength  receives the number of bytes written; set to 0 before any check; not null
 * @param mode          sum of ::ZVK_FILTER_OBJECTS, ::ZVK_FILTER_SCRIPTS and ::ZVK_FILTER_SCAN;
 *                      other bits are ignored
 * @return with ::ZVK_FILTER_SCAN what scan() answers, the chunk being filtered whatever that is;
 *         otherwise 0, or
 *         ZVK_ERR_BAD_PARAM     mode has none of the three bits
 *         ZVK_ERR_BAD_INSTANCE  null, never created or already destroyed
 *         ZVK_ERR_BAD_PARAM     data is null
 *         ZVK_ERR_BAD_STATE     there is no stream to filter, nothing is written: no stream was
 *                               begun on the instance since it was created, since destroyEngine()
 *                               or since beginScan() answered ZVK_ERR_NO_SCANNER
 * @par Threads
 *         different instances run in parallel; calls on one instance must not overlap
 */
ZVK_API int32_t scanfilter(void* instance, const char* data, uint32_t length, char* output,
                           uint32_t* outputLength, uint8_t mode);

/**
 * Ends the stream that is open on an instance; the stream is closed whatever the result.
 *
 * A stream shorter than 256 bytes is typed and scanned here, and the MD5 check of the whole stream
 * is made; both may raise events.
 *
 * @param instance  handle from createInstance()
 * @return the safe data length: bytes scanned while the stream had no detection, all of them for a
 *         clean stream and 0 for an empty one, or one of the codes below. The length is counted in
 *         32 bits: for streams of 2 GiB and more it is no longer told apart from a code.
 *         Streams of 4 GiB and more are not looked up by their digest.
 *         ZVK_ERR_BAD_INSTANCE   null, never created or already destroyed
 *         ZVK_ERR_BAD_STATE      no stream is open
 *         ZVK_ERR_NOT_SCANNABLE  the stream was refused, or is short and of no type to be scanned
 *         ZVK_ERR_NO_MEMORY      out of memory; the stream is closed all the same
 * @par Threads
 *         different instances run in parallel; calls on one instance must not overlap
 */
ZVK_API int32_t endScan(void* instance);

/**
 * endScanFilter2() without a flag.
 *
 * @param instance      as for endScanFilter2()
 * @param output        as for endScanFilter2()
 * @param outputLength  as for endScanFilter2()
 * @param mode          as for endScanFilter2()
 * @return as endScanFilter2()
 */
ZVK_API int32_t endScanFilter(void* instance, char* output, uint32_t* outputLength, uint8_t mode);

/**
 * Ends a stream that was filtered: ends it as endScan() does, in every mode, and hands out the
 * bytes that the markup filter still holds, whatever endScan() answers: an unfinished opening tag
 * as it is, an unfinished closing tag blanked out.
 *
 * @param instance      handle from createInstance()
 * @param output        receives the bytes held back; owned by the caller, with room for 10; not
 *                      null if the mode filters
 * @param outputLength  receives the number of bytes written; set to 0 before any check; not null
 * @param mode          as for scanfilter(); ::ZVK_FILTER_SCAN alone is endScan()
 * @param flag          receives whether bytes were blanked out; may be null; not written if the
 *                      mode does not filter or the call fails for want of a stream to filter. A
 *                      stream that is scanned as well is told of from the call that accepts its
 *                      first 256 bytes (for a shorter one, the end call) on: what was blanked out
 *                      by earlier calls does not count.
 * @return what endScan() answers, or
 *         ZVK_ERR_BAD_PARAM     mode has none of the three bits
 *         ZVK_ERR_BAD_INSTANCE  null, never created or already destroyed
 *         ZVK_ERR_BAD_STATE     no stream is open; as for scanfilter() nothing is written if none
 *                               was ever begun
 * @par Threads
 *         different instances run in parallel; calls on one instance must not overlap
 */
ZVK_API int32_t endScanFilter2(void* instance, char* output, uint32_t* outputLength, uint8_t mode,
                               bool* flag);

/**
 * Tells how many bytes of the stream were scanned while it had no detection. The value stays
 * after the end call until the next beginScan() on the instance.
 *
 * @param instance  handle from createInstance()
 * @return the length in bytes, or
 *         ZVK_ERR_BAD_INSTANCE  null, never created or already destroyed
 *         ZVK_ERR_BAD_STATE     no stream was begun on the instance since it was created, since
 *                               destroyEngine() or since beginScan() answered ZVK_ERR_NO_SCANNER
 * @par Threads
 *         must not overlap another call on the instance
 */
ZVK_API int32_t getSafeDataLength(void* instance);

/**
 * Replaces the keyword set of matchKeywords(). There is one a process, empty at first; it has
 * nothing to do with the signature sets, and destroyEngine() leaves it alone.
 *
 * The call waits until the matches that run have ended, and matches begun after it wait for the new
 * set; several updates have their turns in the order of the calls. No call waits for ever: an
 * update lets in the matches that wait for it before the next one begins.
 *
 * A keyword has 2 to 256 bytes, any but NUL, and matches whatever the case of A to Z. One that is
 * shorter or longer is skipped, with an error line in the log; the others keep their indices. A
 * list of none but skipped ones gives an empty set.
 *
 * @param keywords  array of NUL-terminated keywords, ended by a null pointer; borrowed for the call
 * @return 1 if the list was taken over, 0 if it was not; the reason is logged at level 1: keywords
 *         is null or its first entry is (the set stays as it was), or memory ran out (the set is
 *         empty)
 * @par Threads
 *         any, but not from the event function of a matchKeywords() call: it would wait for that
 *         call to end
 */
ZVK_API int32_t updateKeywords(const char** keywords);

/**
 * Reports the first keyword found in a text: one ::ZVK_EVENT_VIRUS_FOUND, whose name is the
 * keyword's index in the array of updateKeywords(), in decimal, or the detail text while the
 * detail-event option is on. The event's answer is ignored.
 *
 * The text is searched as it is, but for A to Z taken as lower case; white space counts. Keywords
 * of 2 to 9 bytes come before longer ones. Of the shorter ones the first is the one whose first
 * three bytes (both, of a keyword of two) end first in the text, and where two end there, that with
 * three; of the longer ones, the leftmost. Which one it is of several that begin at the same place
 * is not defined. Longer keywords that have their first 10 bytes in common are compared one by one
 * wherever these occur: thousands of them make the search of such texts slow.
 *
 * The event function is called while the keyword set is held. It must not call updateKeywords(),
 * which would wait for this call to end, nor matchKeywords(), which would wait for an update that
 * waits for this call.
 *
 * @param callbacks  borrowed for the call; not null
 * @param userData   handed back with the event; not null
 * @param buffer     the text, any bytes, no NUL needed; borrowed for the call, only read; not null
 * @param length     bytes in buffer; a text of less than 2 is not searched, with an error line in
 *                   the log
 * @return 1 if a keyword was reported, 0 if there is none or after a failure that was logged (no
 *         memory for a copy of the text or for the detail text), or
 *         ZVK_ERR_BAD_PARAM  callbacks, userData or buffer is null
 *         ZVK_ERR_NO_MEMORY  out of memory for anything else; no keyword was reported
 * @par Threads
 *         any, any number at a time; waits for an update in progress
 */
ZVK_API int32_t matchKeywords(const struct ZVKScanEngineCallbacks* callbacks, void* userData,
                              char* buffer, uint32_t length);

#ifdef __cplusplus
}
#endif

#endif
