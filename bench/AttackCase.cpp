#include "AttackCase.h"

#include <algorithm>

#include "SignatureSet.h"

namespace {

constexpr double kBound = 10, kBoundOfSingleBytes = 50;
constexpr std::string_view kWord = "abcdefghijklmnopqrstuvwxyz0123456789_";
constexpr std::string_view kSource = "src=http://";
constexpr size_t kPastTheGaps = 100;  // bytes; no bounded gap here is as wide

std::string word(Random& random) {
    return random.text(kWord, random.between(8, 14));
}

/// The first two parts are common, and the second one comes when its gap does not fit any more.
AttackCase gapNeverFits(size_t count, Random& random) {
    auto family = distinctSignatures(count, [&]() -> std::vector<SignaturePart> {
        return {literalPart("<iframe"), literalPart(kSource, Gap::between(5, 60)),
                literalPart(word(random), Gap::between(1, 30))};
    });
    return {"gap_never_fits",
            kBound,
            std::move(family),
            "<iframe" + std::string(kPastTheGaps, '.'),
            {std::string(kSource)}};
}

/// Only the second part is common. All first parts are there, and again no gap fits.
AttackCase commonLastPart(size_t count, Random& random) {
    auto family = distinctSignatures(count, [&]() -> std::vector<SignaturePart> {
        return {literalPart(word(random)), literalPart(kSource, Gap::between(1, 20))};
    });
    std::string opening;
    for (const Signature& signature : family) opening += textOf(signature.parts[0]);
    opening.append(kPastTheGaps, '.');
    return {"common_last_part", kBound, std::move(family), opening, {std::string(kSource)}};
}

/// The common parts start the whole family, then one of it is found, and all begin anew.
AttackCase foundAgain(size_t count, Random& random) {
    auto family = distinctSignatures(count, [&]() -> std::vector<SignaturePart> {
        return {literalPart("<iframe"), literalPart("document.write("), literalPart(word(random))};
    });
    std::vector<std::string> texts(1000);
    for (std::string& text : texts) text = textOf(random.pick(family));
    return {"found_again", kBound, std::move(family), "", std::move(texts)};
}

/// The common head is long, and the text repeats it without what follows.
AttackCase commonHead(size_t count, bool withWildcard, Random& random) {
    const std::string head = random.text(kWord, 260);
    auto family = distinctSignatures(count, [&]() -> std::vector<SignaturePart> {
        SignaturePart part = literalPart(head);
        if (withWildcard) part.elements.emplace_back();
        appendLiteral(part, random.text(kWord, 12));
        return {part};
    });
    return {withWildcard ? "common_head_wildcard" : "common_head",
            kBound,
            std::move(family),
            "",
            {head}};
}

/// "aa??x??y??z??7": no two literal bytes follow each other but the first two.
AttackCase singleBytes(size_t count, Random& random) {
    auto family = distinctSignatures(count, [&]() -> std::vector<SignaturePart> {
        SignaturePart part = literalPart("aa");
        for (const std::string_view bytes : {kWord, kWord, kWord, kWord.substr(26)}) {
            part.elements.emplace_back();
            appendLiteral(part, random.text(bytes, 1));
        }
        return {part};
    });
    return {"single_bytes", kBoundOfSingleBytes, std::move(family), "", {std::string(1000, 'a')}};
}

const Signature& shortestPlain(const std::vector<Signature>& signatures) {
    const auto lengthOf = [](const Signature& signature) {
        const bool isPlain = signature.parts.size() == 1 && signature.parts[0].isPlain();
        return isPlain ? signature.parts[0].elements.size() : std::string::npos;
    };
    return *std::min_element(signatures.begin(), signatures.end(),
                             [&](const Signature& left, const Signature& right) {
                                 return lengthOf(left) < lengthOf(right);
                             });
}

/// An ordinary set, and as many detections in the text as there can be.
/// @param withPart  a first part comes before each of them
AttackCase foundEverywhere(const std::string& name, TextSource& source, size_t count, uint64_t seed,
                           bool withPart) {
    auto set = bodySignatures(source, count, seed);
    std::string text = textOf(shortestPlain(set));
    const auto several = std::find_if(set.begin(), set.end(),
                                      [](const auto& each) { return each.parts.size() > 1; });
    if (withPart && several != set.end()) text.insert(0, textOf(several->parts[0]));
    return {name, kBound, std::move(set), "", {std::move(text)}};
}

}  // namespace

std::string AttackCase::rest(size_t length) const {
    std::string made;
    for (size_t i = 0; made.size() < length; ++i) made += repeated[i % repeated.size()];
    made.resize(length);
    return made;
}

std::vector<AttackCase> attackCases(const Pages& pages, size_t signatures, uint64_t seed) {
    Random random(seed);
    PageSource pageSource(pages);
    ScriptSource scriptSource;
    std::vector<AttackCase> cases;
    cases.push_back(gapNeverFits(signatures, random));
    cases.push_back(commonLastPart(signatures, random));
    cases.push_back(foundAgain(signatures, random));
    cases.push_back(commonHead(signatures, true, random));
    cases.push_back(commonHead(signatures, false, random));
    cases.push_back(singleBytes(signatures, random));
    for (const bool withPart : {false, true}) {
        const std::string name = withPart ? "found_after_part_" : "found_everywhere_";
        cases.push_back(foundEverywhere(name + "mixed", pageSource, signatures, seed, withPart));
        cases.push_back(foundEverywhere(name + "script", scriptSource, signatures, seed, withPart));
    }
    return cases;
}
