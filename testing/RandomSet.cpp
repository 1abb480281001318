#include "testing/RandomSet.h"

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
    if (random.chance(33)) shared = makePart();
    signatures.resize(random.between(1, profile.mostSignatures));
    for (size_t i = 0; i < signatures.size(); ++i) {
        // Some signatures are those of another name once more.
        const bool isCopy = i != 0 && random.chance(25);
        signatures[i] = isCopy ? signatures[random.between(0, i - 1)] : makeSignature();
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
    SignaturePart part = literalPart(word());
    if (random.chance(33)) appendLiteral(part, word());
    if (random.chance(33)) addWildcards(part, random);
    return part;
}

Gap RandomSet::makeGap() {
    const auto least = static_cast<uint32_t>(random.between(0, 5));
    const auto most = least + static_cast<uint32_t>(random.between(0, profile.mostGap));
    return random.pick(std::array{Gap(), Gap::exactly(least), Gap::between(least, most),
                                  Gap::atLeast(least), Gap::atMost(most)});
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

std::string RandomSet::text(size_t length) {
    std::string out;
    while (out.size() < length) {
        std::string piece = random.chance(50) ? word() : textOf(random.pick(signatures));
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
