// SPDX-License-Identifier: Apache-2.0
/**
 * @file zvkengine.hpp
 * zvkengine.h for hosts in C++20: handles that free themselves, exceptions instead of codes.
 *
 * @code
 *   zvkengine::Set set("base.ndb");
 *   zvkengine::Instance instance;
 *   std::vector<std::string> names;
 *   instance.begin(names);
 *   instance.scan("<html><script>first chunk");
 *   instance.scan("last chunk</script>");
 *   instance.end();
 *   if (instance.isRefused()) std::puts("not markup: nothing was scanned");
 * @endcode
 *
 * Each call is one call of the C interface. What that does, which events it raises and which codes
 * it gives is documented in zvkengine.h; here is only what C++ adds:
 *   - A code that means a failure is thrown as an Error. A refused stream is not a failure but a
 *     state of the instance, see Instance::isRefused().
 *   - An exception that the host's function throws never enters the engine. It is kept, and the
 *     call that raised the event throws it again. Until then the host's functions are not called
 *     any more: the next detection ends the search of the chunk and is not reported.
 *   - Destructors free what the object owns and throw nothing.
 *
 * @par Threads
 * As in zvkengine.h: different instances run in parallel, calls on one instance must not overlap.
 *
 * Nothing here is compiled into the library: a host links libzvkengine alone.
 */
#ifndef ZVKENGINE_HPP
#define ZVKENGINE_HPP

#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zvkengine.h"

namespace zvkengine {

/// @return what a result code means, in a few words; a static text
inline const char* meaning(int32_t code) noexcept {
    constexpr std::pair<int32_t, const char*> kMeanings[] = {
        {ZVK_ERR_NOT_SCANNABLE, "the stream is refused"},
        {ZVK_ERR_BAD_LOG_LEVEL, "the log level is not 0 to 3"},
        {ZVK_ERR_BAD_OPTION, "unknown option code"},
        {ZVK_ERR_BAD_INSTANCE, "not a live instance"},
        {ZVK_ERR_BAD_PARAM, "a required argument is missing or out of range"},
        {ZVK_ERR_NO_IDLE_CONTAINER, "a stream still uses the set before the current one"},
        {ZVK_ERR_NO_CONTAINER, "no signature set is loaded"},
        {ZVK_ERR_LOAD_FAILED, "a pattern file cannot be used, the log has the reason"},
        {ZVK_ERR_NULL_ARG, "a record or the base directory is missing"},
        {ZVK_ERR_NO_MEMORY, "out of memory"},
        {ZVK_ERR_BAD_STATE, "the call does not fit the state"},
        {ZVK_ERR_NO_SCANNER, "the stream scanner could not be created"},
    };
    for (const auto& [known, text] : kMeanings) {
        if (known == code) return text;
    }
    return "unexpected result";
}

/// A call of the engine failed. The object needs no memory beyond its own.
class Error : public std::exception {
  public:
    /// @param action      what failed, a verb: "scan" or "load"
    /// @param resultCode  one of the ZVK_ERR_ codes
    Error(const char* action, int32_t resultCode) noexcept : number(resultCode) {
        std::snprintf(text.data(), text.size(), "cannot %s: %s (%d)", action, meaning(number),
                      static_cast<int>(number));
    }

    int32_t code() const noexcept { return number; }

    /// @return for instance "cannot scan: out of memory (-497)"
    const char* what() const noexcept override { return text.data(); }

  private:
    int32_t number;
    std::array<char, 96> text{};
};

/// What the host wants after a detection.
enum class Answer : int32_t {
    kGoOn = 0,      ///< go on just after the match
    kStopChunk = 1  ///< leave the rest of this chunk; the stream stays open
};

/// Called with the name of a detection, which is valid only during the call. It must not call
/// functions of the instance that is scanning.
using OnDetection = std::function<Answer(std::string_view name)>;

/// Called with each block of normalised bytes while the dump option is on.
using OnDump = std::function<void(std::string_view bytes)>;

namespace detail {

/// Calls the host's functions for the engine, which no exception may enter.
class EventReceiver {
  public:
    EventReceiver() = default;
    EventReceiver(OnDetection detectionFunction, OnDump dumpFunction)
        : onDetection(std::move(detectionFunction)), onDump(std::move(dumpFunction)) {}

    static const ZVKScanEngineCallbacks* callbacks() {
        static constexpr ZVKScanEngineCallbacks kCallbacks = {&EventReceiver::onEvent};
        return &kCallbacks;
    }

    /// Throws what a function of the host threw since the last call, if anything.
    void rethrow() {
        if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
    }

  private:
    static int32_t onEvent(void* /*reserved*/, ZVK_ENGINE_EVENT_TYPE type, const void* data,
                           void* userData) noexcept {
        auto& self = *static_cast<EventReceiver*>(userData);
        if (!self.failure) {
            try {
                return static_cast<int32_t>(self.dispatch(type, data));
            } catch (...) {
                self.failure = std::current_exception();
            }
        }
        return static_cast<int32_t>(Answer::kStopChunk);
    }

