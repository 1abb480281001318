#include "testing/RandomSet.h"

#include <algorithm>

namespace {

constexpr size_t kShortestLoaded = 10;  // bytes of a signature without wildcards and gaps

/// Makes one or two elements after the second one match every byte, or one more byte.
void addWildcards(SignaturePart& part, Random& random) {
    for (size_t count = random.between(1, 2); count != 0 && part.elements.size() > 2; --count) {
        Element& element = part.elements[random.between(2, part.elements.size() - 1)];
        if (random.chance(50)) {
            element.clear();
        } else if (element.size() == 1) {
            element += element == "a" ? 'b' : 'a';
        }
    }
}

}  // namespace

RandomSet::RandomSet(const SetProfile& setProfile, uint64_t seed)
    : random(seed), profile(setProfile) {
    for (std::string& each : words) each = makeWord();
    longHead = random.text(profile.alphabet, random.between(257, 300));
    if (random.chance(33)) shared = makePart();
    familyParts.resize(random.between(2, 9));
    for (SignaturePart& part : familyParts) part = makePart();
    signatures.resize(random.between(1, profile.mostSignatures));
    for (size_t i = 0; i < signatures.size(); ++i) {
        // Some signatures are those of another name once more.
        const bool isCopy = i != 0 && random.chance(25);
        const bool isRelative = i != 0 && random.chance(profile.familyPercent);
        signatures[i] = isCopy       ? signatures[random.between(0, i - 1)]
                        : isRelative ? makeRelative(i)
                                     : makeSignature();
        signatures[i].name = std::to_string(i).insert(0, 1, 'N');
    }
}

std::string RandomSet::makeWord() {
    const size_t length = random.chance(33) ? random.between(9, 38) : random.between(2, 7);
    // Some words repeat a byte or two: a match in them is a match one byte later as well.
    const size_t period = random.chance(25) ? random.between(1, 2) : length;
    std::string made = random.text(profile.alphabet, std::min(period, length));
    while (made.size() < length) made += made[made.size() - period];
    return made;
}

SignaturePart RandomSet::makePart() {
    if (random.chance(profile.sparsePercent)) return makeSparsePart();
    SignaturePart part;
    if (random.chance(profile.longHeadPercent)) appendLiteral(part, longHead);
    appendLiteral(part, word());
    if (random.chance(33)) appendLiteral(part, word());
    if (random.chance(33)) addWildcards(part, random);
    return part;
}

/// Makes a short beginning that many parts share, and after it a wildcard after each byte or two.
SignaturePart RandomSet::makeSparsePart() {
    SignaturePart part = literalPart(words[random.between(0, 2)].substr(0, random.between(2, 6)));
    for (size_t groups = random.between(2, 9); groups != 0; --groups) {
        part.elements.emplace_back();
        appendLiteral(part, random.text(profile.alphabet, random.between(1, 2)));
    }
    return part;
}

Gap RandomSet::makeGap() {
    const auto least = static_cast<uint32_t>(random.between(0, 5));
    const auto most = least + static_cast<uint32_t>(random.between(0, profile.mostGap));
    return random.pick(std::array{Gap(), Gap::exactly(least), Gap::between(least, most),
                                  Gap::atLeast(least), Gap::atMost(most)});
}

Gap RandomSet::makeFamilyGap() {
    const Gap neverFits = Gap::between(9, 3);
    const Gap far = Gap::atLeast(static_cast<uint32_t>(random.between(20, 400)));
    return random.pick(std::array{neverFits, far, far, makeGap(), makeGap(), Gap()});
}

/// Makes a signature that goes on from the beginning of one of the first ones. Most take the
/// oldest, so that a part gets many successors.
Signature RandomSet::makeRelative(size_t others) {
    Signature made = signatures[random.between(0, std::min<size_t>(others, 4) - 1)];
    made.parts.resize(random.between(1, made.parts.size()));
    if (random.chance(12)) made.offset = static_cast<uint32_t>(random.between(0, 59));
    for (size_t more = random.between(1, 3); more > 0; --more) {
        made.parts.push_back(random.pick(familyParts));
        made.parts.back().gap = makeFamilyGap();
    }
    return made;
}

Signature RandomSet::makeSignature() {
    Signature made;
    if (random.chance(12)) made.offset = static_cast<uint32_t>(random.between(0, 59));
    made.parts.push_back(shared.elements.empty() || random.chance(12) ? makePart() : shared);
    for (size_t more = random.chance(50) ? 0 : random.between(0, 3); more > 0; --more) {
        made.parts.push_back(makePart());
        made.parts.back().gap = makeGap();
    }
    SignaturePart& first = made.parts[0];
    const bool isShort = first.isPlain() && first.elements.size() < kShortestLoaded;
    if (isShort && made.parts.size() == 1 && !profile.mayBeRefused) first.elements.emplace_back();
    return made;
}

std::string RandomSet::makePiece() {
    if (random.chance(profile.familyPercent / 2)) return textOf(random.pick(familyParts));
    return random.chance(50) ? word() : textOf(random.pick(signatures));
}

std::string RandomSet::text(size_t length) {
    std::string out;
    while (out.size() < length) {
        std::string piece = makePiece();
        if (random.chance(25))
            piece[random.between(0, piece.size() - 1)] = random.pick(profile.noise);
        if (random.chance(17)) piece.resize(random.between(1, piece.size()));
        if (random.chance(3)) piece = "<script>";
        out += piece;
    }
    return out;
}

std::vector<std::string> cutIntoChunks(const std::string& text, Random& random) {
    const std::array<size_t, 4> longest = {1 + text.size() / 200, 40, 600, text.size()};
    const size_t most = random.pick(longest);
    std::vector<std::string> chunks;
    for (size_t i = 0; i < text.size(); i += chunks.back().size()) {
        chunks.push_back(text.substr(i, random.between(1, most)));
    }
    return chunks;
}

std::vector<int32_t> randomAnswers(Random& random) {
    std::vector<int32_t> answers(random.between(0, 11));
    for (int32_t& answer : answers) answer = random.pick(std::array{0, 0, 0, 1, 3, 2, 7});
    return answers;
}
