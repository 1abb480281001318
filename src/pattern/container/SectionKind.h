// SectionKind: which lines a section of a container holds.
#pragma once

#include <cstdint>

#include "pattern/container/ContainerLayout.h"
#include "pattern/line/PatternType.h"

namespace STREAMENGINE_SPACE {

struct SectionKind {
    uint32_t magic;
    PatternType type;
};

constexpr SectionKind kSectionKinds[] = {
    {kBasicSection, PATTERN_BASIC},
    {kExtendedSection, PATTERN_EXTENDED},
    {kMD5Section, PATTERN_MD5},
};

/// @return PATTERN_UNKNOWN for a magic that no kind has
constexpr PatternType typeOfSection(uint32_t magic) {
    for (const SectionKind& kind : kSectionKinds) {
        if (kind.magic == magic) return kind.type;
    }
    return PATTERN_UNKNOWN;
}

/// @return 0, which is no magic, for a type whose lines no section holds
constexpr uint32_t magicOfSection(int type) {
    for (const SectionKind& kind : kSectionKinds) {
        if (kind.type == type) return kind.magic;
    }
    return 0;
}

}  // namespace STREAMENGINE_SPACE
