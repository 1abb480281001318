// The fixed layout of container pattern files, for reading and for writing them.
// docs/container-format.md describes it byte by byte, with a worked example.
//
// A file is a header and a body. The restored body holds a table of sections, the records of each
// section and tables of detection names, in any order. All numbers are little-endian in the file
// and in the host's order in these records.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace STREAMENGINE_SPACE {

constexpr size_t kContainerHeaderLength = 84;
// Offsets of the header's fields that a reader may find wrong.
constexpr uint64_t kBodyLengthOffset = 44;
constexpr uint64_t kDigestOffset = 48;
constexpr uint64_t kCipherOffset = 80;

constexpr size_t kSectionEntryLength = 36;
constexpr size_t kNameTableHeaderLength = 8;
constexpr size_t kRecordHeaderLength = 4;    // the number of bytes in the record's text
constexpr uint32_t kLongestRecord = 4096;    // bytes of text
constexpr uint32_t kShortestRecordText = 2;  // a name offset and its separator
constexpr uint32_t kLongestName = 126;       // bytes
constexpr size_t kLongestNameOffset = 16;    // digits
constexpr std::array<char, 10> kContainerMagic = {'V', 'Q', 'P', 'a', 't', 't', 'e', 'r', 'n', 0};

constexpr uint32_t kBasicSection = 0xABAB0000;
constexpr uint32_t kExtendedSection = 0xABAB0001;
constexpr uint32_t kMD5Section = 0xABAB0002;

enum CipherMethod : uint16_t {
    kCipherNone = 0,
    kCipherDes = 1,
    kCipherTripleDes = 2,
};

/// A file's header. Bytes of it that have no field here are written as zeros and not read.
struct ContainerHeader {
    using Bytes = std::array<uint8_t, kContainerHeaderLength>;

    std::array<char, kContainerMagic.size()> magic{};
    std::array<uint32_t, 4> version{};
    uint32_t buildTime = 0;   // seconds since 1970-01-01 00:00 UTC
    uint32_t bodyLength = 0;  // bytes after the header
    std::array<uint8_t, 16> bodyDigest{};
    uint32_t sectionCount = 0;
    uint32_t sectionTableOffset = 0;  // in the restored body, as all offsets
    uint32_t patternTotal = 0;
    uint32_t nameTotal = 0;
    uint16_t cipherMethod = kCipherNone;

    static ContainerHeader decode(const Bytes& bytes);
    Bytes encode() const;

    /// @return offset of an entry of the section table in the restored body
    uint64_t sectionOffset(uint32_t index) const {
        return sectionTableOffset + uint64_t{index} * kSectionEntryLength;
    }
};

/// An entry of the section table.
struct _SectionTable {
    using Bytes = std::array<uint8_t, kSectionEntryLength>;

    uint32_t sectionMagic = 0;
    uint32_t recordCount = 0;
    uint32_t recordOffset = 0;
    uint32_t nameTableOffset = 0;

    static _SectionTable decode(const Bytes& bytes);
    Bytes encode() const;
};

/// The header of a name table.
struct NameTableHeader {
    using Bytes = std::array<uint8_t, kNameTableHeaderLength>;

    uint16_t fixedNames = 0;     // 1: each name has fixedNameSize bytes; else a length byte first
    uint16_t fixedNameSize = 0;  // bytes

    static NameTableHeader decode(const Bytes& bytes);
    Bytes encode() const;
};

/// The length of a record's text, stored before the text.
using RecordHeaderBytes = std::array<uint8_t, kRecordHeaderLength>;
uint32_t decodeRecordLength(const RecordHeaderBytes& bytes);
RecordHeaderBytes encodeRecordLength(uint32_t length);

}  // namespace STREAMENGINE_SPACE
