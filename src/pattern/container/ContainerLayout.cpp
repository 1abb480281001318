#include "pattern/container/ContainerLayout.h"

#include <concepts>
#include <cstring>

#include "support/ByteOrder.h"

namespace STREAMENGINE_SPACE {
namespace {

/// Reads fields from bytes, in file order.
struct Decoder {
    const uint8_t* bytes;

    void number(std::unsigned_integral auto& value) {
        std::memcpy(&value, bytes, sizeof value);
        value = fromLittleEndian(value);
        bytes += sizeof value;
    }
    void raw(auto& array) {
        std::memcpy(array.data(), bytes, array.size());
        bytes += array.size();
    }
    void skip(size_t length) { bytes += length; }
};

/// Writes fields into bytes that are zero, in file order.
struct Encoder {
    uint8_t* bytes;

    void number(std::unsigned_integral auto value) {
        value = fromLittleEndian(value);
        std::memcpy(bytes, &value, sizeof value);
        bytes += sizeof value;
    }
    void raw(const auto& array) {
        std::memcpy(bytes, array.data(), array.size());
        bytes += array.size();
    }
    void skip(size_t length) { bytes += length; }
};

// Each layOut() lists the fields of one layout in file order. Run with a Decoder it reads them, run
// with an Encoder it writes them, so that the two directions cannot differ.

void layOut(auto coder, auto& header) requires requires {
    header.bodyDigest;
}
{
    coder.raw(header.magic);
    coder.skip(6);
    coder.skip(8);  // the format's version
    for (auto& word : header.version) coder.number(word);
    coder.number(header.buildTime);
    coder.number(header.bodyLength);
    coder.raw(header.bodyDigest);
    coder.number(header.sectionCount);
    coder.number(header.sectionTableOffset);
    coder.number(header.patternTotal);
    coder.number(header.nameTotal);
    coder.number(header.cipherMethod);
}

void layOut(auto coder, auto& section) requires requires {
    section.sectionMagic;
}
{
    coder.number(section.sectionMagic);
    coder.number(section.recordCount);
    coder.number(section.recordOffset);
    coder.number(section.nameTableOffset);
}

void layOut(auto coder, auto& table) requires requires {
    table.fixedNames;
}
{
    coder.skip(4);
    coder.number(table.fixedNames);
    coder.number(table.fixedNameSize);
}

template <class Record>
Record decodeRecord(const typename Record::Bytes& bytes) {
    Record record;
    layOut(Decoder{bytes.data()}, record);
    return record;
}

template <class Record>
typename Record::Bytes encodeRecord(const Record& record) {
    typename Record::Bytes bytes{};
    layOut(Encoder{bytes.data()}, record);
    return bytes;
}

}  // namespace

ContainerHeader ContainerHeader::decode(const Bytes& bytes) {
    return decodeRecord<ContainerHeader>(bytes);
}

ContainerHeader::Bytes ContainerHeader::encode() const {
    return encodeRecord(*this);
}

_SectionTable _SectionTable::decode(const Bytes& bytes) {
    return decodeRecord<_SectionTable>(bytes);
}

_SectionTable::Bytes _SectionTable::encode() const {
    return encodeRecord(*this);
}

NameTableHeader NameTableHeader::decode(const Bytes& bytes) {
    return decodeRecord<NameTableHeader>(bytes);
}

NameTableHeader::Bytes NameTableHeader::encode() const {
    return encodeRecord(*this);
}

uint32_t decodeRecordLength(const RecordHeaderBytes& bytes) {
    uint32_t length = 0;
    Decoder{bytes.data()}.number(length);
    return length;
}

RecordHeaderBytes encodeRecordLength(uint32_t length) {
    RecordHeaderBytes bytes{};
    Encoder{bytes.data()}.number(length);
    return bytes;
}

}  // namespace STREAMENGINE_SPACE
