#include "scan/StreamScanner.h"

#include <algorithm>
#include <cstring>

#include "engine/ZVKUtil.h"
#include "store/ZVKPatternContainer.h"
#include "support/DecimalNumber.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "StreamScanner";

}  // namespace

StreamScanner::StreamScanner(const PatternContainer& container,
                             const ZVKScanEngineCallbacks* callbackRecord, void* hostData,
                             uintptr_t ownerValue)
    : PatternMatcher(container, callbackRecord, hostData),
      overlap(static_cast<uint32_t>(container.maxPatternLength)),
      buffer(size_t{overlap} + kCycleLength),
      owner(ownerValue),
      normaliser(container.kernel) {
    if (container.md5List.hasTables()) {
        md5Scanner = std::make_unique<Md5Scanner>(container.md5List, &result);
    }
    if (container.typeTrieTree.maxPatternLength != 0) {
        typeScanner.emplace(container.typeTrieTree, &result);
    }
    reset();
}

void StreamScanner::reset() {
    reset2();
    normaliser.htmlMode = false;
    filter = {};
}

void StreamScanner::reset2() {
    detectionCount = 0;
    bufferUsed = 0;
    bufferBase = 0;
    safeLength = 0;
    filter.filterChanged = false;
    normaliser.restart();
    init();
}

void StreamScanner::init() {
    PatternMatcher::init();
    if (md5Scanner != nullptr) md5Scanner->reset();
    if (typeScanner) typeScanner->reset();
}

int StreamScanner::scanBuffer(const char* data, unsigned int len, bool typePass) {
    const char* const chunk = data;
    const unsigned int chunkLength = len;
    int count = 0;
    bool isResumed = false;  // the last cycle ended with a detection that the host wants passed
    while (true) {
        const unsigned int room = capacity() - bufferUsed;
        if (len != 0 && room == 0) {
            ZVK_ERROR("Can't scan, the scan buffer is too small, it must more than %d bytes.",
                      static_cast<int>(overlap));
            return count;
        }
        char* const added = buffer.data() + bufferUsed;
        const unsigned int produced = normaliser.getBuffer(data, len, added, room);
        if (produced == 0 && !isResumed) {
            if (detectionCount == 0) safeLength += chunkLength;
            return count;
        }
        if (!typePass) EngUtil::sendDumpEvent(added, produced, callbacks, userData);
        const unsigned int end = bufferUsed + produced;
        const char* name = virusFound(buffer.data(), end, bufferBase, typePass);
        if (typePass) {
            if (name == nullptr) return 0;
            acceptType(name, chunk, chunkLength, *added);
            return 1;
        }
        if (md5Scanner != nullptr) md5Scanner->MD5Update(added, produced);
        isResumed = false;
        if (name != nullptr) {
            ++count;
            const Outcome outcome = reportDetection(name, end);
            if (outcome == Outcome::Stop) return count;
            isResumed = outcome == Outcome::Resume;
        } else if (end > overlap) {
            dropFront(end - overlap, end);
        } else {
            bufferUsed = end;
        }
    }
}

void StreamScanner::acceptType(const char* name, const char* raw, unsigned int rawLength,
                               char firstWritten) {
    if (firstWritten == '<' && Normaliser::checkHeader(raw, rawLength)) normaliser.htmlMode = true;
    ZVK_DEBUG("StreamScanner::scanBuffer, find type name [%s].", EngUtil::scrambled(name).c_str());
}

StreamScanner::Outcome StreamScanner::reportDetection(const char* name, unsigned int end) {
    ++detectionCount;
    switch (sendDetection(name)) {
        case 0:
            dropFront(static_cast<unsigned int>(matchEnd - buffer.data()), end);
            init();
            return Outcome::Resume;
        case 1:
        case 3:
            return Outcome::Stop;
        default:
            // bufferUsed stays: the bytes that this cycle added are forgotten.
            return Outcome::GoOn;
    }
}

void StreamScanner::dropFront(unsigned int count, unsigned int end) {
    bufferUsed = end - count;
    std::memmove(buffer.data(), buffer.data() + count, bufferUsed);
    bufferBase += count;
}

const char* StreamScanner::virusFound(char* text, unsigned int end, unsigned int base,
                                      bool typePass) {
    if (!typePass) return PatternMatcher::virusFound(text, end, base);
    if (!typeScanner) return nullptr;
    const TriePattern* found =
        typeScanner->virusFound(reinterpret_cast<unsigned char*>(text), end, base);
    return found != nullptr ? found->virName.c_str() : nullptr;
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

bool StreamScanner::verifyExtendedOption(const std::optional<std::string>& option,
                                         uint32_t offset) {
    return !option || QLT_SPACE::decimalInt64(option->c_str()) == int64_t{offset};
}

}  // namespace STREAMENGINE_SPACE
