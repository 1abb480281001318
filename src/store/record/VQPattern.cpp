#include "store/record/VQPattern.h"

#include "support/EngineOption.h"
#include "support/Log.h"
#include "support/ScrambledName.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::Utils;

constexpr const char* kUnit = "ZVKPatternContainer";

bool isPrintable(Symbol symbol) {
    return symbol >= 0x20 && symbol < 0x7F;
}

/// Logs the signature's bytes, the last lines of a dump. The two kinds of records space their
/// labels differently. Hosts read these lines: the spacing is part of the interface.
void printSignature(const auto& elements, const char* hexLabel, const char* textLabel) {
    std::string hex;
    std::string text;
    for (const Symbol symbol : elements) {
        hex += Utils::formatString("%2.2x", symbol & 0xFFU);
        text += isPrintable(symbol) ? static_cast<char>(symbol) : '.';
    }
    ZVK_DEBUG("%s%s", hexLabel, hex.c_str());
    ZVK_DEBUG("%s%s", textLabel, text.c_str());
    ZVK_DEBUG("--------------");
}

}  // namespace

void BmPattern::printSigInfo() const {
    if (ops.detailLog == 0 || !Log::debugIsOn()) return;
    ZVK_DEBUG("--Signature --");
    ZVK_DEBUG("    name    :%s", scrambled(virName).c_str());
    ZVK_DEBUG("    length  :%d", static_cast<int>(length));
    printSignature(sig, "    sig     :", "    sig     :");
}

void BmPattern::printSigInfo(uint32_t end) const {
    if (ops.detailLog == 0) return;
    ZVK_DEBUG("pos     :0x%08x", end - length);
    printSigInfo();
}

void TriePattern::printSigInfo() const {
    if (ops.detailLog == 0 || !Log::debugIsOn()) return;
    ZVK_DEBUG("--Signature --");
    ZVK_DEBUG("    name   :%s", scrambled(virName).c_str());
    ZVK_DEBUG("    length :%d", static_cast<int>(length));
    ZVK_DEBUG("    sigid  :%d", static_cast<int>(sigid));
    ZVK_DEBUG("    parts  :%d", parts);
    ZVK_DEBUG("    partno :%d", partno);
    ZVK_DEBUG("    type   :%d", type);
    if (isWildcard) {
        printSignature(symbols, "    sig\t:", "    sig    :");
    } else {
        printSignature(sig, "    sig\t:", "    sig    :");
    }
}

void TriePattern::printSigInfo(uint32_t end) const {
    if (ops.detailLog == 0) return;
    ZVK_DEBUG("pos    :0x%08x", end - length);
    printSigInfo();
}

}  // namespace STREAMENGINE_SPACE
