#include "SignatureSet.h"

#include <array>
#include <cmath>
#include <fstream>
#include <set>
#include <stdexcept>

namespace {

constexpr size_t kShortestPlain = 10, kLongestPlain = 60;
constexpr size_t kWidestGap = 60;
constexpr size_t kHead = 4;  // literal bytes that begin a part; the engine needs two

/// Puts one to three wildcards and alternatives into the first half of a part, after its head. The
/// bytes that make the part rare are in the second half.
void addWildcards(SignaturePart& part, Random& random) {
    constexpr std::string_view kOthers = "abcdefghijklmnopqrstuvwxyz0123456789";
    for (size_t i = random.between(1, 3); i != 0; --i) {
        Element& element = part.elements[random.between(kHead, part.elements.size() / 2 - 1)];
        if (random.chance(60) || element.size() != 1) {
            element.clear();
            continue;
        }
        while (element.size() < 3) {
            const char other = random.pick(kOthers);
            if (element.find(other) == Element::npos) element += other;
        }
    }
}

Gap makeGap(Random& random) {
    if (random.chance(50)) return {};
    const auto least = static_cast<uint32_t>(random.between(1, kWidestGap));
    const auto most = least + static_cast<uint32_t>(random.between(1, kWidestGap));
    return random.pick(std::array{Gap::exactly(least), Gap::between(least, most),
                                  Gap::atLeast(least), Gap::atMost(most)});
}

std::vector<SignaturePart> body(TextSource& source, Random& random) {
    const size_t kind = random.between(0, 99);
    if (kind < 85) {
        auto part = literalPart(source.piece(random, kShortestPlain, kLongestPlain));
        if (kind >= 60) addWildcards(part, random);
        return {part};
    }
    std::vector<SignaturePart> parts;
    for (const std::string& text : source.pieces(random, random.between(2, 3))) {
        parts.push_back(literalPart(text, parts.empty() ? Gap() : makeGap(random)));
    }
    return parts;
}

}  // namespace

std::vector<Signature> distinctSignatures(size_t count,
                                          const std::function<std::vector<SignaturePart>()>& next) {
    std::vector<Signature> signatures;
    std::set<std::string> seen;
    while (signatures.size() < count) {
        Signature signature = {"", next()};
        if (!seen.insert(bodyOf(signature)).second) continue;
        signature.name = "Body." + std::to_string(signatures.size());
        signatures.push_back(std::move(signature));
    }
    return signatures;
}

std::vector<Signature> bodySignatures(TextSource& source, size_t count, uint64_t seed) {
    Random random(seed);
    return distinctSignatures(count, [&] { return body(source, random); });
}

std::string plainLines(size_t count, uint64_t seed) {
    constexpr std::string_view kBytes = "abcdefghijklmnopqrstuvwxyz0123456789<>/=\"'();";
    Random random(seed);
    std::string lines;
    for (size_t i = 0; i < count; ++i) {
        lines +=
            lineOf({"Body." + std::to_string(i), {literalPart(random.text(kBytes, 40))}}) + "\n";
    }
    return lines;
}

std::string digestLines(size_t count, uint64_t seed) {
    constexpr double kSmallest = 100, kLargest = 1 << 20;
    Random random(seed);
    std::string lines;
    for (size_t i = 0; i < count; ++i) {
        const double share = static_cast<double>(random.between(0, 1 << 20)) / (1 << 20);
        const auto size = std::lround(kSmallest * std::pow(kLargest / kSmallest, share));
        lines += random.text("0123456789abcdef", 32) + ":" + std::to_string(size) + ":Digest." +
                 std::to_string(i) + "\n";
    }
    return lines;
}

void writeText(const std::filesystem::path& file, const std::string& text) {
    std::ofstream out(file, std::ios::binary);
    out << text;
    if (!out.flush()) throw std::runtime_error("cannot write " + file.string());
}

std::vector<Signature> readLines(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::vector<Signature> signatures;
    for (std::string line; std::getline(in, line);) signatures.push_back(parseLine(line));
    if (signatures.empty()) throw std::runtime_error("no signatures in " + file.string());
    return signatures;
}
