#include <algorithm>

#include "PageGrams.h"
#include "TextSource.h"

namespace {

constexpr std::string_view kBytes = "abcdefghijklmnopqrstuvwxyz0123456789_%";
constexpr size_t kLeastKept = 3, kMostKept = 6;  // bytes at the beginning of a piece

}  // namespace

HeldOutSource::HeldOutSource(const Pages& heldOut, const PageGrams& pageGrams)
    : CutSource(heldOut, PageGrams::kWidth), grams(pageGrams) {}

std::string HeldOutSource::piece(Random& random, size_t least, size_t most) {
    return CutSource::piece(random, std::max(least, PageGrams::kShortestWithWildcards), most);
}

void HeldOutSource::vary(std::string& piece, Random& random) {
    const size_t kept = random.between(kLeastKept, kMostKept);
    for (size_t i = kept; i < piece.size(); ++i) {
        if (random.between(0, 7) == 0) piece[i] = random.pick(kBytes);
    }
    if (!random.chance(33) || piece.size() <= kept) return;
    const size_t length = piece.size();
    piece.insert(random.between(kept, length - 1), scripts.piece(random, 4, 12));
    piece.resize(length);
}

void HeldOutSource::makeRare(std::string& piece, Random& random) {
    vary(piece, random);
    while (!grams.isRare(piece)) {
        piece[random.between(std::max(kLeastKept, piece.size() / 2), piece.size() - 1)] =
            random.pick(kBytes);
    }
}
