#include <array>

#include "ScriptWords.h"
#include "TextSource.h"

namespace {

using ScriptWords::address, ScriptWords::name;
using ScriptWords::kBase64, ScriptWords::kDigits, ScriptWords::kHex;

std::string percentBytes(Random& random) {
    return std::string("%") + random.text(kHex, 2);
}

std::string percentWords(Random& random) {
    return std::string("%u") + random.text(kHex, 4);
}

std::string charCodes(Random& random) {
    return std::to_string(random.between(9, 125)) + ",";
}

std::string hexEscapes(Random& random) {
    return std::string("\\x") + random.text(kHex, 2);
}

std::string download(Random& random) {
    return address(random) + (random.chance(50) ? ".js\"" : ".php?id=") + random.text(kDigits, 3);
}

std::string classId(Random& random) {
    return random.text(kHex, 8) + "-" + random.text(kHex, 4) + "-";
}

std::string loops(Random& random) {
    const std::string a = name(random), b = name(random);
    return a + "=" + b + ".charcodeat(" + a + ")^" + random.text(kDigits, 3) + ";";
}

std::string growth(Random& random) {
    const std::string a = name(random);
    return a + ".length<0x" + random.text(kHex, 5) + ")" + a + "+=" + name(random) + ";";
}

std::string blob(Random& random) {
    return random.text(kBase64, 16);
}

/// How an attack begins, and what repeats after it.
struct Construct {
    std::string_view lead;
    std::string (*unit)(Random&);
};

constexpr std::array<Construct, 28> kConstructs = {{
    {"document.write(unescape(\"", percentBytes},
    {"document.write(unescape('", percentBytes},
    {"<scriptlanguage=javascript>document.write(unescape(\"", percentBytes},
    {"document.writeln(\"<iframesrc=http://", download},
    {"document.write(string.fromcharcode(", charCodes},
    {"eval(string.fromcharcode(", charCodes},
    {"eval(unescape(\"", percentBytes},
    {"eval(function(p,a,c,k,e,d){", loops},
    {"window[\"eval\"](\"", hexEscapes},
    {"=unescape(\"", percentWords},
    {"varshellcode=unescape(\"", percentWords},
    {"while(", growth},
    {"for(i=0;i<", loops},
    {"function", loops},
    {"try{", loops},
    {"<iframewidth=0height=0src=\"http://", download},
    {"<iframesrc=\"http://", download},
    {"<iframestyle=\"display:none\"src=\"http://", download},
    {"<scriptsrc=\"http://", download},
    {"<script>", loops},
    {"<objectclassid=\"clsid:", classId},
    {".setattribute(\"classid\",\"clsid:", classId},
    {"newactivexobject(\"", name},
    {"document.location=\"http://", download},
    {"settimeout(\"", loops},
    {"varpayload=\"", blob},
    {".replace(/", hexEscapes},
    {"arr[i]=block+", growth},
}};

}  // namespace

std::string ScriptSource::piece(Random& random, size_t least, size_t most) {
    const auto& [lead, unit] = random.pick(kConstructs);
    const size_t length = random.between(least, most);
    // At least half of the piece is special to this attack: a mere beginning occurs in many pages.
    const size_t kept = std::min(lead.size(), random.between(0, length / 2));
    std::string text(random.chance(70) ? lead.substr(0, kept) : lead.substr(lead.size() - kept));
    while (text.size() < length) text += unit(random);
    text.resize(length);
    return text;
}

std::vector<std::string> ScriptSource::pieces(Random& random, size_t count) {
    std::vector<std::string> pieces;
    while (pieces.size() + 1 < count) {
        const std::string_view lead = random.pick(kConstructs).lead;
        pieces.emplace_back(lead.substr(0, 24));
    }
    pieces.push_back(piece(random, 8, 24));
    return pieces;
}
