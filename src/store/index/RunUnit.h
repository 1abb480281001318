// RunUnit: a unit that a RunTable or the ShapeTable leads to, with enough of it to reject or accept
// most candidates without its record.
#pragma once

#include <array>
#include <cstdint>

namespace STREAMENGINE_SPACE {

/// Where a unit's anchor is entered.
enum class RunAnchor : uint8_t {
    Wide,    // two grams of four bytes
    Narrow,  // one gram of four bytes
    Shape    // single bytes among wildcards
};

constexpr uint32_t kWindow = 16;  // bytes that are compared at once

struct RunUnit {
    std::array<uint8_t, kWindow> bytes{};  // the literals of the window, 0 elsewhere
    uint16_t open = 0;                     // bit i: byte i of the window may be any
    uint16_t windowAt = 0;                 // symbol at which the window begins
    uint16_t anchor = 0;                   // symbol at which the anchor's first gram begins
    RunAnchor table = RunAnchor::Wide;
    bool isWhole = false;  // the window decides, no symbol outside it has to be compared
    uint32_t length = 0;   // symbols
    uint32_t unit = 0;     // number of the IndexUnit

    /// @return the first gram of the anchor. Eight bytes from there on, and from the next byte on,
    ///         are readable: those that are not in the window are other fields.
    const uint8_t* gram() const {
        return reinterpret_cast<const uint8_t*>(this) + (anchor - windowAt);
    }
};
static_assert(sizeof(RunUnit) == 32);

}  // namespace STREAMENGINE_SPACE
