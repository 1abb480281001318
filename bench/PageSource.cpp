#include "TextSource.h"

namespace {

constexpr size_t kShortestLast = 5;
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

PageSource::PageSource(const Pages& rawPages)
    : CutSource(rawPages, kShortestLast), trigrams(1 << 24) {
    for (const std::string& text : texts) {
        for (size_t i = 2; i < text.size(); ++i) trigrams[trigram(text, i)] = true;
    }
}

/// Nine parts in ten differ from the page in one byte; the tenth occurs as it is.
void PageSource::vary(std::string& piece, Random& random) {
    if (random.chance(90)) changeByte(piece, random);
}

void PageSource::makeRare(std::string& piece, Random& random) {
    constexpr size_t kTries = 1000;
    if (random.chance(50)) changeByte(piece, random);
    // One in a hundred may occur, so that there is something to find.
    const bool mayOccur = random.chance(1);
    for (size_t i = 0; i < kTries; ++i) {
        const size_t position = changeByte(piece, random);
        if (mayOccur || !trigrams[trigram(piece, position)]) return;
    }
}
