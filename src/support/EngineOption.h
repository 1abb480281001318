// _EngineOption: the options of the whole engine, one global block, ops.
#pragma once

#include <cstdint>
#include <string>

#include "zvkengine.h"

namespace STREAMENGINE_SPACE {

/// Read everywhere without a lock: the host sets the options before scanning starts.
struct _EngineOption {
    std::string internalText;
    int32_t logLevel = 0;
    ZVKLogFunction logFunction = nullptr;  // null until set: nothing is logged
    uint8_t dump = 0;
    uint8_t skipPatterns = 0;
    uint8_t detailLog = 0;
    uint8_t detailEvent = 0;
    uint8_t scrambleKey = 0;  // detection names in memory are scrambled with it

    /// True while matchers have to record the detail of each detection.
    bool wantsDetail() const { return detailLog != 0 || detailEvent != 0; }
};

/// Constructed before the engine and destroyed after it.
ZVK_API extern _EngineOption ops;

}  // namespace STREAMENGINE_SPACE
