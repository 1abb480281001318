// MarkupFilter: copies a stream of raw bytes with its active elements blanked out.
//
// Of an element that the mode names every byte, from its "<" to the ">" of its closing tag, becomes
// a blank; everything else is copied. The copy is as long as the stream, so offsets stay valid. The
// filter knows these elements alone: it reads no comments, and it reads one tag's name at a time,
// so a "<" that ends another name opens nothing.
//
// Bytes at the end of a chunk that may begin a tag's name are held back until the next chunk shows
// what they are. Example, with scripts filtered:
//
//   chunk        written                  held back afterwards
//   a<scr        a                        <scr
//   ipt>b        9 blanks                 nothing
//
//   a<scr        a                        <scr           another stream
//   een>         <screen>                 nothing
//
// The longest text that is ever held back is "</noscript". In an open element, where all bytes
// become blanks anyway, a closing tag's name is held back in the same way: a host may rely on how
// many bytes each call writes.
//
// Invariant: bytes are held only in the states OpeningName (at least one) and Content.
// Nothing is allocated. Threads: one at a time.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "scan/filter/OpeningSearch.h"

namespace STREAMENGINE_SPACE {

class MarkupFilter {
  public:
    static constexpr uint32_t kMostHeld = 10;  // "</noscript"

    explicit MarkupFilter(QLT_SPACE::VectorUnit unit = QLT_SPACE::VectorUnit::Baseline)
        : findOpening(openingSearch(unit)) {}

    /// Back to the state at the start of a stream.
    void restart() { *this = MarkupFilter(findOpening); }

    /// Filters the next chunk.
    /// @param in    the chunk, borrowed for the call
    /// @param len   bytes in it, at most UINT32_MAX - kMostHeld
    /// @param out   room for len + kMostHeld bytes; must not overlap in
    /// @param mode  ZVK_FILTER_OBJECTS, ZVK_FILTER_SCRIPTS, both or none; other bits play no part.
    ///              Read when a tag opens; an element that is open stays blanked in every mode.
    /// @return the bytes written: len and what was held back before, less what is held back now
    uint32_t getBufferFilter(const char* in, uint32_t len, char* out, uint8_t mode);

    /// Ends the stream: writes what is held back, an unfinished opening tag as it is, an unfinished
    /// closing tag as blanks. Another stream needs restart() first.
    /// @param out  room for kMostHeld bytes
    /// @return the bytes written
    uint32_t getTagBufferFilter(char* out);

    /// @return whether some byte was blanked out since restart() or forgetChange()
    bool hasChanged() const { return filterChanged; }
    void forgetChange() { filterChanged = false; }

  private:
    explicit MarkupFilter(OpeningSearch search) : findOpening(search) {}

    enum class State : uint8_t { Text, OpeningName, Attributes, Content, ClosingTag };
    enum class Match : uint8_t { Undecided, Whole, Other };

    /// How far a call has come in its chunk. Bytes are not written one by one: those between
    /// unwritten and next are written in one piece, copied or blanked, once that is decided.
    struct Cursor {
        const char* unwritten;  // first byte of the chunk that is not written yet
        const char* next;       // next byte to read; unwritten <= next <= end
        const char* end;
        char* out;      // where the next byte is written
        uint32_t held;  // bytes of pendingTag that earlier chunks left, not written yet
    };

    // Each reads on to the end of its state or of the chunk, one byte at least.
    void passText(Cursor& cursor, uint8_t mode);
    void passOpeningName(Cursor& cursor, uint8_t mode);
    void passAttributes(Cursor& cursor);
    void passContent(Cursor& cursor);
    void passClosingTag(Cursor& cursor);

    /// Compares what follows the bytes held with a tag's text, up to the byte that decides.
    Match matchTag(Cursor& cursor, std::string_view text);
    /// Each writes the unwritten bytes before `to`; the first copies or blanks, by the state.
    void writeUpTo(Cursor& cursor, const char* to);
    void copyUpTo(Cursor& cursor, const char* to);
    void blankUpTo(Cursor& cursor, const char* to);
    void blank(char*& out, uint32_t count);

    bool isInOpeningName() const { return filterState == State::OpeningName; }
    bool isCopying() const { return filterState == State::Text || isInOpeningName(); }

    OpeningSearch findOpening;
    std::array<char, kMostHeld> pendingTag{};  // as they came; in Content only their number counts
    uint32_t pendingCount = 0;                 // bytes recognised of "<name" or "</name"
    bool filterChanged = false;
    State filterState = State::Text;
    uint8_t filterTag = 0;   // index in filterDelTag of the tag recognised or open
    bool slashSeen = false;  // the last byte within the opening tag was "/", outside quotes
    char quoteChar = '\0';   // that opened the attribute value being read; 0 for none
};

}  // namespace STREAMENGINE_SPACE
