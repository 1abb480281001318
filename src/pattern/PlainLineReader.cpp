#include "pattern/PlainLineReader.h"

#include "support/EngUtil.h"

namespace STREAMENGINE_SPACE {

// Like fgets(), but without its lock for every call: a line that does not fit comes in pieces of
// kLineRoom - 1 bytes. An embedded NUL stays in the buffer and ends the text early.
bool PlainLineReader::next() {
    size_t length = 0;
    int c = EOF;
    while (length < kLineRoom - 1 && (c = getc_unlocked(file)) != EOF) {
        text[length++] = static_cast<char>(c);
        if (c == '\n') break;
    }
    if (length == 0) return false;
    text[length] = '\0';
    EngUtil::rtrim(text.data());
    if (atLineStart) ++number;
    atLineStart = c == '\n';
    return true;
}

}  // namespace STREAMENGINE_SPACE
