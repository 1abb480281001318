#include "scan/StreamScanner.h"

#include <algorithm>
#include <cstring>

#include "scan/text/WorkBuffer.h"
#include "support/EngineOption.h"
#include "support/Log.h"
#include "support/ScrambledName.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "StreamScanner";
// After the text: what a search may read, and what a vector of the normaliser may write.
constexpr size_t kSlack = 96;
static_assert(kSlack >= SearchText::kSlack);

}  // namespace

StreamScanner::StreamScanner(const PatternContainer& set, const ZVKScanEngineCallbacks* callbacks,
                             void* userData, uintptr_t creator)
    : reporter(callbacks, userData),
      matcher(set, reporter.details()),
      normaliser(set.vectorUnit),
      markupFilter(set.vectorUnit),
      overlap(static_cast<uint32_t>(set.maxPatternLength)),
      owner(creator) {
    if (set.md5List.hasTables()) md5Scanner.emplace(set.md5List, &reporter.details());
    tail.reserve(overlap);
    if (set.typeTrieTree.maxPatternLength != 0) {
        typeScanner.emplace(set.typeTrieTree, &reporter.details());
    }
    reset();
}

void StreamScanner::begin(const ZVKScanEngineCallbacks* callbacks, void* userData) {
    reporter.setHost(callbacks, userData);
    reset();
    if (md5Scanner) md5Scanner->MD5Init();
}

void StreamScanner::reset() {
    beginDetection();
    normaliser.setMarkupMode(false);
    markupFilter.restart();
}

void StreamScanner::beginDetection() {
    detectionCount = 0;
    tail.clear();
    tailOffset = 0;
    safeBytes = 0;
    markupFilter.forgetChange();
    normaliser.restart();
    resetMatchers();
}

/// The digest is not reset: it runs over a whole stream, past its detections.
void StreamScanner::resetMatchers() {
    matcher.reset();
    resetReport();
}

void StreamScanner::resetReport() {
    reporter.reset();
    tailDecidedTo = 0;
    if (typeScanner) typeScanner->reset();
}

// The window lives on the stack for the length of the call. A stream that waits for its next chunk
// keeps only the tail: of a million open streams each costs its tail and not a window of 16 KiB.
int StreamScanner::scanBuffer(const char* data, unsigned int len, bool typePass) {
    WorkBuffer<kInlineOverlap + kCycleLength + kShift + kSlack> work(capacity() + kShift + kSlack);
    Window window = {work.data(), work.data(), static_cast<uint32_t>(tail.size()), tailOffset,
                     tailDecidedTo};
    if (!tail.empty()) std::memcpy(window.text, tail.data(), tail.size());
    if (typePass) return findType(window, data, len);
    const int count = runCycles(window, data, len);
    matcher.forgetText();
    tail.assign(window.text, window.text + window.used);
    tailOffset = window.streamOffset;
    tailDecidedTo = window.decidedTo;
    return count;
}

// The type pass leaves no trace but the markup mode: the window is dropped with the call, and
// beginDetection() restarts the normaliser.
int StreamScanner::findType(const Window& window, const char* data, unsigned int len) {
    const char* const chunk = data;
    const unsigned int chunkLength = len;
    char* const added = window.text + window.used;
    const unsigned int produced = normaliser.getBuffer(data, len, added, capacity() - window.used);
    if (produced == 0 || !typeScanner) return 0;
    const TriePattern* found = typeScanner->virusFound(window.searchText(window.used + produced));
    if (found == nullptr) return 0;
    if (*added == '<' && Normaliser::checkHeader(chunk, chunkLength)) {
        normaliser.setMarkupMode(true);
    }
    ZVK_DEBUG("StreamScanner::scanBuffer, find type name [%s].", scrambled(found->virName).c_str());
    return 1;
}

