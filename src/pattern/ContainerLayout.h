// The fixed layout of container pattern files. All numbers in a file are little-endian.
//
// A file is a header and a body. The body, once restored, holds a table of sections, the records
// of each section and a table of detection names for each, in any order.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace STREAMENGINE_SPACE {

constexpr size_t kContainerHeaderLength = 84;
constexpr size_t kSectionEntryLength = 36;
constexpr size_t kNameTableHeaderLength = 8;
constexpr uint32_t kLongestRecord = 4096;  // bytes of text
constexpr uint32_t kLongestName = 126;     // bytes
constexpr size_t kLongestNameOffset = 16;  // digits
constexpr std::array<char, 10> kContainerMagic = {'V', 'Q', 'P', 'a', 't', 't', 'e', 'r', 'n', 0};

constexpr uint32_t kBasicSection = 0xABAB0000;
constexpr uint32_t kExtendedSection = 0xABAB0001;
constexpr uint32_t kMD5Section = 0xABAB0002;

/// A file's header, its numbers in the host's order.
struct ContainerHeader {
    std::array<char, kContainerMagic.size()> magic{};
    std::array<uint32_t, 4> version{};
    uint32_t buildTime = 0;   // seconds since 1970-01-01 00:00 UTC
    uint32_t bodyLength = 0;  // bytes behind the header
    std::array<uint8_t, 16> bodyDigest{};
    uint32_t sectionCount = 0;
    uint32_t sectionTableOffset = 0;  // in the restored body, as all offsets
    uint32_t patternTotal = 0;
    uint32_t nameTotal = 0;
    uint16_t cipherMethod = 0;

    static ContainerHeader decode(const std::array<uint8_t, kContainerHeaderLength>& bytes);
};

/// An entry of the section table.
struct _SectionTable {
    uint32_t sectionMagic = 0;
    uint32_t recordCount = 0;
    uint32_t recordOffset = 0;
    uint32_t nameTableOffset = 0;

    static _SectionTable decode(const std::array<uint8_t, kSectionEntryLength>& bytes);
};

/// The header of a name table.
struct NameTableHeader {
    uint16_t fixedNames =
        0;  // 1: every name has fixedNameSize bytes; else each tells its own length
    uint16_t fixedNameSize = 0;

    static NameTableHeader decode(const std::array<uint8_t, kNameTableHeaderLength>& bytes);
};

/// @return the number at bytes
uint32_t decodeNumber32(const uint8_t* bytes);

}  // namespace STREAMENGINE_SPACE
