// Signature: a body signature in parts, as written in pattern files.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// One byte of the text: the bytes that match there; empty for any.
using Element = std::string;

struct SignaturePart {
    std::string gap;  // as written, in front of the part: "" (the first), "*", "{n}", "{n-m}", ...
    std::vector<Element> elements;
};

struct Signature {
    std::string name;
    std::vector<SignaturePart> parts;
};

SignaturePart literalPart(std::string_view text, std::string_view gap = "");

/// @return the line of an .ndb file, with its line end
std::string lineOf(const Signature& signature);

/// Reads one such line. Lines that the writer above would not make are none of its business.
Signature parseLine(std::string_view line);

/// @return a text that the part matches; that the whole signature matches, its gaps as short as
///         they may be
std::string textOf(const SignaturePart& part);
std::string textOf(const Signature& signature);
