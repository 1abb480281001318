// How a detection is told: BodyMatcher's part that records details and sends events.

#include "scan/BodyMatcher.h"
#include "support/Allocation.h"
#include "support/EngineOption.h"
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

void BodyMatcher::recordBmMatch(const BmPattern& pattern, uint32_t matchOffset) {
    auto sig = QLT_SPACE::makeUniqueOr<SigInfo>("fail to new sig");
    sig->length = static_cast<int32_t>(pattern.length);
    sig->offset = static_cast<int32_t>(matchOffset);
    QLT_SPACE::allocateOr("fail to new sig->signature",
                          [&] { sig->elements.assign(pattern.sig.begin(), pattern.sig.end()); });
    result.reset();
    result.addSigInfo(pattern.virName, std::move(sig));
}

void BodyMatcher::sendDumpEvent(const char* data, unsigned int length) const {
    if (ops.dump == 0) return;
    const _ZVKDumpEvent event = {data, length};
    callbacks->onEvent(nullptr, ZVK_EVENT_DATA_DUMP, &event, userData);
}

int BodyMatcher::sendEngineEventEx(ZVK_ENGINE_EVENT_TYPE type, const char* name) {
    if (name == nullptr || *name == '\0') return sendEngineEvent(type, name);
    return sendEngineEvent(type, scrambled(name).c_str());
}

int BodyMatcher::sendEngineEvent(ZVK_ENGINE_EVENT_TYPE type, const char* name) {
    _ZVKVirusEvent event = {kLabel, 0, name};
    const bool isDetection = type == ZVK_EVENT_VIRUS_FOUND;
    if (ops.wantsDetail() && !result.hasName()) {
        result.reset();
        result.addSigInfo(scrambled(textOf(name)), nullptr);
    }
    if (ops.detailLog != 0 && isDetection) ZVK_INFO("%s", result.getInfo(matchedSigId));
    if (ops.detailEvent != 0 && isDetection) event.name = result.getInfo(matchedSigId);
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

}  // namespace STREAMENGINE_SPACE
