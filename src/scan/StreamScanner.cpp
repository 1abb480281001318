#include "scan/StreamScanner.h"

#include <algorithm>
#include <cstring>

#include "scan/WorkBuffer.h"
#include "store/PatternContainer.h"
#include "support/Log.h"
#include "support/ScrambledName.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "StreamScanner";

}  // namespace

StreamScanner::StreamScanner(const PatternContainer& container,
                             const ZVKScanEngineCallbacks* callbackRecord, void* hostData,
                             uintptr_t ownerValue)
    : BodyMatcher(container, callbackRecord, hostData),
      filter(container.vectorUnit),
      overlap(static_cast<uint32_t>(container.maxPatternLength)),
      owner(ownerValue),
      normaliser(container.vectorUnit) {
    if (container.md5List.hasTables()) {
        md5Scanner = std::make_unique<Md5Scanner>(container.md5List, &result);
    }
    tail.reserve(overlap);
    if (container.typeTrieTree.maxPatternLength != 0) {
        typeScanner.emplace(container.typeTrieTree, &result);
    }
    reset();
}

void StreamScanner::reset() {
    reset2();
    normaliser.htmlMode = false;
    filter.restart();
}

void StreamScanner::reset2() {
    detectionCount = 0;
    tail.clear();
    tailBase = 0;
    tailSettled = 0;
    safeLength = 0;
    filter.filterChanged = false;
    normaliser.restart();
    init();
}

void StreamScanner::init() {
    BodyMatcher::init();
    tailSettled = 0;
    if (md5Scanner != nullptr) md5Scanner->reset();
    if (typeScanner) typeScanner->reset();
}

int StreamScanner::scanBuffer(const char* data, unsigned int len, bool typePass) {
    WorkBuffer<kInlineOverlap + kCycleLength + kSlack> work(capacity() + kSlack);
    Window window = {work.data(), static_cast<uint32_t>(tail.size()), tailBase, tailSettled};
    if (!tail.empty()) std::memcpy(window.text, tail.data(), tail.size());
    if (typePass) return findType(window, data, len);
    const int count = runCycles(window, data, len);
    tail.assign(window.text, window.text + window.used);
    tailBase = window.base;
    tailSettled = window.settled;
    return count;
}

int StreamScanner::findType(Window& window, const char* data, unsigned int len) {
    const char* const chunk = data;
    const unsigned int chunkLength = len;
    char* const added = window.text + window.used;
    const unsigned int produced = normaliser.getBuffer(data, len, added, capacity() - window.used);
    if (produced == 0 || !typeScanner) return 0;
    const TriePattern* found = typeScanner->virusFound(
        reinterpret_cast<const unsigned char*>(window.text), window.used + produced, window.base);
    if (found == nullptr) return 0;
    if (*added == '<' && Normaliser::checkHeader(chunk, chunkLength)) normaliser.htmlMode = true;
    ZVK_DEBUG("StreamScanner::scanBuffer, find type name [%s].", scrambled(found->virName).c_str());
    return 1;
}

int StreamScanner::runCycles(Window& window, const char* data, unsigned int len) {
    const unsigned int chunkLength = len;
    int count = 0;
    bool isResumed = false;  // the last cycle ended with a detection that the host wants passed
    while (true) {
        const uint32_t room = capacity() - window.used;
        if (len != 0 && room == 0) {
            ZVK_ERROR("Can't scan, the scan buffer is too small, it must more than %d bytes.",
                      static_cast<int>(overlap));
            return count;
        }
        char* const added = window.text + window.used;
        const unsigned int produced = normaliser.getBuffer(data, len, added, room);
        if (produced == 0 && !isResumed) {
            if (detectionCount == 0) safeLength += chunkLength;
            return count;
        }
        sendDumpEvent(added, produced);
        const uint32_t end = window.used + produced;
        DigestFeed feed =
            md5Scanner != nullptr ? md5Scanner->feedOf(added, produced) : DigestFeed();
        const char* name = virusFound(window.text, end, window.base, window.settled, feed);
        feed.finish();
        isResumed = false;
        if (name == nullptr) {
            keepTail(window, end);
            continue;
        }
        ++count;
        const Outcome outcome = reportDetection(name, window, end);
        if (outcome == Outcome::Stop) return count;
        isResumed = outcome == Outcome::Resume;
    }
}

void StreamScanner::keepTail(Window& window, uint32_t end) const {
    const uint32_t dropped = end - std::min(end, overlap);
    window.dropFront(dropped, end);
    window.settled = settledEnd() - std::min(settledEnd(), dropped);
}

StreamScanner::Outcome StreamScanner::reportDetection(const char* name, Window& window,
                                                      uint32_t end) {
    ++detectionCount;
    window.settled = 0;
    switch (sendDetection(name)) {
        case 0:
            window.dropFront(static_cast<uint32_t>(matchEnd - window.text), end);
            init();
            return Outcome::Resume;
        case 1:
        case 3:
            return Outcome::Stop;
        default:
            // window.used stays: the bytes that this cycle added are forgotten.
            return Outcome::GoOn;
    }
}

void StreamScanner::Window::dropFront(uint32_t count, uint32_t end) {
    used = end - count;
    if (count != 0) std::memmove(text, text + count, used);
    base += count;
}

int StreamScanner::sendDetection(const char* name) {
    const int answer = sendEngineEventEx(ZVK_EVENT_VIRUS_FOUND, name);
    ZVK_DEBUG("ret of event = %d", answer);
    return answer;
}

bool StreamScanner::searchNextVirus(const char* name) {
    if (sendDetection(name) != 0) return false;
    init();
    return true;
}

}  // namespace STREAMENGINE_SPACE