// Each cycle normalises as much of the chunk as fits after the tail, and searches the whole window.
// A detection that the host wants passed leaves the rest of the window for the next cycle, which
// may have no new bytes. The chunk is finished when a cycle adds nothing and the one before was not
// resumed.
int StreamScanner::runCycles(Window& window, const char* data, unsigned int len) {
    const unsigned int chunkLength = len;
    int count = 0;
    bool isResumed = false;
    while (true) {
        const uint32_t room = capacity() - window.used;
        if (len != 0 && room == 0) {
            ZVK_ERROR("Can't scan, the scan buffer is too small, it must more than %d bytes.",
                      static_cast<int>(overlap));
            return count;
        }
        if (len != 0) window.makeRoom();
        char* const added = window.text + window.used;
        const unsigned int produced = normaliser.getBuffer(data, len, added, room);
        if (produced == 0 && !isResumed) {
            if (detectionCount == 0) safeBytes += chunkLength;
            return count;
        }
        reporter.sendDumpEvent(added, produced);
        const uint32_t end = window.used + produced;
        DigestFeed feed = md5Scanner ? md5Scanner->feedOf(added, produced) : DigestFeed();
        const BodyMatch match = matcher.virusFound(window.searchText(end), feed);
        feed.finish();
        isResumed = false;
        if (!match) {
            keepTail(window, end);
            continue;
        }
        ++count;
        const Outcome outcome = reportDetection(match, window, end);
        if (outcome == Outcome::Stop) return count;
        isResumed = outcome == Outcome::Resume;
    }
}

// A match that is not complete yet is at most `overlap` bytes long, so it begins in the last
// `overlap` bytes. What the matcher decided stays decided; its index moves with the bytes.
void StreamScanner::keepTail(Window& window, uint32_t end) const {
    const uint32_t dropped = end - std::min(end, overlap);
    window.dropFront(dropped, end);
    window.decidedTo = matcher.decidedTo() - std::min(matcher.decidedTo(), dropped);
}

// Acts on the host's answer. 0: the window begins again just after the match, all progress is
// dropped. 1 or 3: the chunk is left. Anything else has no meaning of its own: the scan goes on
// with the next input, and the bytes that this cycle added are forgotten because window.used is not
// raised.
StreamScanner::Outcome StreamScanner::reportDetection(const BodyMatch& match, Window& window,
                                                      uint32_t end) {
    reporter.recordMatch(match, window.streamOffset + match.end);  // may throw: not counted then
    ++detectionCount;
    window.decidedTo = 0;
    switch (sendDetection(match.pattern->virName)) {
        case 0:
            window.dropFront(match.end, end);
            window.decidedTo = matcher.resetAfter(match);
            resetReport();
            return Outcome::Resume;
        case 1:
        case 3:
            return Outcome::Stop;
        default:
            return Outcome::GoOn;
    }
}

void StreamScanner::Window::dropFront(uint32_t count, uint32_t end) {
    used = end - count;
    text += count;
    streamOffset += count;
}

void StreamScanner::Window::makeRoom() {
    if (static_cast<size_t>(text - buffer) <= kShift) return;
    std::memmove(buffer, text, used);
    text = buffer;
}

int StreamScanner::sendDetection(const char* name) {
    const int answer = reporter.sendEngineEventEx(ZVK_EVENT_VIRUS_FOUND, name);
    ZVK_DEBUG("ret of event = %d", answer);
    return answer;
}

bool StreamScanner::searchNextVirus(const char* name) {
    if (sendDetection(name) != 0) return false;
    resetMatchers();
    return true;
}

void StreamScanner::reportDigest() {
    const MD5Pattern* record = md5Scanner ? md5Scanner->virusFound() : nullptr;
    if (record == nullptr) return;
    const std::string name =
        *record->virName == '\0' ? scrambled("Generic.Virus") : record->virName;
    reporter.sendEngineEventEx(ZVK_EVENT_VIRUS_FOUND, name.c_str());
    safeBytes = 0;
}

}  // namespace STREAMENGINE_SPACE
