#include <stdexcept>

#include "NormalisedPage.h"
#include "TextSource.h"

namespace {

constexpr size_t kShortestText = 400;
constexpr size_t kShortestPart = 5, kLongestPart = 24;

}  // namespace

CutSource::CutSource(const Pages& rawPages, size_t leastLast) : shortestLast(leastLast) {
    for (const std::string& page : rawPages) {
        texts.push_back(normalisedPage(page));
        if (texts.back().size() < kShortestText) texts.pop_back();
    }
    if (texts.empty()) throw std::runtime_error("no page is long enough to cut signatures from");
}

std::string CutSource::piece(Random& random, size_t least, size_t most) {
    const std::string& text = random.pick(texts);
    const size_t length = random.between(least, most);
    std::string piece = text.substr(random.between(0, text.size() - length), length);
    makeRare(piece, random);
    return piece;
}

std::vector<std::string> CutSource::pieces(Random& random, size_t count) {
    const std::string& text = random.pick(texts);
    size_t at = random.between(0, text.size() - count * (kLongestPart + 60));
    std::vector<std::string> pieces;
    while (pieces.size() < count) {
        const bool isLast = pieces.size() + 1 == count;
        const size_t length = random.between(isLast ? shortestLast : kShortestPart, kLongestPart);
        pieces.push_back(text.substr(at, length));
        vary(pieces.back(), random);
        at += length + random.between(0, 60);
    }
    makeRare(pieces.back(), random);
    return pieces;
}
