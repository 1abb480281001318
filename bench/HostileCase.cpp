#include "HostileCase.h"

#include <array>
#include <functional>

#include "SignatureSet.h"

namespace {

constexpr std::string_view kWord = "abcdefghijklmnopqrstuvwxyz0123456789_";

/// @return the beginning of a text: at least `least` bytes, at most all but one
std::string cutShort(const std::string& text, size_t least, Random& random) {
    const size_t most = text.size() - 1;
    // Half of them lack the last byte only: a comparison runs to the very end.
    return text.substr(0, random.chance(50) ? most : random.between(std::min(least, most), most));
}

std::vector<std::string> textsOf(size_t count, size_t length,
                                 const std::function<std::string()>& next) {
    std::vector<std::string> texts(count);
    for (std::string& text : texts) {
        while (text.size() < length) text += next();
        text.resize(length);
    }
    return texts;
}

/// Fills the case with beginnings of its signatures. Of several parts only the last is cut short.
void fillWithBeginnings(HostileCase& made, size_t count, size_t length, size_t least,
                        Random& random) {
    made.texts = textsOf(count, length, [&] {
        const Signature& signature = random.pick(made.signatures);
        std::string text;
        for (const SignaturePart& part : signature.parts) {
            const bool isLast = &part == &signature.parts.back();
            text += isLast ? cutShort(textOf(part), least, random) : textOf(part);
        }
        return text;
    });
}

std::vector<SignaturePart> sharedOpening(Random& random) {
    constexpr std::array<std::string_view, 2> kOpenings = {"<script", "<iframe"};
    return {literalPart(std::string(random.pick(kOpenings)) +
                        random.text(kWord, random.between(4, 30)))};
}

std::vector<SignaturePart> sharedWildcards(Random& random) {
    SignaturePart part = literalPart("<iframe");
    part.elements.emplace_back();
    appendLiteral(part, std::string("src=") + random.text(kWord, random.between(6, 20)));
    return {part};
}

std::vector<SignaturePart> presentFirstPart(Random& random) {
    constexpr std::array<std::string_view, 4> kFirst = {"<script>", "eval(", "unescape(",
                                                        "<iframe"};
    const std::array<Gap, 4> gaps = {Gap(), Gap::atMost(200), Gap::atLeast(5), Gap::between(2, 90)};
    return {literalPart(random.pick(kFirst)),
            literalPart(std::string("document.") + random.text(kWord, random.between(6, 20)),
                        random.pick(gaps))};
}

}  // namespace

Pages HostileCase::pages(size_t textsEach) const {
    Pages made;
    for (size_t i = 0; i < texts.size(); ++i) {
        if (i % textsEach == 0) made.emplace_back("<html><script>");
        made.back() += texts[i];
    }
    return made;
}

std::vector<HostileCase> hostileCases(const Pages& pages, size_t signatures, size_t texts,
                                      size_t textLength, uint64_t seed) {
    Random random(seed);
    PageSource source(pages);
    std::vector<HostileCase> cases;
    cases.push_back({"beginnings", bodySignatures(source, signatures, seed), {}});
    using Body = std::vector<SignaturePart> (*)(Random&);
    const std::array<std::pair<std::string, Body>, 3> shared = {{
        {"shared_opening", sharedOpening},
        {"shared_wildcards", sharedWildcards},
        {"present_first_part", presentFirstPart},
    }};
    for (const auto& [name, body] : shared) {
        cases.push_back(
            {name,
             distinctSignatures(signatures, [&random, make = body] { return make(random); }),
             {}});
    }
    for (HostileCase& made : cases) fillWithBeginnings(made, texts, textLength, 7, random);
    return cases;
}
