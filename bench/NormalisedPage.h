#pragma once

#include <string>

#include "RunNormaliser.h"

/// @return the normalised form of a whole page
inline std::string normalisedPage(const std::string& page) {
    RunNormaliser normaliser;
    normaliser.begin(std::string_view(page).substr(0, 256));
    std::string out(page.size(), '\0');
    out.resize(normaliser.feed(page, out.data()));
    return out;
}
