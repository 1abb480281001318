#include "pattern/ContainerLayout.h"

#include <cstring>

#include "engine/ZVKUtil.h"

namespace STREAMENGINE_SPACE {
namespace {

uint16_t decodeNumber16(const uint8_t* bytes) {
    uint16_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return EngUtil::EC16(value);
}

}  // namespace

uint32_t decodeNumber32(const uint8_t* bytes) {
    uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return EngUtil::EC32(value);
}

ContainerHeader ContainerHeader::decode(const std::array<uint8_t, kContainerHeaderLength>& bytes) {
    ContainerHeader header;
    std::memcpy(header.magic.data(), bytes.data(), header.magic.size());
    for (size_t i = 0; i < header.version.size(); ++i) {
        header.version[i] = decodeNumber32(&bytes[24 + 4 * i]);
    }
    header.buildTime = decodeNumber32(&bytes[40]);
    header.bodyLength = decodeNumber32(&bytes[44]);
    std::memcpy(header.bodyDigest.data(), &bytes[48], header.bodyDigest.size());
    header.sectionCount = decodeNumber32(&bytes[64]);
    header.sectionTableOffset = decodeNumber32(&bytes[68]);
    header.patternTotal = decodeNumber32(&bytes[72]);
    header.nameTotal = decodeNumber32(&bytes[76]);
    header.cipherMethod = decodeNumber16(&bytes[80]);
    return header;
}

_SectionTable _SectionTable::decode(const std::array<uint8_t, kSectionEntryLength>& bytes) {
    return {decodeNumber32(&bytes[0]), decodeNumber32(&bytes[4]), decodeNumber32(&bytes[8]),
            decodeNumber32(&bytes[12])};
}

NameTableHeader NameTableHeader::decode(const std::array<uint8_t, kNameTableHeaderLength>& bytes) {
    return {decodeNumber16(&bytes[4]), decodeNumber16(&bytes[6])};
}

}  // namespace STREAMENGINE_SPACE
