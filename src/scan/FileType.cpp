#include "scan/FileType.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace STREAMENGINE_SPACE {
namespace {

using namespace std::literals;

struct Magic {
    uint32_t offset;  // where it begins in the stream
    std::string_view bytes;
    const char* description;
    uint32_t typeCode;

    constexpr size_t last() const { return offset + bytes.size() - 1; }
};

// By the position of their last byte; of those that end together the first match wins.
constexpr Magic kMagics[] = {
    {0, "MZ"sv, "DOS/W32 executable/library/driver", 505},
    {0, "\x1f\x8b"sv, "GZip", 509},
    {0, "BM"sv, "BMP", 519},
    {0, "BZh"sv, "BZip", 511},
    {0, "GIF"sv, "GIF", 519},
    {0, "\xff\xd8\xff"sv, "JPEG", 519},
    {0, "ID3"sv, "MP3", 507},
    {0, "\xff\xfb\x90"sv, "MP3", 507},
    {0,
     "\x7f"
     "ELF"sv,
     "ELF", 512},
    {0, "Rar!"sv, "RAR", 513},
    {0, "PK\x03\x04"sv, "ZIP", 510},
    {0, "SZDD"sv, "compress.exe'd", 514},
    {0, "MSCF"sv, "MS CAB", 516},
    {0, "ITSF"sv, "MS CHM", 517},
    {0, "#@~^"sv, "SCRENC", 518},
    {0, "To: "sv, "Mail", 526},
    {0, "\x89PNG"sv, "PNG", 519},
    {0, "RIFF"sv, "RIFF", 520},
    {0, "RIFX"sv, "RIFX", 520},
    {0, "\x00\x00\x01\xb3"sv, "MPEG video stream", 507},
    {0, "\x00\x00\x01\xba"sv, "MPEG sys stream", 507},
    {0, "OggS"sv, "Ogg Stream", 507},
    {0, ".RMF"sv, "Real Media File", 507},
    {0, "From "sv, "MBox", 526},
    {0, "X-EVS"sv, "EVS mail", 526},
    {0, "For: "sv, "Eserv mail", 526},
    {0, "%PDF-"sv, "PDF document", 507},
    {0, ">From "sv, "Mail", 526},
    {0, "Date: "sv, "Mail", 526},
    {0, "From: "sv, "Exim mail", 526},
    {0,
     "0&\xb2u\x8e"
     "f\xcf"sv,
     "WMA/WMV/ASF", 507},
    {0, "PK00PK\x03\x04"sv, "ZIP", 510},
    {0, "X-UIDL: "sv, "Mail", 526},
    {0, "\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"sv, "OLE2 container", 515},
    {0, "X-Sieve: "sv, "Mail", 526},
    {0, "Subject: "sv, "Mail", 526},
    {0, "Received: "sv, "Raw mail", 526},
    {6, "JFIF"sv, "JPEG", 519},
    {6, "Exif"sv, "JPEG", 519},
    {0, "X-Symantec-"sv, "Symantec", 526},
    {0, "X-Real-To: "sv, "Mail", 526},
    {0, "%!PS-Adobe-"sv, "PostScript", 507},
    {0, "Message-Id: "sv, "Mail", 526},
    {0, "Message-ID: "sv, "Mail", 526},
    {0, "Return-Path: "sv, "Maildir", 526},
    {0, "Return-path: "sv, "Maildir", 526},
    {0, "Envelope-to: "sv, "Mail", 526},
    {0, "v:\nReceived: "sv, "VPOP3 Mail (UNIX)", 526},
    {0, "Delivered-To: "sv, "Mail", 526},
    {0, "v:\r\nReceived: "sv, "VPOP3 Mail (DOS)", 526},
    {0, "X-Original-To: "sv, "Mail", 526},
    {0, "Delivery-date: "sv, "Mail", 526},
    {0, "X-Apparently-To: "sv, "Mail", 526},
    {0, "X-Envelope-From: "sv, "Mail", 526},
};

static_assert(std::is_sorted(std::begin(kMagics), std::end(kMagics),
                             [](const Magic& a, const Magic& b) { return a.last() < b.last(); }));

constexpr size_t kPositions = std::rbegin(kMagics)->last() + 1;  // at which a magic may end

/// Entry i is the index of the first magic that ends at position i or later, so those that end at i
/// are the ones from entry i up to entry i + 1. Made by counting: first how many magics end right
/// before each position, then the sums of these counts.
constexpr auto kFirstEndingAt = [] {
    std::array<uint8_t, kPositions + 1> firsts{};
    for (const Magic& magic : kMagics) ++firsts[magic.last() + 1];
    for (size_t i = 1; i < firsts.size(); ++i) firsts[i] += firsts[i - 1];
    return firsts;
}();

// The bytes that may occur in text: printable ASCII, white space, backspace and escape, and all
// bytes from 0x80 on, whatever character set they belong to.
constexpr std::array<bool, 256> internat = [] {
    std::array<bool, 256> isText{};
    for (size_t c = 0x08; c <= 0x0D; ++c) isText[c] = true;
    isText[0x1B] = true;
    for (size_t c = 0x20; c <= 0x7E; ++c) isText[c] = true;
    for (size_t c = 0x80; c <= 0xFF; ++c) isText[c] = true;
    return isText;
}();

bool isText(char c) {
    return internat[static_cast<unsigned char>(c)];
}

/// Tries the magics of one position only, so each magic is compared once in the life of a stream,
/// and at the first moment at which all its bytes are there.
/// @param position  below kPositions; the bytes up to it have to be readable
/// @return the first magic that ends at a position of the stream and matches, or null
const Magic* findMagic(const char* data, size_t position) {
    for (size_t i = kFirstEndingAt[position]; i < kFirstEndingAt[position + 1]; ++i) {
        const Magic& magic = kMagics[i];
        const char* const start = data + magic.offset;
        if (*start == magic.bytes.front() &&
            magic.bytes == std::string_view(start, magic.bytes.size())) {
            return &magic;
        }
    }
    return nullptr;
}

}  // namespace

uint32_t getFileType(const char* data, unsigned int len, unsigned int& pos,
                     _st_filetype_info* info) {
    for (; pos < len && pos < kPositions; ++pos) {
        if (const Magic* magic = findMagic(data, pos)) {
            info->description = magic->description;
            return magic->typeCode;
        }
        if (!isText(data[pos])) break;
    }
    // After the last position of a magic only the bytes themselves count.
    while (pos < len && isText(data[pos])) ++pos;
    if (pos >= len) return kTypeUndecided;
    info->position = pos;
    return kTypeNotText;
}

}  // namespace STREAMENGINE_SPACE
