// Signature lines: splits a line into its fields and hands them to the store that fits it.
#pragma once

namespace STREAMENGINE_SPACE {

class PatternContainer;

/// The work of PatternContainer::addString(), with its arguments and failures. Never logs.
///   MD5       DIGEST:SIZE:NAME
///   basic     NAME=HEX
///   extended  NAME:TARGETTYPE:OFFSET:HEX
/// A signature with wildcards, gaps or alternatives goes to the automaton, a plain one to the
/// shift table.
void addSignatureLine(PatternContainer& container, const char* line, int type, bool shortToTrie);

}  // namespace STREAMENGINE_SPACE