    Answer dispatch(ZVK_ENGINE_EVENT_TYPE type, const void* data) const {
        if (type == ZVK_EVENT_VIRUS_FOUND && onDetection) {
            return onDetection(static_cast<const ZVKVirusEvent*>(data)->name);
        }
        if (type == ZVK_EVENT_DATA_DUMP && onDump) {
            const auto& block = *static_cast<const ZVKDumpEvent*>(data);
            onDump({block.data, block.length});
        }
        return Answer::kGoOn;
    }

    OnDetection onDetection;
    OnDump onDump;
    std::exception_ptr failure;
};

/// @return the address of text; the engine takes no null, which an empty view may have
inline const char* addressOf(std::string_view text) {
    return text.data() != nullptr ? text.data() : "";
}

/// @return the length of text, which the engine counts in 32 bits
/// @throws Error  ZVK_ERR_BAD_PARAM if text.size() + reserve does not fit in 32 bits
inline uint32_t checkedLength(std::string_view text, uint32_t reserve = 0) {
    if (text.size() <= std::numeric_limits<uint32_t>::max() - reserve) {
        return static_cast<uint32_t>(text.size());
    }
    throw Error("scan", ZVK_ERR_BAD_PARAM);
}

}  // namespace detail

/// The engine's signature set; freed with the object. The engine has one set, so a process should
/// have one object of this type at a time.
/// Threads: any; the destructor must not run while another call of the engine does.
class Set {
  public:
    /// No set yet; load() follows.
    Set() = default;
    /// Loads a set, see load().
    explicit Set(const std::string& base, const std::string& update = {}) { load(base, update); }
    ~Set() { destroyEngine(); }
    Set(const Set&) = delete;
    Set& operator=(const Set&) = delete;

    /// Loads the first set: loadPattern().
    /// @param base    path of the base pattern file
    /// @param update  path of a second file for the same set; empty for none
    /// @throws Error  ZVK_ERR_BAD_STATE if a set is loaded already, ZVK_ERR_LOAD_FAILED
    void load(const std::string& base, const std::string& update = {}) {
        call(loadPattern, base, update);
    }

    /// Replaces the set while streams go on with the old one: reloadPattern().
    /// @throws Error  ZVK_ERR_NO_CONTAINER if none is loaded, ZVK_ERR_NO_IDLE_CONTAINER if a stream
    ///                still uses the set before the current one, ZVK_ERR_LOAD_FAILED; the loaded
    ///                set stays
    void reload(const std::string& base, const std::string& update = {}) {
        call(reloadPattern, base, update);
    }

    /// @return version and number of signatures: getPatternInfo()
    /// @throws Error  ZVK_ERR_NO_CONTAINER
    static ZVKPatternInfo info() {
        ZVKPatternInfo info = {};
        if (const int32_t result = getPatternInfo(&info); result != 0) {
            throw Error("read the pattern information", result);
        }
        return info;
    }

  private:
    static void call(int32_t (*function)(const ZVKPatternFile*), const std::string& base,
                     const std::string& update) {
        const ZVKPatternFile files = {base.c_str(), update.empty() ? nullptr : update.c_str()};
        if (const int32_t result = function(&files); result != 0) throw Error("load", result);
    }
};

/// A scan instance: scans streams, one after the other. It has a fixed address, as the engine keeps
/// it while a stream is open. The destructor ends an open stream, which can raise a last event;
/// what the host's function throws then is dropped.
class Instance {
  public:
    /// @throws std::bad_alloc
    Instance() : instance(createInstance()) {
        if (instance == nullptr) throw std::bad_alloc();
    }
    ~Instance() { destroyInstance(instance); }
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    /// Opens a stream: beginScan().
    /// @param onDetection  kept until the next begin(), as is onDump
    /// @throws Error  ZVK_ERR_BAD_STATE if a stream is open, which stays open;
    ///                ZVK_ERR_NO_CONTAINER, ZVK_ERR_NO_SCANNER
    void begin(OnDetection onDetection, OnDump onDump = {}) {
        const int32_t result =
            beginScan(instance, 0, detail::EventReceiver::callbacks(), &receiver);
        if (result != 0) throw Error("scan", result);
        receiver =
            detail::EventReceiver(std::move(onDetection), std::move(onDump));  // no event came yet
        refused = false;
        length = 0;
    }

    /// Opens a stream whose detections are appended to a list.
    /// @param names  borrowed until the stream has ended
    void begin(std::vector<std::string>& names) {
        begin([&names](std::string_view name) {
            names.emplace_back(name);
            return Answer::kGoOn;
        });
    }

    /// Scans the next chunk: scan().
    /// @param chunk  less than 4 GiB; borrowed for the call
    /// @return detections reported during this call; 0 if the stream is refused
    /// @throws Error  ZVK_ERR_BAD_STATE if no stream is open, ZVK_ERR_NO_MEMORY,
    ///                ZVK_ERR_BAD_PARAM if chunk is too long
    /// @throws what onDetection and onDump throw
    uint32_t scan(std::string_view chunk) {
        const uint32_t size = detail::checkedLength(chunk);
        length += size;
        return counted(::scan(instance, detail::addressOf(chunk), size));
    }

