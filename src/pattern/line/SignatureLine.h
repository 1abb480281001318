// Signature lines: splits a line into its fields and adds its record to the store that fits it.
#pragma once

namespace STREAMENGINE_SPACE {

class PatternContainer;

/// Parses one signature line and adds its record to a store of the container. Never logs.
///
///   type      line                           store
///   MD5       DIGEST:SIZE:NAME               the digest table
///   basic     NAME=HEX                       the shift table, if HEX is a plain byte string;
///   extended  NAME:TARGETTYPE:OFFSET:HEX     the automaton, if it has wildcards, gaps or groups
///
/// @param line         NUL-terminated
/// @param type         a PatternType; lines of other types than these three are ignored
/// @param shortToTrie  a basic line without wildcards that is too short for the shift table goes to
///                     the automaton instead of being refused
/// @throws QLT_SPACE::Exception for a malformed line. The parts before the refused one stay, though
///         they can never be reported, and so do the signature's number and the longest length.
void addSignatureLine(PatternContainer& container, const char* line, int type, bool shortToTrie);

}  // namespace STREAMENGINE_SPACE
