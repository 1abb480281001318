#include <algorithm>
#include <array>

#include "PageGrams.h"
#include "ScriptWords.h"
#include "TextSource.h"

namespace {

// Normalised text has no capital letters, so these are the places to fill: N and M are two names,
// the same ones all over a piece; the others are new each time: D a number, X two hexadecimal
// digits, H four, W an address, B a run of base64.
constexpr std::array<std::string_view, 32> kPhrases = {
    "varN=unescape(\"%uH%uH%uH\");",
    "N=N+D;while(N.length<D)",
    "while(N.length<D)N+=M;",
    "N=unescape('%X%X%X%X');",
    "document.write(unescape(\"%X%X%X%X\"));",
    "document.write(string.fromcharcode(D,D,D,D));",
    "eval(N(\"B\"));",
    "eval(string.fromcharcode(D,D,D,D));",
    "for(N=0;N<D;N++)M[N]=M+N;",
    "for(varN=0;N<M.length;N++){",
    "functionN(M){returnM.substr(0,D);}",
    "<iframesrc=\"http://W\"width=Dheight=D",
    "<iframesrc=http://Wstyle=\"visibility:hidden\">",
    "<scriptsrc=\"http://W\"></script>",
    "document.write(\"<iframesrc='http://W'width=0height=0></iframe>\");",
    "varN=newactivexobject(\"M.N\");",
    "N.open(\"get\",\"http://W\",false);",
    "N.savetofile(M,2);",
    "N=document.createelement(\"object\");N.setattribute(\"classid\",\"clsid:HH-H-H\");",
    "<objectclassid=\"clsid:HH-H-H-H-HHH\"id=\"N\">",
    "try{N(M,D);}catch(e){M=D;}",
    "settimeout(\"N()\",D);",
    "window.location=\"http://W?N=D\";",
    "varN=newarray(D);N[M]=D;",
    "N=M.substring(0,D-M.length);",
    "N=N.replace(/M/g,\"\");",
    "N+=string.fromcharcode(M.charcodeat(D)^D);",
    "varN=\"B\";varM=\"\";",
    "window[\"N\"+\"M\"](D);",
    "N=document.getelementbyid(\"M\").innerhtml;",
    "if(navigator.useragent.indexof(\"N\")!=-1)M(D);",
    "parseint(N.substr(M,2),16)^D",
};

/// The names of a piece, and what fills its other places.
class Filler {
  public:
    explicit Filler(Random& source)
        : random(source), first(ScriptWords::name(random)), second(ScriptWords::name(random)) {}

    std::string filled(std::string_view phrase) {
        std::string text;
        for (const char c : phrase) text += filling(c);
        return text;
    }

  private:
    std::string filling(char c) {
        switch (c) {
            case 'N':
                return first;
            case 'M':
                return second;
            case 'D':
                return std::to_string(random.between(2, 9999));
            case 'X':
                return random.text(ScriptWords::kHex, 2);
            case 'H':
                return random.text(ScriptWords::kHex, 4);
            case 'W':
                return ScriptWords::address(random);
            case 'B':
                return random.text(ScriptWords::kBase64, 16);
            default:
                return {c};
        }
    }

    Random& random;
    const std::string first, second;
};

/// @return phrases that follow each other, cut to a length; half of them begin within a phrase
std::string phrases(Random& random, size_t least, size_t most) {
    Filler filler(random);
    const size_t length = random.between(least, most);
    std::string text = filler.filled(random.pick(kPhrases));
    if (random.chance(50)) text.erase(0, random.between(0, text.size() - 1));
    while (text.size() < length) text += filler.filled(random.pick(kPhrases));
    text.resize(length);
    return text;
}

std::string rarePhrases(Random& random, size_t least, size_t most, const PageGrams& grams) {
    std::string text;
    do {
        text = phrases(random, least, most);
    } while (!grams.isRare(text));
    return text;
}

}  // namespace

std::string PhraseSource::piece(Random& random, size_t least, size_t most) {
    return rarePhrases(random, std::max(least, PageGrams::kShortestWithWildcards), most, grams);
}

std::vector<std::string> PhraseSource::pieces(Random& random, size_t count) {
    constexpr size_t kShortestPart = 5, kLongestPart = 24;
    std::vector<std::string> pieces;
    while (pieces.size() + 1 < count) {
        pieces.push_back(phrases(random, kShortestPart, kLongestPart));
    }
    pieces.push_back(rarePhrases(random, PageGrams::kWidth, kLongestPart, grams));
    return pieces;
}
