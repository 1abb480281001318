// A host of fixed work, whose instructions scripts/check-instructions counts.
//
//   instruction_count CASE FOLDER     FOLDER: where the case's pattern file is written
//   instruction_count --list          the names of the cases
//
// Pages and sets are made from a seed. What runs inside measuredWork() is counted, nothing else:
// making pages and sets is not. Read the counts as ratios: a case that takes 1.05 of its former
// instructions has become about 5 % slower, unless memory or branches are what it waits for.
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "EngineHost.h"
#include "HostileCase.h"
#include "MeasuredWork.h"
#include "SignatureSet.h"

namespace {

constexpr uint64_t kSeed = 7;
constexpr size_t kSignatures = 1000;
constexpr size_t kPageLength = 32768;

/// A page of tags, words, links, comments and scripts.
std::string makePage(Random& random, size_t length, const std::string& opening) {
    constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGH";
    const auto word = [&] { return random.text(kLetters, random.between(2, 9)); };
    std::string page = opening;
    while (page.size() < length) {
        const size_t kind = random.between(0, 19);
        if (kind < 12) page += word() + " ";
        if (kind >= 12 && kind < 16) page += "<p class=\"" + word() + "\">" + word() + "</p>\n";
        if (kind == 16) page += "<a href=\"" + word() + ".html\">" + word() + "</a>";
        if (kind == 17) page += "<!-- " + word() + " " + word() + " -->\n";
        if (kind == 18) page += "<script>\nvar " + word() + " = " + word() + "(0);</script>";
        if (kind == 19) page += "<div id=" + word() + "><br></div>\n";
    }
    page.resize(length);
    return page;
}

Pages makePages(size_t count, size_t length, const std::string& opening) {
    Random random(kSeed);
    Pages pages;
    for (size_t i = 0; i < count; ++i) pages.push_back(makePage(random, length, opening));
    return pages;
}

class Workplace {
  public:
    explicit Workplace(std::string folder) : file(std::move(folder) + "/set.ndb") {}

    LoadRequest write(const std::string& lines) const {
        writeText(file, lines);
        return {"baseline", file};
    }

  private:
    std::string file;
};

void countPages(const Workplace& place, const std::vector<Signature>& signatures,
                const Pages& pages) {
    const LoadedSet set(place.write(linesOf(signatures)));
    EngineInstance instance;
    measuredWork([&] { instance.scanPages(pages); });
    if (instance.isRefused()) throw std::runtime_error("the pages are refused");
}

std::vector<Signature> mixedSet(const Pages& pages) {
    PageSource source(pages);
    return bodySignatures(source, kSignatures, kSeed);
}

void countMarkup(const Workplace& place) {
    const Pages pages = makePages(8, kPageLength, "<html>");
    countPages(place, mixedSet(pages), pages);
}

void countPlain(const Workplace& place) {
    const Pages pages = makePages(4, kPageLength, "text <html>");
    countPages(place, mixedSet(pages), pages);
}

/// A set with whose beginnings hardly any text of the pages agrees.
void countScriptSet(const Workplace& place) {
    ScriptSource source;
    countPages(place, bodySignatures(source, kSignatures, kSeed),
               makePages(8, kPageLength, "<html>"));
}

void countSmallStreams(const Workplace& place) {
    ScriptSource source;
    countPages(place, bodySignatures(source, kSignatures, kSeed), makePages(300, 300, "<html>"));
}

void countHostile(const Workplace& place) {
    const Pages source = makePages(8, kPageLength, "<html>");
    constexpr size_t kTextLength = 4096;
    std::vector<Signature> all;
    Pages pages;
    for (const HostileCase& made : hostileCases(source, kSignatures / 4, 2, kTextLength, kSeed)) {
        all.insert(all.end(), made.signatures.begin(), made.signatures.end());
        for (const std::string& page : made.pages(1)) pages.push_back(page);
    }
    countPages(place, all, pages);
}

void countLoad(const Workplace& place) {
    const LoadRequest request = place.write(plainLines(5000, kSeed));
    measuredWork([&] { const LoadedSet set(request); });
}

const std::map<std::string, void (*)(const Workplace&)> kCases = {
    {"markup", countMarkup},        {"plain_mode", countPlain},
    {"script_set", countScriptSet}, {"small_streams", countSmallStreams},
    {"hostile", countHostile},      {"load", countLoad}};

void runCase(const std::string& name, const std::string& folder) {
    const auto found = kCases.find(name);
    if (found == kCases.end()) throw std::runtime_error("unknown case " + name);
    found->second(Workplace(folder));
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 2 && std::string(argv[1]) == "--list") {
            for (const auto& [name, run] : kCases) std::printf("%s\n", name.c_str());
            return 0;
        }
        if (argc != 3) return 2;
        runCase(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "instruction_count: %s\n", error.what());
        return 1;
    }
    return 0;
}
