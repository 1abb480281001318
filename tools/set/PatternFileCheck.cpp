#include "set/PatternFileCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <iterator>

#include "console/StdoutSilencer.h"
#include "pattern/PatternLoader.h"
#include "pattern/PlainLineReader.h"
#include "pattern/line/PatternType.h"
#include "pattern/line/SignatureLine.h"
#include "set/ErrorLog.h"
#include "set/PatternFile.h"
#include "store/PatternContainer.h"
#include "store/index/LiteralRows.h"
#include "support/Exception.h"
#include "support/ScrambledName.h"

namespace zvk {

namespace {

using STREAMENGINE_SPACE::LiteralRows;
using STREAMENGINE_SPACE::PatternContainer;
using STREAMENGINE_SPACE::PatternLoader;
using STREAMENGINE_SPACE::PlainLineReader;
using STREAMENGINE_SPACE::SearchForm;
using STREAMENGINE_SPACE::SignatureIndex;
using STREAMENGINE_SPACE::VQPattern;

// Numbers, in the file, of the lines that a container refuses. The loader's messages only have the
// count of the lines accepted so far, but they come in the same order as these numbers.
std::vector<uint32_t> refusedNumbers(std::FILE* file, int type, uint64_t& readCount) {
    std::rewind(file);
    PatternContainer container;
    std::vector<uint32_t> numbers;
    PlainLineReader reader(file);
    for (readCount = 0; reader.next(); ++readCount) {
        try {
            addSignatureLine(container, reader.line(), type, false);
        } catch (QLT_SPACE::Exception&) {
            numbers.push_back(reader.lineNumber());
        }
    }
    return numbers;
}

void load(const std::string& path, std::FILE* file, PatternContainer& container,
          uint64_t& readCount) {
    const StdoutSilencer silencer;
    try {
        const int count = PatternLoader::loadVQPattern(path.c_str(), file, container);
        readCount = static_cast<uint64_t>(count);
        PatternLoader::prepare(container);
    } catch (QLT_SPACE::Exception& error) {
        throw PatternError(fmt::format("cannot load {}: {}", path, error.getMessage()));
    }
}

/// @return the names of the signatures with a part that has no row of literals for a table
std::vector<std::string> slowSignatures(const PatternContainer& container) {
    SignatureIndex made;
    const bool isMade = container.searchForm == SearchForm::Compiled;
    if (!isMade) made.build(container.trieTree, container.bmList, container.vectorUnit);
    const SignatureIndex& index = isMade ? container.index : made;

    std::vector<std::string> names;
    const auto add = [&](const VQPattern& pattern) {
        names.push_back(STREAMENGINE_SPACE::scrambled(pattern.virName));
    };
    LiteralRows rows;
    const auto isSlow = [&](uint32_t unit) {
        rows.assign(index.units[unit]);
        return rows.longest() < STREAMENGINE_SPACE::kNarrowGram;
    };
    for (uint32_t number = 0; number < index.tree.nodeCount(); ++number) {
        const auto& node = index.tree.node(number);
        if (!isSlow(node.unit)) continue;
        const uint32_t depth = index.tree.depthOf(number);
        for (uint32_t i = node.firstSignature; i < node.endSignature; ++i) {
            add(*index.tree.partOf(i, depth).pattern);
        }
    }
    for (uint32_t unit = index.tree.unitCount(); unit < index.units.size(); ++unit) {
        if (isSlow(unit)) add(*index.units[unit].pattern);
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

}  // namespace

PatternFileCheck checkPatternFile(const std::string& path) {
    const QLT_SPACE::FilePtr file = openPatternFile(path);
    const ErrorLog log(ErrorLog::kAll);
    PatternFileCheck check;
    check.path = path;
    PatternContainer container;
    load(path, file.get(), container, check.readCount);
    check.slow = slowSignatures(container);

    std::vector<uint32_t> numbers;
    const int type = PatternLoader::getPatternType(path.c_str());
    if (type != STREAMENGINE_SPACE::PATTERN_CONTAINER)
        numbers = refusedNumbers(file.get(), type, check.readCount);
    for (const std::string& reason : log.refused().last) {
        const size_t i = check.refused.size();
        check.refused.push_back({i < numbers.size() ? numbers[i] : 0, reason});
    }
    for (const std::string& reason : log.others().last) check.refused.push_back({0, reason});
    return check;
}

}  // namespace zvk
