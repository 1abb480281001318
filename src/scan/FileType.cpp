#include "scan/FileType.h"

#include <array>
#include <cstring>

namespace STREAMENGINE_SPACE {
namespace {

struct MagicRecord {
    uint32_t offset;    // where the magic begins in the stream
    const char* magic;  // null ends a table
    uint32_t length;    // bytes of magic
    const char* description;
    uint32_t typeCode;
};

constexpr MagicRecord kEnd = {0, nullptr, 0, nullptr, kTypeNotText};

constexpr MagicRecord FileMagic_1[] = {
    kEnd,
};
constexpr MagicRecord FileMagic_2[] = {
    {0, "MZ", 2, "DOS/W32 executable/library/driver", 505},
    {0, "\x1f\x8b", 2, "GZip", 509},
    {0, "BM", 2, "BMP", 519},
    kEnd,
};
constexpr MagicRecord FileMagic_3[] = {
    {0, "BZh", 3, "BZip", 511},          {0, "GIF", 3, "GIF", 519},
    {0, "\xff\xd8\xff", 3, "JPEG", 519}, {0, "ID3", 3, "MP3", 507},
    {0, "\xff\xfb\x90", 3, "MP3", 507},  kEnd,
};
constexpr MagicRecord FileMagic_4[] = {
    {0,
     "\x7f"
     "ELF",
     4, "ELF", 512},
    {0, "Rar!", 4, "RAR", 513},
    {0, "PK\x03\x04", 4, "ZIP", 510},
    {0, "SZDD", 4, "compress.exe'd", 514},
    {0, "MSCF", 4, "MS CAB", 516},
    {0, "ITSF", 4, "MS CHM", 517},
    {0, "#@~^", 4, "SCRENC", 518},
    {0, "To: ", 4, "Mail", 526},
    {0, "\x89PNG", 4, "PNG", 519},
    {0, "RIFF", 4, "RIFF", 520},
    {0, "RIFX", 4, "RIFX", 520},
    {0, "\x00\x00\x01\xb3", 4, "MPEG video stream", 507},
    {0, "\x00\x00\x01\xba", 4, "MPEG sys stream", 507},
    {0, "OggS", 4, "Ogg Stream", 507},
    {0, ".RMF", 4, "Real Media File", 507},
    kEnd,
};
constexpr MagicRecord FileMagic_5[] = {
    {0, "From ", 5, "MBox", 526},
    {0, "X-EVS", 5, "EVS mail", 526},
    {0, "For: ", 5, "Eserv mail", 526},
    {0, "%PDF-", 5, "PDF document", 507},
    kEnd,
};
constexpr MagicRecord FileMagic_6[] = {
    {0, ">From ", 6, "Mail", 526},
    {0, "Date: ", 6, "Mail", 526},
    {0, "From: ", 6, "Exim mail", 526},
    kEnd,
};
constexpr MagicRecord FileMagic_7[] = {
    {0,
     "0&\xb2u\x8e"
     "f\xcf",
     7, "WMA/WMV/ASF", 507},
    kEnd,
};
constexpr MagicRecord FileMagic_8[] = {
    {0, "PK00PK\x03\x04", 8, "ZIP", 510},
    {0, "X-UIDL: ", 8, "Mail", 526},
    {0, "\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1", 8, "OLE2 container", 515},
    kEnd,
};
constexpr MagicRecord FileMagic_9[] = {
    {0, "X-Sieve: ", 9, "Mail", 526},
    {0, "Subject: ", 9, "Mail", 526},
    kEnd,
};
constexpr MagicRecord FileMagic_10[] = {
    {0, "Received: ", 10, "Raw mail", 526},
    {6, "JFIF", 4, "JPEG", 519},
    {6, "Exif", 4, "JPEG", 519},
    kEnd,
};
constexpr MagicRecord FileMagic_11[] = {
    {0, "X-Symantec-", 11, "Symantec", 526},
    {0, "X-Real-To: ", 11, "Mail", 526},
    {0, "%!PS-Adobe-", 11, "PostScript", 507},
    kEnd,
};
constexpr MagicRecord FileMagic_12[] = {
    {0, "Message-Id: ", 12, "Mail", 526},
    {0, "Message-ID: ", 12, "Mail", 526},
    kEnd,
};
constexpr MagicRecord FileMagic_13[] = {
    {0, "Return-Path: ", 13, "Maildir", 526},
    {0, "Return-path: ", 13, "Maildir", 526},
    {0, "Envelope-to: ", 13, "Mail", 526},
    {0, "v:\nReceived: ", 13, "VPOP3 Mail (UNIX)", 526},
    kEnd,
};
constexpr MagicRecord FileMagic_14[] = {
    {0, "Delivered-To: ", 14, "Mail", 526},
    {0, "v:\r\nReceived: ", 14, "VPOP3 Mail (DOS)", 526},
    kEnd,
};
constexpr MagicRecord FileMagic_15[] = {
    {0, "X-Original-To: ", 15, "Mail", 526},
    {0, "Delivery-date: ", 15, "Mail", 526},
    kEnd,
};
constexpr MagicRecord FileMagic_16[] = {
    kEnd,
};
constexpr MagicRecord FileMagic_17[] = {
    {0, "X-Apparently-To: ", 17, "Mail", 526},
    {0, "X-Envelope-From: ", 17, "Mail", 526},
    kEnd,
};

/// Entry i holds the magics whose last byte stands at stream position i.
constexpr std::array<const MagicRecord*, 17> zvkFileMagic = {
    FileMagic_1,  FileMagic_2,  FileMagic_3,  FileMagic_4,  FileMagic_5,  FileMagic_6,
    FileMagic_7,  FileMagic_8,  FileMagic_9,  FileMagic_10, FileMagic_11, FileMagic_12,
    FileMagic_13, FileMagic_14, FileMagic_15, FileMagic_16, FileMagic_17};

constexpr std::array<bool, 256> makeTextBytes() {
    std::array<bool, 256> isText{};
    for (size_t c = 0x08; c <= 0x0D; ++c) isText[c] = true;
    isText[0x1B] = true;
    for (size_t c = 0x20; c <= 0x7E; ++c) isText[c] = true;
    for (size_t c = 0x80; c <= 0xFF; ++c) isText[c] = true;
    return isText;
}
constexpr std::array<bool, 256> internat = makeTextBytes();

bool matches(const MagicRecord& record, const char* data, unsigned int len) {
    return len >= record.offset + record.length &&
           std::memcmp(data + record.offset, record.magic, record.length) == 0;
}

/// @return the first record that ends at position and matches, or null
const MagicRecord* findMagic(const char* data, unsigned int len, unsigned int position) {
    if (position >= zvkFileMagic.size()) return nullptr;
    const MagicRecord* record = zvkFileMagic[position];
    while (record->magic != nullptr && !matches(*record, data, len)) ++record;
    return record->magic != nullptr ? record : nullptr;
}

}  // namespace

uint32_t getFileType(const char* data, unsigned int len, unsigned int& pos,
                     _st_filetype_info* info) {
    for (; pos < len; ++pos) {
        if (const MagicRecord* record = findMagic(data, len, pos)) {
            info->description = record->description;
            return record->typeCode;
        }
        if (!internat[static_cast<unsigned char>(data[pos])]) {
            info->position = pos;
            return kTypeNotText;
        }
    }
    return kTypeUndecided;
}

}  // namespace STREAMENGINE_SPACE
