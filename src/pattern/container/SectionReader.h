// SectionReader: the records of one section of a restored body, with their names put back.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pattern/container/BodyReader.h"
#include "pattern/container/ContainerLayout.h"

namespace STREAMENGINE_SPACE {

/// A restored body as the readers of its sections share it.
///
/// Sections may lie anywhere, also on top of one another, so that a small body could tell of
/// endlessly many records. What all sections read together is held to the body's length: each byte
/// serves as a record once.
struct RestoredBody {
    /// @param file  borrowed; nothing unwritten in its buffer
    explicit RestoredBody(std::FILE* file);

    BodyReader table;
    BodyReader records;
    BodyReader names;  // readers of their own, as these lie apart
    uint64_t recordBytesLeft;
};

class SectionReader {
  public:
    /// @param restoredBody  borrowed
    /// @param table         the section's entry
    SectionReader(RestoredBody& restoredBody, const _SectionTable& table);

    /// @throws ContainerFault if the body cannot hold as many records as the section tells
    void checkRecordCount() const;

    /// Reads the next record.
    /// @return false behind the last one
    /// @throws ContainerFault if the record or its name is broken
    bool next();

    /// Of the last record read, valid until next(): its offset in the body, its text as stored up
    /// to the first NUL, its name, and the signature line in which the name stands for its offset.
    uint64_t offset() const { return recordOffset; }
    std::string_view text() const { return recordText; }
    std::string_view name() const { return recordName; }
    const std::string& line() const { return recordLine; }

    /// The name field of a record: where it stands and the name offset that it holds.
    struct NameField {
        size_t position;
        size_t length;
        uint64_t nameOffset;
    };
    /// @return nothing if the record has no such field or it is not 1 to 16 decimal digits
    static std::optional<NameField> getPatternNameOffset(uint32_t magic, std::string_view text);

  private:
    std::string_view readText();
    std::string_view getPatternName(uint64_t nameOffset);
    void readNameTableHeader();

    RestoredBody& body;
    _SectionTable section;
    uint32_t recordsLeft;
    uint64_t position;  // of the next record
    std::optional<NameTableHeader> nameTable;
    uint64_t recordOffset = 0;
    std::string_view recordText;  // in the window of body.records
    std::string_view recordName;  // in the window of body.names
    std::string recordLine;
};

}  // namespace STREAMENGINE_SPACE
