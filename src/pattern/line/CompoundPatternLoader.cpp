#include "pattern/line/CompoundPatternLoader.h"

#include <algorithm>
#include <limits>
#include <string>

#include "pattern/line/DetectionName.h"
#include "pattern/line/PatternParser.h"
#include "support/Allocation.h"
#include "support/DecimalNumber.h"
#include "support/LoadPosition.h"
#include "support/ScrambledName.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::Utils;

Exception malformed() {
    return Exception(Utils::formatString("Malformed pattern at [%s:%d]", LoadPosition::file(),
                                         LoadPosition::line()));
}

/// Refuses an "@" outside of groups. extractGroups() writes "@@" for a group, so one in the line
/// itself would be taken for a group that does not exist.
void refuseGroupMarks(std::string_view text) {
    bool isInGroup = false;
    for (const char c : text) {
        if (c == '(') isInGroup = true;
        if (c == ')') isInGroup = false;
        if (c == '@' && !isInGroup) throw malformed();
    }
}

/// @return the number at the start of the text, at most 2^32 - 1; 0 if there is none
uint32_t gapBound(std::string_view digits) {
    const int64_t value = QLT_SPACE::decimalInt64(std::string(digits).c_str());
    if (value < 0) throw malformed();
    return static_cast<uint32_t>(std::min<int64_t>(value, std::numeric_limits<uint32_t>::max()));
}

/// Reads the text between the braces of a bounded gap. Several dashes in a row count as one.
void readGap(std::string_view content, PartPosition& position) {
    const size_t dash = content.find('-');
    if (dash == std::string_view::npos) {
        position.minDistance = position.maxDistance = gapBound(content);
        return;
    }
    const size_t secondBound = std::min(content.find_first_not_of('-', dash), content.size());
    position.minDistance = gapBound(content.substr(0, dash));
    position.maxDistance = gapBound(content.substr(secondBound));
}

uint16_t countParts(std::string_view text, std::string_view markers) {
    const auto isMarker = [markers](char c) { return markers.find(c) != std::string_view::npos; };
    const auto parts = std::count_if(text.begin(), text.end(), isMarker) + 1;
    if (parts >= std::numeric_limits<uint16_t>::max()) throw malformed();
    return static_cast<uint16_t>(parts);
}

/// Adds the parts of a signature with at least one bounded gap. The number of parts is counted
/// first, as each record holds it. The loop then cuts the text at its markers:
///
///   aabb{2-4}cc*dd   ->   "aabb", then gap 2-4 and "cc", then gap * and "dd"
void addBoundedParts(TrieTree& tree, const SignatureTraits& traits, std::string_view rest) {
    PartPosition position;
    position.sigid = ++tree.lastSigid;
    position.parts = countParts(rest, "{*");
    for (position.partno = 1; position.partno < position.parts; ++position.partno) {
        const size_t marker = rest.find_first_of("{*");
        if (marker == std::string_view::npos) throw malformed();  // a marker inside the braces
        CompoundPatternLoader::parseAdd(tree, traits, rest.substr(0, marker), position);
        position.minDistance = position.maxDistance = 0;
        size_t end = marker;
        if (rest[marker] == '{') {
            end = rest.find('}', marker);
            if (end == std::string_view::npos) throw malformed();
            readGap(rest.substr(marker + 1, end - marker - 1), position);
        }
        rest.remove_prefix(end + 1);
    }
    CompoundPatternLoader::parseAdd(tree, traits, rest, position);
}

/// Adds the parts of a signature whose gaps all have any length.
void addUnboundedParts(TrieTree& tree, const SignatureTraits& traits, const char* hexsig) {
    PartPosition position;
    position.sigid = ++tree.lastSigid;
    position.parts = countParts(hexsig, "*");
    for (position.partno = 1; position.partno <= position.parts; ++position.partno) {
        const auto part = Utils::strToK(hexsig, 0, "*");
        hexsig = Utils::skipToken(hexsig, "*");
        if (!part) {
            throw Exception(
                Utils::formatString("Can't extract part %d of partial signature [%s:%d]",
                                    position.partno, LoadPosition::file(), LoadPosition::line()));
        }
        CompoundPatternLoader::parseAdd(tree, traits, *part, position);
    }
}

