#include "store/index/ByteClasses.h"

namespace STREAMENGINE_SPACE {

void ByteClasses::build(std::span<const Bytes> anchors) {
    constexpr size_t kClasses = 8;
    for (size_t i = 0; i < anchors.size(); ++i) {
        const auto classBit = static_cast<uint8_t>(1U << (i * kClasses / anchors.size()));
        for (uint32_t place = 0; place < kWidth; ++place) {
            if (anchors[i][place]) {
                allow(place, *anchors[i][place], classBit);
                continue;
            }
            for (uint32_t byte = 0; byte < tables[place].size(); ++byte) {
                allow(place, static_cast<uint8_t>(byte), classBit);
            }
        }
    }
}

void ByteClasses::allow(uint32_t place, uint8_t byte, uint8_t classBit) {
    tables[place][byte] |= classBit;
    low[place][byte & 0xF] |= classBit;
    high[place][byte >> 4] |= classBit;
}

}  // namespace STREAMENGINE_SPACE
