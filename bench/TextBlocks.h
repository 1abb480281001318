// TextBlocks: the loops of RunNormaliser over 16 bytes at once.
//
// Where the machine has no SSSE3, and on other machines than x86-64, keepBlocks() does nothing and
// leaves all to the loop over bytes.
#pragma once

/// Normalises whole blocks of [in, inEnd): lowers letters and drops white space. Stops after the
/// first `stop`, or where less than a block is left.
/// @param in       advanced past what was read
/// @param written  advanced past what was written; no more bytes are touched than are read
/// @return whether it ended after a `stop`
bool keepBlocks(const char*& in, const char* inEnd, char stop, char*& written);

/// @return the first c of [in, inEnd), or inEnd
const char* findByte(const char* in, const char* inEnd, char c);
