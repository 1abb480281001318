#include "pattern/line/Md5Line.h"

#include <cstring>
#include <string>

#include "pattern/line/PatternParser.h"
#include "support/DecimalNumber.h"
#include "support/Exception.h"
#include "support/ScrambledName.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Utils;

constexpr size_t kDigestDigits = 32;  // followed by ":" and the size
constexpr size_t kShortestLine = kDigestDigits + 3;

}  // namespace

// The record is taken from the list first and filled in place, as the list may have reserved the
// memory of all its records. A line that is refused then gives its record back.
void addMd5Line(MD5List& list, const char* line) {
    const auto malformed = [line] {
        return QLT_SPACE::Exception(Utils::formatString("Malformed md5 pattern [%s]", line));
    };
    if (std::strlen(line) < kShortestLine || line[kDigestDigits] != ':') throw malformed();
    auto name = Utils::strToK(line, 2, ":");
    if (!name) throw malformed();
    const std::string virName = scrambled(std::move(*name));
    MD5Pattern& record = list.newRecord();
    try {
        PatternParser::hex2str({line, kDigestDigits}, record.digest.data(), kDigestDigits);
        record.size = QLT_SPACE::decimalInt32(line + kDigestDigits + 1);
        list.addRecord(record, virName);
    } catch (...) {
        list.dropRecord(record);
        throw;
    }
}

}  // namespace STREAMENGINE_SPACE