    /// Scans the next chunk, filters it, or both: scanfilter().
    /// @param chunk   at most UINT32_MAX - 10 bytes, not a part of output; borrowed for the call
    /// @param mode    sum of ZVK_FILTER_ bits
    /// @param output  the filtered bytes are appended to it
    /// @return as scan()
    /// @throws as scan(), output being complete; std::bad_alloc before anything is scanned
    uint32_t scanFilter(std::string_view chunk, uint8_t mode, std::string& output) {
        const uint32_t size = detail::checkedLength(chunk, kMostHeld);
        const size_t start = output.size();
        output.resize(start + size + kMostHeld);
        uint32_t written = 0;
        const int32_t result =
            scanfilter(instance, detail::addressOf(chunk), size, &output[start], &written, mode);
        output.resize(start + written);
        if ((mode & ZVK_FILTER_SCAN) != 0) length += size;
        return counted(result);
    }

    /// Ends the stream, which is closed whatever happens: endScan().
    /// @return the safe length: bytes scanned while there was no detection, modulo 4 GiB; 0 if the
    ///         stream is refused
    /// @throws as scan()
    uint32_t end() { return safeLength(endScan(instance)); }

    /// Ends a stream that was filtered: endScanFilter2().
    /// @param output  the bytes that the filter still holds are appended to it
    /// @param flag    as for endScanFilter2()
    /// @return as end()
    /// @throws as scan(); output is complete all the same
    uint32_t endFilter(uint8_t mode, std::string& output, bool* flag = nullptr) {
        std::array<char, kMostHeld> held{};
        uint32_t written = 0;
        const int32_t result = endScanFilter2(instance, held.data(), &written, mode, flag);
        output.append(held.data(), written);
        return safeLength(result);
    }

    /// Ends the stream, if one is open, for a host that does not need its result. It can still
    /// report a detection; what the host's function throws then is dropped.
    void cancel() noexcept {
        endScan(instance);
        receiver = detail::EventReceiver();
    }

    /// @return whether the last stream is refused: it is not of a kind that the engine scans. A
    ///         refused stream has to be ended like any other.
    bool isRefused() const noexcept { return refused; }

    /// @return the instance for the C functions; owned by this object
    void* handle() const noexcept { return instance; }

  private:
    static constexpr uint32_t kMostHeld = 10;  // bytes that the filter keeps for its next call

    uint32_t counted(int32_t result) {
        receiver.rethrow();
        refused = refused || result == ZVK_ERR_NOT_SCANNABLE;
        if (result == ZVK_ERR_NOT_SCANNABLE) return 0;
        if (result < 0) throw Error("scan", result);
        return static_cast<uint32_t>(result);
    }

    // An end call gives a length in 32 signed bits, or a code. The length of a stream above 2 GiB
    // looks negative. A few lengths, just below a multiple of 4 GiB, have the value of a code: if
    // the result equals the length of the stream, it is a length.
    uint32_t safeLength(int32_t result) {
        const auto whole = static_cast<int32_t>(std::exchange(length, 0));
        const bool isCode = result >= ZVK_ERR_NO_SCANNER && result <= ZVK_ERR_NOT_SCANNABLE &&
                            (refused || result != whole);
        if (isCode) return counted(result);
        receiver.rethrow();
        return static_cast<uint32_t>(result);
    }

    void* instance;                  // owned
    detail::EventReceiver receiver;  // the engine keeps its address while a stream is open
    uint64_t length = 0;             // bytes of the stream given to scan
    bool refused = false;
};

/// Replaces the list of keywords: updateKeywords().
/// @param keywords  borrowed for the call, without NUL bytes
/// @return whether the list was taken over; if not, the log has the reason
/// @throws std::bad_alloc
inline bool setKeywords(const std::vector<std::string>& keywords) {
    std::vector<const char*> array;
    array.reserve(keywords.size() + 1);
    for (const std::string& keyword : keywords) array.push_back(keyword.c_str());
    array.push_back(nullptr);
    return updateKeywords(array.data()) != 0;
}

/// Reports one of the keywords that a text contains: matchKeywords(), which defines which one.
/// @param text       less than 4 GiB; borrowed for the call
/// @param onKeyword  called at most once, with the index of the keyword in decimal; its
///                   answer is ignored
/// @return whether a keyword was reported
/// @throws Error  ZVK_ERR_NO_MEMORY, ZVK_ERR_BAD_PARAM if text is too long
/// @throws what onKeyword throws
inline bool matchKeyword(std::string_view text, OnDetection onKeyword) {
    const uint32_t length = detail::checkedLength(text);
    detail::EventReceiver receiver(std::move(onKeyword), {});
    char* buffer = const_cast<char*>(detail::addressOf(text));  // the engine only reads it
    const int32_t result =
        matchKeywords(detail::EventReceiver::callbacks(), &receiver, buffer, length);
    receiver.rethrow();
    if (result < 0) throw Error("match keywords", result);
    return result > 0;
}

}  // namespace zvkengine

#endif
