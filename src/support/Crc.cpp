#include "support/Crc.h"

#include <array>

namespace STREAMENGINE_SPACE {
namespace {

// A CRC is the remainder of a division of polynomials over one bit. Divided bit by bit, each of the
// low 8 bits of the register is shifted out and, if it is 1, the polynomial is subtracted (XOR).
// What eight such steps do to the upper bits depends on the low byte alone, so it is computed once
// for each of the 256 bytes (D. V. Sarwate, CACM 31(8), 1988).
constexpr std::array<uint32_t, 256> makeTable() {
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < table.size(); ++i) {
        uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ ((value & 1) != 0 ? 0xEDB88320 : 0);
        table[i] = value;
    }
    return table;
}
constexpr std::array<uint32_t, 256> kTable = makeTable();

uint32_t advance(uint32_t value, unsigned char byte) {
    return value >> 8 ^ kTable[(value ^ byte) & 0xFF];
}

}  // namespace

uint32_t Iso3309Crc::add(char byte) {
    value = advance(value, static_cast<unsigned char>(byte));
    return crc();
}

void Iso3309Crc::add(const void* data, unsigned int length) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (unsigned int i = 0; i < length; ++i) value = advance(value, bytes[i]);
}

}  // namespace STREAMENGINE_SPACE
