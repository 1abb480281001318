#include "store/PatternParser.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <string>
#include <utility>

#include "engine/ZVKUtil.h"
#include "pattern/ZVKPatternLoader.h"
#include "support/Exception.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Exception;
using QLT_SPACE::Utils;

constexpr const char* kUnit = "ZVKPatternContainer";

/// @return the digit's value, or -1
int digitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

int byteValue(const char* pair) {
    const int high = PatternParser::hex2int(pair[0]);
    return high << 4 | PatternParser::hex2int(pair[1]);
}

Symbol symbolValue(const char* pair) {
    if (pair[0] == '?') return kAnySymbol;
    if (pair[0] == '@') return kGroupSymbol;
    return static_cast<Symbol>(byteValue(pair));
}

VQPatternList& samePrefixOf(VQPatternNode& node) {
    assert(node.getType() == VQPatternNode::kTypeTrie);
    return static_cast<TriePatternNode&>(node).samePrefix;
}

/// @return whether the entry could be made; not for a node of no kind
bool describe(const VQPatternNode& node, PatInfo& entry) {
    switch (node.getType()) {
        case VQPatternNode::kTypeTrie:
            entry.bytes = static_cast<const TriePattern&>(*node.pat).sig.data();
            break;
        case VQPatternNode::kTypeBm:
            entry.bytes = static_cast<const BmPattern&>(*node.pat).sig.data();
            break;
        default:
            return false;
    }
    entry.length = node.pat->length;
    entry.value = &node;
    return true;
}

}  // namespace

void PatternParser::sortPatternList(VQPatternList& list) {
    std::vector<VQPatternNode*> nodes;
    nodes.reserve(list.size());
    for (VQPatternNode* node = list.head; node != nullptr; node = node->next) nodes.push_back(node);
    std::stable_sort(nodes.begin(), nodes.end(), [](const auto* left, const auto* right) {
        return left->compareTo(right) < 0;
    });
    list = {};
    for (; !nodes.empty(); nodes.pop_back()) list.pushFront(*nodes.back());
}

void PatternParser::buildSamePrefixList(VQPatternList& list) {
    if (list.empty()) return;
    VQPatternNode* leading = list.head;
    VQPatternNode** samePrefixEnd = &samePrefixOf(*leading).head;
    while (leading->next != nullptr) {
        VQPatternNode* node = leading->next;
        if (node->beginWith(leading)) {
            leading->next = std::exchange(node->next, nullptr);
            *samePrefixEnd = node;
            samePrefixEnd = &node->next;
        } else {
            leading = node;
            samePrefixEnd = &samePrefixOf(*leading).head;
        }
    }
}

std::vector<PatInfo> PatternParser::setSortedList(const VQPatternList& list) {
    if (list.empty()) {
        ZVK_DEBUG("In %s, node number is zero", "setSortedList");
        return {};
    }
    std::vector<PatInfo> table;
    try {
        table.reserve(list.size());
    } catch (const std::bad_alloc&) {
        ZVK_ERROR("fail to allocate memory for patInfo");
        return {};
    }
    for (const VQPatternNode* node = list.first(); node != nullptr; node = node->next) {
        if (!describe(*node, table.emplace_back())) {
            ZVK_ERROR("bad patternNode type");
            return {};
        }
    }
    return table;
}

int PatternParser::hex2int(char c) {
    const int value = digitValue(c);
    if (value < 0) {
        throw Exception(Utils::formatString("Invalid hex string in [%s:%d]",
                                            PatternLoader::getPatternFileName(),
                                            PatternLoader::getLineNo()));
    }
    return value;
}

std::vector<uint8_t> PatternParser::hex2str(std::string_view hex) {
    if (hex.size() % 2 != 0) {
        throw Exception(Utils::formatString(
            "Malformed signature at [%s:%d:%.*s]", PatternLoader::getPatternFileName(),
            PatternLoader::getLineNo(), static_cast<int>(hex.size()), hex.data()));
    }
    std::vector<uint8_t> bytes(hex.size() / 2);
    for (size_t i = 0; i < bytes.size(); ++i) {
        const char* pair = hex.data() + 2 * i;
        bytes[i] = static_cast<uint8_t>(pair[0] == '?' ? kAnySymbol & 0xFF : byteValue(pair));
    }
    return bytes;
}

std::vector<Symbol> PatternParser::hex2si(std::string_view hex) {
    if (hex.size() % 2 != 0) {
        throw Exception(Utils::formatString(
            "Malformed signature at [%s:%d:L%d::%.*s]", PatternLoader::getPatternFileName(),
            PatternLoader::getLineNo(), static_cast<int>(hex.size()), static_cast<int>(hex.size()),
            hex.data()));
    }
    std::vector<Symbol> symbols(hex.size() / 2);
    for (size_t i = 0; i < symbols.size(); ++i) symbols[i] = symbolValue(hex.data() + 2 * i);
    return symbols;
}

void PatternParser::hex2str(std::string_view hex, uint8_t* out, unsigned int len) {
    if (len % 2 != 0) {
        throw Exception(
            Utils::formatString("in PatternParser::hex2str, length = [%d]", static_cast<int>(len)));
    }
    if (hex.size() != len) {
        throw Exception(
            Utils::formatString("Malformed signature at [%s:%d], [%.*s] length is not %d",
                                PatternLoader::getPatternFileName(), PatternLoader::getLineNo(),
                                static_cast<int>(hex.size()), hex.data(), static_cast<int>(len)));
    }
    for (size_t i = 0; i < len / 2; ++i) {
        const int high = digitValue(hex[2 * i]);
        const int low = digitValue(hex[2 * i + 1]);
        if (high < 0 || low < 0) {
            throw Exception(Utils::formatString(
                "Malformed [%.*s] in chk-sum string at [%s:%d].", static_cast<int>(hex.size()),
                hex.data(), PatternLoader::getPatternFileName(), PatternLoader::getLineNo()));
        }
        out[i] = static_cast<uint8_t>(high << 4 | low);
    }
}

}  // namespace STREAMENGINE_SPACE
