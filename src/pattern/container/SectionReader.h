// SectionReader: the records of one section of a restored body, with their names put back.
//
// A record is a signature line in which a decimal number replaces the detection name. The number is
// an offset in the section's name table, where each name is stored once:
//
//   record        7:0:*:646f63756d
//   name table    offset 0: 6 "Demo.A"   offset 7: 6 "Demo.B"     (a length byte, then the name)
//   line          Demo.B:0:*:646f63756d
//
// Every count, length and offset comes from the file and may be wrong or hostile. Each is compared
// with the bytes that are really there before it is used.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pattern/container/BodyReader.h"
#include "pattern/container/ContainerFault.h"
#include "pattern/container/ContainerLayout.h"
#include "pattern/line/PatternType.h"

namespace STREAMENGINE_SPACE {

/// A restored body as the readers of its sections share it.
///
/// Sections may lie anywhere, even one over another. Without a bound, a body of 1 MiB could hold
/// 10,000 section entries that all name the same 60,000 records: 600 million lines to load. So
/// all sections together may read only as many bytes of records as the body has.
struct RestoredBody {
    /// @param file  borrowed; nothing unwritten in its buffer
    explicit RestoredBody(std::FILE* file);

    // Three windows on one file, as these lie apart.
    BodyReader table;
    BodyReader records;
    BodyReader names;
    uint64_t recordBytesLeft;
};

class SectionReader {
  public:
    /// @param restoredBody   borrowed
    /// @param entry          the section's entry in the section table
    /// @param sectionNumber  its number, from 1, for explanations
    SectionReader(RestoredBody& restoredBody, const _SectionTable& entry, uint32_t sectionNumber);

    uint32_t number() const { return section; }
    const _SectionTable& entry() const { return tableEntry; }
    /// @return the PatternType of the section's lines; PATTERN_UNKNOWN if its kind is unknown
    PatternType type() const { return lineType; }

    /// Checks the number of records, for which the store of MD5 lines makes room in advance,
    /// against the bytes that the body has for them. Sections of other kinds pass: they grow with
    /// the records that are really there.
    /// @throws ContainerFault
    void checkRecordCount() const;

    /// Reads the next record.
    /// @return false after the last one, and always for a section of unknown kind
    /// @throws ContainerFault if the number of records, a record or its name is wrong
    bool next();

    // The newest record, valid until next().
    uint64_t offset() const { return recordOffset; }        // in the restored body
    std::string_view name() const { return recordName; }    // the detection name
    const std::string& line() const { return recordLine; }  // the signature line, name included

    /// @return the fault of a section whose records the host has no memory for
    ContainerFault noMemory() const;

  private:
    /// The name field of a record's text: where it is, and the name offset that it holds.
    struct NameField {
        size_t position;
        size_t length;
        uint64_t nameOffset;
    };

    std::string_view readText();
    NameField getPatternNameOffset(std::string_view text) const;
    std::string_view getPatternName(uint64_t nameOffset);
    void readNameTableHeader();
    ContainerFault fault(std::vector<std::string> logLines, const std::string& explanation,
                         uint64_t faultOffset) const;

    RestoredBody& body;
    _SectionTable tableEntry;
    uint32_t section;
    PatternType lineType;
    uint32_t recordNumber = 0;  // of the newest record, from 1
    uint64_t position;          // of the next record
    std::optional<NameTableHeader> nameTable;
    uint64_t recordOffset = 0;
    std::string_view recordName;  // in the window of body.names
    std::string recordLine;
};

}  // namespace STREAMENGINE_SPACE
