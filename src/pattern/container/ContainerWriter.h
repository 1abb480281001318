// ContainerWriter: makes container pattern files, which ContainerReader reads.
//
// The order of all lines is kept, as it decides which of several matches at one position is
// reported. So a section ends where the kind of the lines changes:
//
//   basic, basic, extended, basic   ->   section 1: 2 lines, section 2: 1 line, section 3: 1 line
//
// One name table, which all sections share, holds each name once. Equal lines and settings give
// equal bytes, as long as zlib deflates them to equal bytes.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "pattern/container/ContainerLayout.h"

namespace STREAMENGINE_SPACE {

class BodyWriter;

struct ContainerSettings {
    std::array<uint32_t, 4> version{};
    uint32_t buildTime = 0;  // seconds since 1970-01-01 00:00 UTC
    CipherMethod cipherMethod = kCipherNone;
    bool fixedNames = false;  // all names padded to the longest one
};

class ContainerWriter {
  public:
    explicit ContainerWriter(const ContainerSettings& containerSettings)
        : settings(containerSettings) {}

    /// Adds a signature line. The line is kept as it is, whether or not the engine accepts it;
    /// only the text after the name of an MD5 line, which the engine does not read, is dropped.
    /// @param type  PATTERN_MD5, PATTERN_BASIC or PATTERN_EXTENDED
    /// @throws QLT_SPACE::Exception, with the reason, for a line that the format cannot hold
    void addLine(std::string_view line, int type);

    /// Writes the whole container from the start of an empty file and flushes it.
    /// @return bytes of its restored body
    /// @throws QLT_SPACE::Exception if a length does not fit into the format, or the file cannot be
    ///         written; the file's content is then undefined
    uint64_t write(std::FILE* file) const;

    uint32_t patternTotal() const { return total; }
    uint32_t nameTotal() const { return static_cast<uint32_t>(names.size()); }

  private:
    struct Record {
        std::string rest;  // the line without its name
        uint32_t name;     // index in names
    };
    struct Section {
        uint32_t magic;
        std::vector<Record> records;
    };
    struct Name {
        std::string text;
        uint64_t mostOffset;  // its name offset or, with fixed names, the highest it may get
    };
    struct BodyLayout;

    uint64_t mostOffsetOf(const std::string& name) const;
    uint32_t indexOfName(const std::string& name);
    BodyLayout layOutBody() const;
    void writeRecords(const Section& section, const BodyLayout& layout, BodyWriter& body) const;
    void writeNames(const BodyLayout& layout, BodyWriter& body) const;

    ContainerSettings settings;
    std::vector<Section> sections;
    std::vector<Name> names;  // in the order of their first use
    std::unordered_map<std::string, uint32_t> nameIndices;
    uint32_t total = 0;  // records of all sections
};

}  // namespace STREAMENGINE_SPACE
