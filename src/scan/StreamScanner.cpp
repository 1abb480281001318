#include "scan/StreamScanner.h"

#include <algorithm>
#include <cstring>

#include "engine/ZVKUtil.h"
#include "store/ZVKPatternContainer.h"
#include "support/DecimalNumber.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "StreamScanner";

std::unique_ptr<TrieScanner> makeTrieScanner(const TrieTree& tree, ScanResult* result) {
    if (tree.maxPatternLength == 0) return nullptr;
    return std::make_unique<TrieScanner>(tree, result);
}

}  // namespace

StreamScanner::StreamScanner(const PatternContainer& container,
                             const ZVKScanEngineCallbacks* callbackRecord, void* hostData,
                             uintptr_t ownerValue)
    : callbacks(callbackRecord),
      userData(hostData),
      overlap(static_cast<uint32_t>(container.maxPatternLength)),
      buffer(size_t{overlap} + kCycleLength),
      trieScanner(makeTrieScanner(container.trieTree, &result)),
      typeScanner(makeTrieScanner(container.typeTrieTree, &result)),
      owner(ownerValue) {
    if (container.md5List.hasTables()) {
        md5Scanner = std::make_unique<Md5Scanner>(container.md5List, &result);
    }
    if (container.bmList.maxPatternLength != 0) {
        bmScanner = std::make_unique<BmScanner>(container.bmList);
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
    matchEnd = nullptr;
    if (md5Scanner != nullptr) md5Scanner->reset();
    if (bmScanner != nullptr) bmScanner->reset();
    if (trieScanner != nullptr) trieScanner->reset();
    if (typeScanner != nullptr) typeScanner->reset();
    if (ops.wantsDetail()) result.reset();
    matchedSigId = 0;
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
    if (typePass) {
        if (typeScanner == nullptr) return nullptr;
        const TriePattern* found =
            typeScanner->virusFound(reinterpret_cast<unsigned char*>(text), end, base);
        return found != nullptr ? found->virName.c_str() : nullptr;
    }
    const char* name = matchTrie(text, end, base);
    return name != nullptr ? name : matchBm(text, end, base);
}

const char* StreamScanner::matchTrie(const char* text, unsigned int end, unsigned int base) {
    if (trieScanner == nullptr) return nullptr;
    const TriePattern* found =
        trieScanner->virusFound(reinterpret_cast<const unsigned char*>(text), end, base);
    if (found == nullptr) return nullptr;
    matchEnd = reinterpret_cast<const char*>(trieScanner->getMatchPosition());
    if (found->sigid != 0 && found->type == 0) matchedSigId = found->sigid;
    if (ops.detailLog != 0) found->printSigInfo(static_cast<uint32_t>(matchEnd - text) + base);
    return found->virName.c_str();
}

const char* StreamScanner::matchBm(const char* text, unsigned int end, unsigned int base) {
    if (bmScanner == nullptr) return nullptr;
    const BmPattern* found =
        bmScanner->virusFound(reinterpret_cast<const unsigned char*>(text), end, base);
    if (found == nullptr) return nullptr;
    matchEnd = reinterpret_cast<const char*>(bmScanner->getMatchPosition());
    const uint32_t matchOffset = static_cast<uint32_t>(matchEnd - text) + base;
    if (ops.wantsDetail()) recordBmMatch(*found, matchOffset - found->length);
    if (ops.detailLog != 0) found->printSigInfo(matchOffset);
    return found->virName.c_str();
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
