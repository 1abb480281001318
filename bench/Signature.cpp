#include "Signature.h"

#include <charconv>
#include <stdexcept>

namespace {

std::string hexOf(char byte) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    return {kDigits[value >> 4], kDigits[value & 15]};
}

std::string writtenElement(const Element& element) {
    if (element.empty()) return "??";
    if (element.size() == 1) return hexOf(element[0]);
    std::string out;
    for (const char byte : element) {
        out += out.empty() ? '(' : '|';
        out += hexOf(byte);
    }
    return out + ")";
}

std::string_view take(std::string_view& text, size_t count) {
    const std::string_view front = text.substr(0, count);
    text.remove_prefix(front.size());
    return front;
}

char takeByte(std::string_view& text) {
    const std::string_view pair = take(text, 2);
    unsigned int value = 0;
    const auto end = std::from_chars(pair.data(), pair.data() + pair.size(), value, 16);
    if (pair.size() != 2 || end.ptr != pair.data() + 2) {
        throw std::runtime_error("a signature with bad digits");
    }
    return static_cast<char>(value);
}

Element takeElement(std::string_view& text) {
    if (text.starts_with("??")) {
        take(text, 2);
        return {};
    }
    if (text.front() != '(') return {takeByte(text)};
    Element element;
    do {
        take(text, 1);
        element += takeByte(text);
    } while (text.starts_with('|'));
    take(text, 1);
    return element;
}

/// @return the fewest bytes that a gap takes: its number, unless that is an upper bound
size_t shortest(const std::string& gap) {
    size_t bytes = 0;
    if (gap.size() > 1) std::from_chars(&gap[1], &gap[gap.size() - 1], bytes);
    return bytes;
}

}  // namespace

SignaturePart literalPart(std::string_view text, std::string_view gap) {
    SignaturePart part = {std::string(gap), {}};
    for (const char byte : text) part.elements.emplace_back(1, byte);
    return part;
}

std::string lineOf(const Signature& signature) {
    std::string line = signature.name + ":0:*:";
    for (const SignaturePart& part : signature.parts) {
        line += part.gap;
        for (const Element& element : part.elements) line += writtenElement(element);
    }
    return line + "\n";
}

Signature parseLine(std::string_view line) {
    Signature signature = {std::string(line.substr(0, line.find(':'))), {{}}};
    std::string_view body = line.substr(line.rfind(':') + 1);
    while (!body.empty()) {
        if (body.front() == '*' || body.front() == '{') {
            const size_t length = body.front() == '*' ? 1 : body.find('}') + 1;
            signature.parts.push_back({std::string(take(body, length)), {}});
        } else {
            signature.parts.back().elements.push_back(takeElement(body));
        }
    }
    return signature;
}

std::string textOf(const SignaturePart& part) {
    std::string text;
    for (const Element& element : part.elements) text += element.empty() ? 'x' : element[0];
    return text;
}

std::string textOf(const Signature& signature) {
    std::string text;
    for (const SignaturePart& part : signature.parts) {
        text.append(shortest(part.gap), '.');
        text += textOf(part);
    }
    return text;
}
