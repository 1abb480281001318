#include "scan/report/ScanResult.h"

#include "store/record/VQPattern.h"
#include "support/Allocation.h"
#include "support/EngineOption.h"
#include "support/Log.h"
#include "support/ScrambledName.h"
#include "support/StringHelper.h"
#include "support/Utils.h"

namespace STREAMENGINE_SPACE {
namespace {

using QLT_SPACE::StringHelper;
using QLT_SPACE::Utils;

constexpr const char* kUnit = "StreamScanner";
constexpr auto kAnyElement = static_cast<int16_t>(kAnySymbol);
constexpr auto kGroupElement = static_cast<int16_t>(kGroupSymbol);

bool isPrintable(int16_t element) {
    return element >= 0x20 && element < 0x7F;
}

/// Whether an element may stand in a signature that counts as text.
bool isTextual(int16_t element) {
    return isPrintable(element) || element == kAnyElement || element == kGroupElement ||
           element == 0x00 || element == '\t' || element == '\n' || element == '\r';
}

char renderElement(int16_t element) {
    if (element == kAnyElement) return '?';
    if (element == kGroupElement) return '|';
    return isPrintable(element) ? static_cast<char>(element) : '.';
}

}  // namespace

void ScanResult::reset() {
    infoText.clear();
    sigName.clear();
    sigInfos.clear();
}

bool ScanResult::addSigInfo(const std::string& name, std::unique_ptr<SigInfo> sig) {
    sigName = name;
    if (sig != nullptr) sigInfos.push_back(std::move(sig));
    return true;
}

void ScanResult::addPart(const TriePattern& pattern, uint32_t pos) {
    if (!ops.wantsDetail() || pattern.type != 0) return;
    auto sig = QLT_SPACE::makeUniqueOr<SigInfo>("fail to new sig");
    sig->length = static_cast<int32_t>(pattern.length);
    sig->offset = static_cast<int32_t>(pos);
    sig->partId = pattern.sigid;
    QLT_SPACE::allocateOr("fail to new sig->signature", [&] {
        sig->elements.reserve(pattern.length);
        for (uint32_t i = 0; i < pattern.length; ++i) {
            sig->elements.push_back(static_cast<int16_t>(pattern.symbolAt(i)));
        }
    });
    addSigInfo(pattern.virName, std::move(sig));
}

const char* ScanResult::getInfo(uint32_t sigId) {
    infoText.clear();
    ZVK_DEBUG("matched sig id[%d]", static_cast<int>(sigId));
    if (sigInfos.size() > 1) {
        if (sigId == 0) {
            keepOnlyLast();
        } else {
            std::erase_if(sigInfos, [sigId](const auto& sig) { return sig->partId != sigId; });
        }
    }
    std::string line = "\t";
    line.append(scrambled(sigName)).append("\t\n");
    if (sigInfos.empty()) {
        infoText = "HardCode" + line;
    } else if (sigInfos.front()->offset == SigInfo::kDigestOffset) {
        infoText = "MD5_Pattern" + line;
    } else {
        appendSigInfo(line);
        infoText = "Pat_unknow_type" + line;
    }
    return infoText.c_str();
}

void ScanResult::keepOnlyLast() {
    for (size_t i = 1; i < sigInfos.size(); ++i) ZVK_DEBUG("delete sig");
    sigInfos.erase(sigInfos.begin(), sigInfos.end() - 1);
}

void ScanResult::appendSigInfo(std::string& text) const {
    int number = 0;
    for (const auto& sig : sigInfos) {
        text += "\tSignature part " + StringHelper::ntoa(++number) + ":\n";
        text +=
            Utils::formatString("\t\tlen      :%d\n\t\toffset   :0x%x\n\t\tsig      :", sig->length,
                                static_cast<unsigned int>(sig->offset));
        std::string rendered;
        bool isText = true;
        for (const int16_t element : sig->elements) {
            text += Utils::formatString("%4.4x ", static_cast<uint16_t>(element));
            rendered += renderElement(element);
            isText = isText && isTextual(element);
        }
        text += "\n\t\tsig      :" + rendered + "\n\t\tasc      :";
        text += isText ? "1\n" : "0\n";
    }
}

}  // namespace STREAMENGINE_SPACE
