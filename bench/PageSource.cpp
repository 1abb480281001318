#include <algorithm>
#include <stdexcept>

#include "NormalisedPage.h"
#include "TextSource.h"

namespace {

constexpr size_t kShortestText = 400;
constexpr size_t kShortestPart = 5, kLongestPart = 24;

constexpr std::string_view kBytes = "abcdefghijklmnopqrstuvwxyz0123456789_%";

/// Changes a byte of the second half.
/// @return its position
size_t changeByte(std::string& piece, Random& random) {
    const size_t position = random.between(piece.size() / 2, piece.size() - 1);
    const char before = piece[position];
    while (piece[position] == before) piece[position] = random.pick(kBytes);
    return position;
}

/// @return the three bytes that end at a position, as a number
size_t trigram(const std::string& text, size_t end) {
    const auto at = [&text](size_t i) { return size_t{static_cast<unsigned char>(text[i])}; };
    return at(end - 2) << 16 | at(end - 1) << 8 | at(end);
}

}  // namespace

PageSource::PageSource(const Pages& rawPages) : trigrams(1 << 24) {
    for (const std::string& page : rawPages) {
        texts.push_back(normalisedPage(page));
        const std::string& text = texts.back();
        for (size_t i = 2; i < text.size(); ++i) trigrams[trigram(text, i)] = true;
        if (texts.back().size() < kShortestText) texts.pop_back();
    }
    if (texts.empty()) throw std::runtime_error("no page is long enough to cut signatures from");
}

std::string PageSource::piece(Random& random, size_t least, size_t most) {
    const std::string& text = random.pick(texts);
    const size_t length = random.between(least, most);
    std::string piece = text.substr(random.between(0, text.size() - length), length);
    makeRare(piece, random);
    return piece;
}

std::vector<std::string> PageSource::pieces(Random& random, size_t count) {
    const std::string& text = random.pick(texts);
    size_t at = random.between(0, text.size() - count * (kLongestPart + 60));
    std::vector<std::string> pieces;
    while (pieces.size() < count) {
        const size_t length = random.between(kShortestPart, kLongestPart);
        pieces.push_back(text.substr(at, length));
        // Nine parts in ten differ from the page in one byte; the tenth occurs as it is.
        if (random.chance(90)) changeByte(pieces.back(), random);
        at += length + random.between(0, 60);
    }
    makeRare(pieces.back(), random);
    return pieces;
}

void PageSource::makeRare(std::string& piece, Random& random) const {
    constexpr size_t kTries = 1000;
    if (random.chance(50)) changeByte(piece, random);
    // One in a hundred may occur, so that there is something to find.
    const bool mayOccur = random.chance(1);
    for (size_t i = 0; i < kTries; ++i) {
        const size_t position = changeByte(piece, random);
        if (mayOccur || !trigrams[trigram(piece, position)]) return;
    }
}
