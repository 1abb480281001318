#include "pattern/TypeSignatures.h"

#include "pattern/line/CompoundPatternLoader.h"

namespace STREAMENGINE_SPACE {
namespace {

struct TypeSignature {
    const char* signature;  // hexadecimal
    const char* name;
    uint16_t typeCode;
};

// Matched against the normalised stream, so each is in lower case and without blanks. Most leave
// the tag open: "<img" also finds tags with attributes.
constexpr TypeSignature kTypeSignatures[] = {
    {"3c62723e", "HTML data", kTypeMarkup},        // <br>
    {"3c646976", "HTML data", kTypeMarkup},        // <div
    {"3c68746d6c", "HTML data", kTypeMarkup},      // <html
    {"3c686561643e", "HTML data", kTypeMarkup},    // <head>
    {"3c666f6e74", "HTML data", kTypeMarkup},      // <font
    {"3c696d67", "HTML data", kTypeMarkup},        // <img
    {"3c736372697074", "HTML data", kTypeMarkup},  // <script
    {"3c6f626a656374", "HTML data", kTypeMarkup},  // <object
    {"3c696672616d65", "HTML data", kTypeMarkup},  // <iframe
};

}  // namespace

void addTypeSignatures(TrieTree& tree) {
    for (const TypeSignature& entry : kTypeSignatures) {
        CompoundPatternLoader::parse(tree, entry.name, entry.signature, entry.typeCode, nullptr, 0);
    }
}

}  // namespace STREAMENGINE_SPACE
