#include <gtest/gtest.h>

#include "scan/FileType.h"

namespace {

using namespace STREAMENGINE_SPACE;

using namespace std::literals;
using Starts = std::vector<std::string_view>;

struct FormatCase {
    uint32_t type;
    const char* description;
    Starts starts;
    int64_t position = -1;  // at which the lookup stops; -1: at the last byte
};
const FormatCase kFormats[] = {
    {505, "DOS/W32 executable/library/driver", {"MZ"}},
    {507, "MP3", {"ID3", "\xff\xfb\x90"}},
    {507, "Ogg Stream", {"OggS"}},
    {507, "PDF document", {"%PDF-"}},
    {507, "PostScript", {"%!PS-Adobe-"}},
    {507, "Real Media File", {".RMF"}},
    {507, "WMA/WMV/ASF", {"0&\xb2u\x8e\x66\xcf"}},
    {511, "BZip", {"BZh"}},
    {513, "RAR", {"Rar!"}},
    {514, "compress.exe'd", {"SZDD"}},
    {516, "MS CAB", {"MSCF"}},
    {517, "MS CHM", {"ITSF"}},
    {518, "SCRENC", {"#@~^"}},
    {519, "BMP", {"BM"}},
    {519, "GIF", {"GIF"}},
    {519, "JPEG", {"\xff\xd8\xff", "xxxxxxJFIF", "xxxxxxExif"}},
    {519, "PNG", {"\x89PNG"}},
    {520, "RIFF", {"RIFF"}},
    {520, "RIFX", {"RIFX"}},
    {526, "EVS mail", {"X-EVS"}},
    {526, "Eserv mail", {"For: "}},
    {526, "Exim mail", {"From: "}},
    {526, "MBox", {"From "}},
    {526, "Mail", {"To: ", ">From ", "Date: ", "X-UIDL: ", "X-Sieve: ", "Subject: "}},
    {526, "Mail", {"X-Real-To: ", "Message-Id: ", "Message-ID: ", "Envelope-to: "}},
    {526, "Mail", {"Delivered-To: ", "X-Original-To: ", "Delivery-date: "}},
    {526, "Mail", {"X-Apparently-To: ", "X-Envelope-From: "}},
    {526, "Maildir", {"Return-Path: ", "Return-path: "}},
    {526, "Raw mail", {"Received: "}},
    {526, "Symantec", {"X-Symantec-"}},
    {526, "VPOP3 Mail (DOS)", {"v:\r\nReceived: "}},
    {526, "VPOP3 Mail (UNIX)", {"v:\nReceived: "}},
    {500, nullptr, {"M"}, 1},
    {500, nullptr, {"xMZ"}, 3},
    {500, nullptr, {"<HTML><BODY>"}, 12},
    {501, nullptr, {"\x1f\x8b", "\x7f\x45LF", "\0\0\x01\xb3"sv, "\0\0\x01\xba"sv}, 0},
    {501, nullptr, {"PK\x03\x04", "\xd0\xcf\x11\xe0\xa1\xb1\x1a\xe1"}, 2},
    {501, nullptr, {"PK00PK\x03\x04"}, 6},
};

/// Looks a start up, all of it or byte by byte.
void expectType(std::string_view start, bool isWhole, const FormatCase& row) {
    const auto length = static_cast<unsigned int>(start.size());
    unsigned int position = 0;
    _st_filetype_info info;
    uint32_t type = kTypeUndecided;
    for (unsigned int n = isWhole ? length : 1; n <= length && type == kTypeUndecided; ++n) {
        type = getFileType(start.data(), n, position, &info);
    }
    EXPECT_EQ(type, row.type) << start;
    EXPECT_EQ(position, row.position < 0 ? length - 1 : row.position) << start;
    EXPECT_STREQ(info.description, row.description);
}

TEST(FileType, ByItsFirstBytes) {
    for (const FormatCase& row : kFormats) {
        for (const auto start : row.starts) {
            for (const bool isWhole : {false, true}) expectType(start, isWhole, row);
        }
    }
}

TEST(FileType, TextBytes) {
    for (int c = 0; c < 256; ++c) {
        const std::string text = {'<', static_cast<char>(c)};
        const bool isText = (c >= 0x08 && c <= 0x0D) || c == 0x1B || (c >= 0x20 && c != 0x7F);
        unsigned int position = 0;
        _st_filetype_info info;
        EXPECT_EQ(getFileType(text.data(), 2, position, &info), isText ? 500U : 501U) << c;
        EXPECT_EQ(info.position, isText ? 0U : 1U);
    }
}

}  // namespace
