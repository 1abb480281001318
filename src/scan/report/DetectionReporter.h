// DetectionReporter: reports detections, and the bytes that are about to be searched, to the host.
//
// It owns what the report of a detection is made of: the host's callbacks, the parts that the
// matchers recorded while a detail option is on, and the multi-part signature that the last match
// completed. Names come in scrambled, as they are stored, and go out as unscrambled copies.
//
// Threads: one at a time. The event function runs on the thread that reports.
#pragma once

#include <cstdint>

#include "scan/report/BodyMatch.h"
#include "scan/report/ScanResult.h"
#include "zvkengine.h"

namespace STREAMENGINE_SPACE {

class DetectionReporter {
  public:
    DetectionReporter() = default;
    /// Borrows both until they are replaced. The record has to have an event function.
    DetectionReporter(const ZVKScanEngineCallbacks* callbackRecord, void* hostData)
        : callbacks(callbackRecord), userData(hostData) {}

    /// Replaces the host's callbacks.
    void setHost(const ZVKScanEngineCallbacks* callbackRecord, void* hostData) {
        callbacks = callbackRecord;
        userData = hostData;
    }

    /// @return where matchers record the parts of the detection under way
    ScanResult& details() { return result; }

    /// Forgets the last match and, while a detail option is on, the recorded parts.
    void reset();

    /// Records a match that the next detection reports.
    /// @param endOffset  stream offset just after the match
    /// @throws QLT_SPACE::Exception if memory for its detail record runs out
    void recordMatch(const BodyMatch& match, uint32_t endOffset);

    /// Sends an event: sendEngineEvent() takes a plain name, sendEngineEventEx() a scrambled one.
    /// Afterwards no parts are recorded.
    /// @return the host's answer, or 3 for ZVK_EVENT_RESERVED
    int sendEngineEvent(ZVK_ENGINE_EVENT_TYPE type, const char* name);
    int sendEngineEventEx(ZVK_ENGINE_EVENT_TYPE type, const char* name);

    /// Sends the dump event for a block of normalised bytes; does nothing while dumping is off.
    void sendDumpEvent(const char* data, unsigned int length) const;

  private:
    void recordBmMatch(const BmPattern& pattern, uint32_t matchOffset);
    /// @return the text that a detection event carries as its name
    const char* detectionText(const char* name);

    const ZVKScanEngineCallbacks* callbacks = nullptr;
    void* userData = nullptr;
    ScanResult result;
    uint32_t matchedSigId = 0;  // multi-part signature of the last match, or 0
};

}  // namespace STREAMENGINE_SPACE
