#include "testing/Signature.h"

#include <algorithm>
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

std::string writtenGap(const Gap& gap) {
    const std::string least = std::to_string(gap.least), most = std::to_string(gap.most);
    switch (gap.form) {
        case Gap::Form::Exactly:
            return "{" + least + "}";
        case Gap::Form::Between:
            return "{" + least + "-" + most + "}";
        case Gap::Form::AtLeast:
            return "{" + least + "-}";
        case Gap::Form::AtMost:
            return "{-" + most + "}";
        case Gap::Form::Any:
            break;
    }
    return "*";
}

// The reader takes what it has read off the beginning of its text.

std::string_view take(std::string_view& text, size_t count) {
    const std::string_view taken = text.substr(0, count);
    text.remove_prefix(taken.size());
    return taken;
}

uint32_t numberIn(std::string_view digits) {
    uint32_t value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
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

Gap takeGap(std::string_view& text) {
    if (text.front() == '*') {
        take(text, 1);
        return {};
    }
    const std::string_view written = take(text, text.find('}') + 1);
    const std::string_view bounds = written.substr(1, written.size() - 2);
    const size_t dash = bounds.find('-');
    if (dash == bounds.npos) return Gap::exactly(numberIn(bounds));
    const uint32_t least = numberIn(bounds.substr(0, dash));
    if (dash + 1 == bounds.size()) return Gap::atLeast(least);
    const uint32_t most = numberIn(bounds.substr(dash + 1));
    return dash == 0 ? Gap::atMost(most) : Gap::between(least, most);
}

}  // namespace

bool SignaturePart::isPlain() const {
    return std::all_of(elements.begin(), elements.end(),
                       [](const Element& element) { return element.size() == 1; });
}

SignaturePart literalPart(std::string_view text, Gap gap) {
    SignaturePart part = {{}, gap};
    appendLiteral(part, text);
    return part;
}

void appendLiteral(SignaturePart& part, std::string_view text) {
    for (const char byte : text) part.elements.emplace_back(1, byte);
}

std::string bodyOf(const Signature& signature) {
    std::string body;
    for (const SignaturePart& part : signature.parts) {
        if (&part != signature.parts.data()) body += writtenGap(part.gap);
        for (const Element& element : part.elements) body += writtenElement(element);
    }
    return body;
}

std::string lineOf(const Signature& signature) {
    const auto& offset = signature.offset;
    return signature.name + ":0:" + (offset ? std::to_string(*offset) : "*") + ":" +
           bodyOf(signature);
}

std::string linesOf(const std::vector<Signature>& signatures) {
    std::string lines;
    for (const Signature& signature : signatures) lines += lineOf(signature) + "\n";
    return lines;
}

Signature parseLine(std::string_view line) {
    const size_t nameEnd = line.find(':'), body = line.rfind(':') + 1;
    const size_t offset = line.rfind(':', body - 2) + 1;
    Signature signature = {std::string(line.substr(0, nameEnd)), {{}}};
    if (line[offset] != '*') signature.offset = numberIn(line.substr(offset));
    for (line.remove_prefix(body); !line.empty();) {
        if (line.front() == '*' || line.front() == '{') {
            signature.parts.push_back({{}, takeGap(line)});
        } else {
            signature.parts.back().elements.push_back(takeElement(line));
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
        if (!text.empty()) text.append(part.gap.least, '.');
        text += textOf(part);
    }
    return text;
}
