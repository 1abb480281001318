#include "support/ScrambledName.h"

#include "support/EngineOption.h"

namespace STREAMENGINE_SPACE {

char* xorString(char* s, unsigned char key) {
    if (s == nullptr) return nullptr;
    for (char* c = s; *c != '\0'; ++c) {
        const auto byte = static_cast<unsigned char>(*c);
        if (byte != key) *c = static_cast<char>(byte ^ key);
    }
    return s;
}

std::string scrambled(std::string name) {
    xorString(name.data(), ops.scrambleKey);
    return name;
}

}  // namespace STREAMENGINE_SPACE
