#include "scan/report/DetectionReporter.h"

#include "support/Allocation.h"
#include "support/Log.h"
#include "support/ScrambledName.h"

namespace STREAMENGINE_SPACE {
namespace {

constexpr const char* kUnit = "StreamScanner";
constexpr const char* kLabel = "Malform.HTML";

const char* textOf(const char* name) {
    return name != nullptr ? name : "";
}

}  // namespace

void DetectionReporter::reset() {
    if (ops.wantsDetail()) result.reset();
    matchedSigId = 0;
}

// The parts of a multi-part signature were recorded when they were accepted, among parts of other
// signatures; matchedSigId selects them later. A plain string has one part, which replaces them
// all.
void DetectionReporter::recordMatch(const BodyMatch& match, uint32_t endOffset) {
    if (match.isTrie) {
        if (ops.detailLog != 0) match.trie().printSigInfo(endOffset);
        if (match.trie().sigid != 0 && match.trie().type == 0) matchedSigId = match.trie().sigid;
        return;
    }
    if (ops.wantsDetail()) recordBmMatch(match.bm(), endOffset - match.bm().length);
    if (ops.detailLog != 0) match.bm().printSigInfo(endOffset);
}

void DetectionReporter::recordBmMatch(const BmPattern& pattern, uint32_t matchOffset) {
    auto sig = QLT_SPACE::makeUniqueOr<SigInfo>("fail to new sig");
    sig->length = static_cast<int32_t>(pattern.length);
    sig->offset = static_cast<int32_t>(matchOffset);
    QLT_SPACE::allocateOr("fail to new sig->signature",
                          [&] { sig->elements.assign(pattern.sig.begin(), pattern.sig.end()); });
    result.reset();
    result.addSigInfo(pattern.virName, std::move(sig));
}

void DetectionReporter::sendDumpEvent(const char* data, unsigned int length) const {
    if (ops.dump == 0) return;
    const _ZVKDumpEvent event = {data, length};
    callbacks->onEvent(nullptr, ZVK_EVENT_DATA_DUMP, &event, userData);
}

int DetectionReporter::sendEngineEventEx(ZVK_ENGINE_EVENT_TYPE type, const char* name) {
    if (name == nullptr || *name == '\0') return sendEngineEvent(type, name);
    return sendEngineEvent(type, scrambled(name).c_str());
}

// With a detail option on and nothing recorded (a detection that the caller names itself), the
// detail text is made from the name alone.
int DetectionReporter::sendEngineEvent(ZVK_ENGINE_EVENT_TYPE type, const char* name) {
    const bool isDetection = type == ZVK_EVENT_VIRUS_FOUND;
    if (ops.wantsDetail() && !result.hasName()) {
        result.reset();
        result.addSigInfo(scrambled(textOf(name)), nullptr);
    }
    const _ZVKVirusEvent event = {kLabel, 0, isDetection ? detectionText(name) : name};
    if (isDetection) {
        ZVK_DEBUG("send virus_found event [%s][%s]", event.label, textOf(event.name));
    } else if (type == ZVK_EVENT_CLEAN_FAILURE) {
        ZVK_DEBUG("send clean_failure event [%s][%s]", event.label, textOf(event.name));
    }
    const int answer = callbacks->onEvent(nullptr, type, &event, userData);
    if (isDetection || type == ZVK_EVENT_CLEAN_FAILURE) {
        ZVK_DEBUG("ret of send event is [%d]", answer);
    }
    result.reset();
    return type == ZVK_EVENT_RESERVED ? 3 : answer;
}

const char* DetectionReporter::detectionText(const char* name) {
    if (ops.detailLog != 0) ZVK_INFO("%s", result.getInfo(matchedSigId));
    return ops.detailEvent != 0 ? result.getInfo(matchedSigId) : name;
}

}  // namespace STREAMENGINE_SPACE
