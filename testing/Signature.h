// Signature: a body signature as a structure, and how it is written in pattern files.
//
// Tests, measurements and fuzzers make signatures in this form and write them as lines. Nothing
// here uses the engine, so a test that compares the engine with a search of its own can read the
// same structure without inheriting a fault of the engine's parser.
//
// Example: the parts {"ab", any byte, 'c' or 'd'} and {"xyz"} with a gap of 2 to 9 bytes between
// them are the line "NAME:0:*:6162??(63|64){2-9}78797a".
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One byte of the text: the bytes that match there; empty: every byte matches.
using Element = std::string;

/// The bytes that may lie between a part and the part before it.
struct Gap {
    /// How the gap is written: "*", "{n}", "{n-m}", "{n-}", "{-m}".
    enum class Form : uint8_t { Any, Exactly, Between, AtLeast, AtMost };

    Form form = Form::Any;
    uint32_t least = 0, most = 0;  // most is 0 where the form has no upper bound

    static Gap exactly(uint32_t count) { return {Form::Exactly, count, count}; }
    static Gap between(uint32_t least, uint32_t most) { return {Form::Between, least, most}; }
    static Gap atLeast(uint32_t least) { return {Form::AtLeast, least, 0}; }
    static Gap atMost(uint32_t most) { return {Form::AtMost, 0, most}; }
};

struct SignaturePart {
    std::vector<Element> elements;
    Gap gap = {};  // of no meaning in the first part

    /// @return whether each element is one literal byte
    bool isPlain() const;
};

struct Signature {
    std::string name;
    std::vector<SignaturePart> parts;
    std::optional<uint32_t> offset = {};  // of the first part in the stream; none: anywhere
};

SignaturePart literalPart(std::string_view text, Gap gap = {});

/// Appends literal bytes, one element each.
void appendLiteral(SignaturePart& part, std::string_view text);

/// @return the parts and gaps as pattern files have them; NAME=BODY is a line of a .db file, which
///         has no place for an offset
std::string bodyOf(const Signature& signature);
/// @return the line of an .ndb file, without its line end
std::string lineOf(const Signature& signature);
/// @return all lines, each with its line end
std::string linesOf(const std::vector<Signature>& signatures);

/// Reads a line that lineOf() wrote; of other lines the result has no meaning.
/// @throws std::runtime_error if a byte is not two hexadecimal digits
Signature parseLine(std::string_view line);

/// @return a text that the part matches
std::string textOf(const SignaturePart& part);
/// @return a text that the whole signature matches, each gap as short as it may be
std::string textOf(const Signature& signature);
