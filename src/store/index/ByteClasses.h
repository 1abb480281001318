// ByteClasses: which four bytes in a row may be the anchor of a few units.
//
// A table for each of the four bytes gives, for each value of the byte, the classes that may have
// it there, a bit each. A place of the text is accepted if one class has all four bytes. With few
// units in a class that rejects most places, and vector units look up a whole block in a few
// instructions. The split form is the same by halves of a byte, for units that shuffle 16 bytes.
//
// Built once, then read by any number of scanners.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace STREAMENGINE_SPACE {

class ByteClasses {
  public:
    static constexpr uint32_t kWidth = 4;  // bytes of an anchor

    /// The bytes of an anchor; none: any.
    using Bytes = std::array<std::optional<uint8_t>, kWidth>;

    /// Fills an empty object.
    /// @param anchors  similar ones next to each other
    void build(std::span<const Bytes> anchors);

    using Table = std::array<uint8_t, 256>;
    using HalfTable = std::array<uint8_t, 16>;
    const Table& whole(uint32_t place) const { return tables[place]; }
    const HalfTable& lowHalves(uint32_t place) const { return low[place]; }
    const HalfTable& highHalves(uint32_t place) const { return high[place]; }

  private:
    void allow(uint32_t place, uint8_t byte, uint8_t classBit);

    alignas(64) std::array<Table, kWidth> tables{};
    alignas(64) std::array<HalfTable, kWidth> low{};
    std::array<HalfTable, kWidth> high{};
};

}  // namespace STREAMENGINE_SPACE
