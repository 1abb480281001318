// The reason why something is refused.
#pragma once

#include <string>

#include "support/Exception.h"

/// @return the text of the engine's exception that an action throws; empty if it throws none
inline std::string refusalOf(const auto& action) {
    try {
        action();
    } catch (QLT_SPACE::Exception& refusal) {
        return refusal.toString();
    }
    return {};
}