/// @param group  the text between a group's parentheses
/// @return the bytes that it allows
std::vector<uint8_t> groupValues(const std::string& group) {
    const auto bars = std::count(group.begin(), group.end(), '|');
    if (bars == 0) throw malformed();
    std::vector<uint8_t> values;
    const char* rest = group.c_str();
    for (auto i = bars; i >= 0; --i) {
        const auto alternative = Utils::strToK(rest, 0, "|");
        if (!alternative) throw malformed();
        values.push_back(PatternParser::hex2str(*alternative).front());
        rest = Utils::skipToken(rest, "|");
    }
    return values;
}

/// A record under construction, and the owners of the arrays and the name that it borrows.
struct PartDraft {
    TriePattern pattern;
    std::string name;
    std::vector<uint8_t> sig;
    std::vector<Symbol> symbols;
    std::vector<std::vector<uint8_t>> groupValues;
    std::vector<ByteGroup> groups;
};

/// Moves the groups out of a part's text: "aa(bb|cc)dd" gives the group {bb, cc} and the text
/// "aa@@dd", in which every symbol has two characters.
/// @return the text with "@@" for each group
std::string extractGroups(std::string_view part, std::vector<std::vector<uint8_t>>& groups) {
    std::string text;
    while (!part.empty()) {
        const size_t open = std::min(part.find('('), part.size());
        text += part.substr(0, open);
        if (open == part.size()) break;
        const size_t close = part.find(')', open);
        if (close == std::string_view::npos) throw malformed();
        groups.push_back(groupValues(std::string(part.substr(open + 1, close - open - 1))));
        text += "@@";
        part.remove_prefix(close + 1);
    }
    return text;
}

void decodeWildcards(std::string_view part, PartDraft& draft) {
    const std::string text = QLT_SPACE::allocateOr(" allocate hexnew fail ", [&] {
        std::string marked = extractGroups(part, draft.groupValues);
        draft.groups.assign(draft.groupValues.begin(), draft.groupValues.end());
        return marked;
    });
    draft.symbols =
        QLT_SPACE::allocateOr("allocate mem fail", [&] { return PatternParser::hex2si(text); });
    draft.pattern.symbols = draft.symbols;
    draft.pattern.groups = draft.groups;
    draft.pattern.length = static_cast<uint32_t>(draft.symbols.size());
}

void decodePlain(std::string_view part, PartDraft& draft) {
    draft.sig =
        QLT_SPACE::allocateOr("allocate mem fail", [&] { return PatternParser::hex2str(part); });
    draft.pattern.sig = draft.sig;
    draft.pattern.length = static_cast<uint32_t>(draft.sig.size());
}

}  // namespace

void CompoundPatternLoader::parse(TrieTree& tree, const char* name, const char* hexsig,
                                  uint16_t type, const char* offset, uint16_t targetType) {
    const SignatureTraits traits = {name, type, offset, targetType};
    const std::string_view text = hexsig;
    refuseGroupMarks(text);
    if (text.find('{') != std::string_view::npos) {
        addBoundedParts(tree, traits, text);
    } else if (text.find('*') != std::string_view::npos) {
        addUnboundedParts(tree, traits, hexsig);
    } else {
        parseAdd(tree, traits, text, {});
    }
    ++tree.sigCount;
}

void CompoundPatternLoader::parseAdd(TrieTree& tree, const SignatureTraits& traits,
                                     std::string_view part, const PartPosition& position) {
    PartDraft draft;
    TriePattern& pattern = draft.pattern;
    pattern.isWildcard = part.find_first_of("(?") != std::string_view::npos;
    pattern.type = traits.type;
    pattern.targetType = traits.targetType;
    pattern.sigid = position.sigid;
    pattern.parts = position.parts;
    pattern.partno = position.partno;
    pattern.minDistance = position.minDistance;
    pattern.maxDistance = position.maxDistance;
    pattern.offset = traits.offset;
    (pattern.isWildcard ? decodeWildcards : decodePlain)(part, draft);
    tree.maxPatternLength = std::max(tree.maxPatternLength, pattern.length);
    draft.name = withoutOriginMark(traits.name);
    if (draft.name.empty()) throw malformed();
    QLT_SPACE::allocateOr("Alloacate triePattern->virName fail",
                          [&] { draft.name = scrambled(std::move(draft.name)); });
    pattern.virName = draft.name.c_str();
    tree.addPattern(&pattern);
}

}  // namespace STREAMENGINE_SPACE
