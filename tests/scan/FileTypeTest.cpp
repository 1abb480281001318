#include <gtest/gtest.h>

#include "scan/FileType.h"

namespace {

using namespace STREAMENGINE_SPACE;

struct TypeCase {
    std::string_view start;
    uint32_t type;
    const char* description;  // of a known format
    uint32_t position;        // at which the lookup stops
};

using namespace std::literals;

constexpr TypeCase kCases[] = {
    {"MZ", 505, "DOS/W32 executable/library/driver", 1},
    {"M", 500, nullptr, 1},
    {"xMZ", 500, nullptr, 3},
    {"\x1f\x8b", 501, nullptr, 0},
    {"BM", 519, "BMP", 1},
    {"BZh", 511, "BZip", 2},
    {"GIF", 519, "GIF", 2},
    {"\xff\xd8\xff", 519, "JPEG", 2},
    {"ID3", 507, "MP3", 2},
    {"\xff\xfb\x90", 507, "MP3", 2},
    {"\x7f"
     "ELF",
     501, nullptr, 0},
    {"Rar!", 513, "RAR", 3},
    {"PK\x03\x04", 501, nullptr, 2},
    {"SZDD", 514, "compress.exe'd", 3},
    {"MSCF", 516, "MS CAB", 3},
    {"ITSF", 517, "MS CHM", 3},
    {"#@~^", 518, "SCRENC", 3},
    {"To: ", 526, "Mail", 3},
    {"\x89PNG", 519, "PNG", 3},
    {"RIFF", 520, "RIFF", 3},
    {"RIFX", 520, "RIFX", 3},
    {"\0\0\x01\xb3"sv, 501, nullptr, 0},
    {"\0\0\x01\xba"sv, 501, nullptr, 0},
    {"OggS", 507, "Ogg Stream", 3},
    {".RMF", 507, "Real Media File", 3},
    {"From ", 526, "MBox", 4},
    {"X-EVS", 526, "EVS mail", 4},
    {"For: ", 526, "Eserv mail", 4},
    {"%PDF-", 507, "PDF document", 4},
    {">From ", 526, "Mail", 5},
    {"Date: ", 526, "Mail", 5},
    {"From: ", 526, "Exim mail", 5},
    {"0&\xb2u\x8e"
     "f\xcf",
     507, "WMA/WMV/ASF", 6},
    {"PK00PK\x03\x04", 501, nullptr, 6},
    {"X-UIDL: ", 526, "Mail", 7},
    {"\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1", 501, nullptr, 2},
    {"X-Sieve: ", 526, "Mail", 8},
    {"Subject: ", 526, "Mail", 8},
    {"Received: ", 526, "Raw mail", 9},
    {"xxxxxxJFIF", 519, "JPEG", 9},
    {"xxxxxxExif", 519, "JPEG", 9},
    {"X-Symantec-", 526, "Symantec", 10},
    {"X-Real-To: ", 526, "Mail", 10},
    {"%!PS-Adobe-", 507, "PostScript", 10},
    {"Message-Id: ", 526, "Mail", 11},
    {"Message-ID: ", 526, "Mail", 11},
    {"Return-Path: ", 526, "Maildir", 12},
    {"Return-path: ", 526, "Maildir", 12},
    {"Envelope-to: ", 526, "Mail", 12},
    {"v:\nReceived: ", 526, "VPOP3 Mail (UNIX)", 12},
    {"Delivered-To: ", 526, "Mail", 13},
    {"v:\r\nReceived: ", 526, "VPOP3 Mail (DOS)", 13},
    {"X-Original-To: ", 526, "Mail", 14},
    {"Delivery-date: ", 526, "Mail", 14},
    {"X-Apparently-To: ", 526, "Mail", 16},
    {"X-Envelope-From: ", 526, "Mail", 16},
    {"<HTML><BODY>", 500, nullptr, 12},
};

TEST(FileType, ByItsFirstBytes) {
    for (const TypeCase& row : kCases) {
        for (const bool byByte : {false, true}) {
            unsigned int position = 0;
            _st_filetype_info info;
            uint32_t type = kTypeUndecided;
            const auto length = static_cast<unsigned int>(row.start.size());
            for (unsigned int n = byByte ? 1 : length; n <= length && type == kTypeUndecided; ++n) {
                type = EngUtil::getFileType(row.start.data(), n, position, &info);
            }
            EXPECT_EQ(type, row.type) << row.start;
            EXPECT_EQ(position, row.position) << row.start;
            EXPECT_STREQ(info.description, row.description);
        }
    }
}

TEST(FileType, TextBytes) {
    for (int c = 0; c < 256; ++c) {
        const std::string text = {'<', static_cast<char>(c)};
        const bool isText = (c >= 0x08 && c <= 0x0D) || c == 0x1B || (c >= 0x20 && c != 0x7F);
        unsigned int position = 0;
        _st_filetype_info info;
        EXPECT_EQ(EngUtil::getFileType(text.data(), 2, position, &info), isText ? 500U : 501U) << c;
        EXPECT_EQ(info.position, isText ? 0U : 1U);
    }
}

}  // namespace
