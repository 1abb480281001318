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

constexpr TypeCase kCases[] = {
    {"MZ", 505, "DOS/W32 executable/library/driver", 1},
    {"M", 500, nullptr, 1},
    {"xMZ", 500, nullptr, 3},
    {"\xff\xd8\xff", 519, "JPEG", 2},
    {"PK\x03\x04", 501, nullptr, 2},
    {"#@~^", 518, "SCRENC", 3},
    {"%PDF-", 507, "PDF document", 4},
    {"From: ", 526, "Exim mail", 5},
    {"PK00PK\x03\x04", 501, nullptr, 6},
    {"X-Sieve: ", 526, "Mail", 8},
    {"xxxxxxJFIF", 519, "JPEG", 9},
    {"Return-path: ", 526, "Maildir", 12},
    {"v:\r\nReceived: ", 526, "VPOP3 Mail (DOS)", 13},
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
