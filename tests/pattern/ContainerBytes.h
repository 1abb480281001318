// Container files made by hand, byte by byte and broken on purpose.
#pragma once

#include <zlib.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "pattern/container/BodyCipher.h"
#include "pattern/container/ContainerLayout.h"
#include "support/MD5.h"

namespace zvk_test {

using namespace STREAMENGINE_SPACE;

template <class Bytes>
std::string textOf(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline std::string deflated(std::string_view text) {
    uLongf length = compressBound(text.size());
    std::string out(length, '\0');
    compress(reinterpret_cast<Bytef*>(out.data()), &length,
             reinterpret_cast<const Bytef*>(text.data()), text.size());
    out.resize(length);
    return out;
}

/// @return at most 4096 bytes
inline std::string inflated(const std::string& zlib) {
    uLongf length = 4096;
    std::string out(length, '\0');
    uncompress(reinterpret_cast<Bytef*>(out.data()), &length,
               reinterpret_cast<const Bytef*>(zlib.data()), zlib.size());
    out.resize(length);
    return out;
}

inline ContainerHeader headerOf(const std::string& file) {
    ContainerHeader::Bytes bytes{};
    std::copy_n(file.begin(), bytes.size(), bytes.begin());
    return ContainerHeader::decode(bytes);
}

inline std::array<uint8_t, 16> digestOf(std::string_view text) {
    QLT_SPACE::MD5 md5;
    md5.update(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    std::array<uint8_t, 16> digest{};
    md5.final(digest.data());
    return digest;
}

/// A file whose header fits the body. The body is deflated, or wrong on purpose.
inline std::string fileOf(ContainerHeader header, std::string deflatedBody) {
    const BodyCipher cipher(header);
    deflatedBody.resize((deflatedBody.size() + cipher.blockLength() - 1) / cipher.blockLength() *
                        cipher.blockLength());
    header.bodyDigest = digestOf(deflatedBody);
    cipher.encipher(reinterpret_cast<uint8_t*>(deflatedBody.data()), deflatedBody.size());
    header.magic = kContainerMagic;
    header.bodyLength = static_cast<uint32_t>(deflatedBody.size());
    return textOf(header.encode()) + deflatedBody;
}

/// A restored body with one section: its entry at 0, then its records, then its names.
struct Body {
    uint32_t magic = kExtendedSection;
    std::vector<std::string> records = {};
    std::string names = {};
    NameTableHeader nameHeader = {};
    size_t nameHeaderLength = kNameTableHeaderLength;  // less: a body that ends inside it
    uint32_t extraRecords = 0;                         // counted in the entry, but missing

    std::string build() const {
        std::string recordBytes;
        for (const auto& text : records)
            recordBytes += textOf(encodeRecordLength(static_cast<uint32_t>(text.size()))) + text;
        const auto recordOffset = static_cast<uint32_t>(kSectionEntryLength);
        const _SectionTable entry = {magic, static_cast<uint32_t>(records.size()) + extraRecords,
                                     recordOffset,
                                     recordOffset + static_cast<uint32_t>(recordBytes.size())};
        return textOf(entry.encode()) + recordBytes +
               textOf(nameHeader.encode()).substr(0, nameHeaderLength) + names;
    }
};

}  // namespace zvk_test
