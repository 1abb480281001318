#include "PageGrams.h"

#include <algorithm>
#include <cstring>

#include "NormalisedPage.h"

void PageGrams::add(const Pages& rawPages) {
    for (const std::string& page : rawPages) {
        const std::string text = normalisedPage(page);
        for (size_t i = 0; i + kWidth <= text.size(); ++i) bits[hash(&text[i])] = true;
    }
}

bool PageGrams::isRare(std::string_view piece) const {
    for (size_t i = std::min(piece.size() / 2, piece.size() - kWidth); i + kWidth <= piece.size();
         ++i) {
        if (!bits[hash(&piece[i])]) return true;
    }
    return false;
}

size_t PageGrams::hash(const char* run) {
    uint64_t value = 0;
    std::memcpy(&value, run, kWidth);
    return static_cast<size_t>((value * 0x9E3779B97F4A7C15) >> (64 - kBits));
}
