// Signature lines: splits a line into its fields and hands them to the store that fits it.
#pragma once

namespace STREAMENGINE_SPACE {

class PatternContainer;

/// Parses one signature line and adds it to the store that fits it: a signature with wildcards,
/// gaps or alternatives to the automaton, a plain one to the shift table. Never logs.
///   MD5       DIGEST:SIZE:NAME
///   basic     NAME=HEX
///   extended  NAME:TARGETTYPE:OFFSET:HEX
/// @param line         NUL-terminated
/// @param type         a PatternType; lines of other types than these three are ignored
/// @param shortToTrie  a basic line without wildcards that is too short for the shift table goes to
///                     the automaton instead of being refused
/// @throws QLT_SPACE::Exception for a malformed line. What it added stays: the parts before the one
///         that was refused, which can never complete, their number, and the longest length.
void addSignatureLine(PatternContainer& container, const char* line, int type, bool shortToTrie);

}  // namespace STREAMENGINE_SPACE
