// zvk keywords: prints which keywords of a list each file contains.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "command/Command.h"
#include "file/FileWalker.h"
#include "run/KeywordFinder.h"
#include "run/KeywordStream.h"
#include "run/ScanRun.h"
#include "set/KeywordList.h"

namespace zvk {

namespace {

constexpr const char* kFooter = R"(Examples:
  zvk keywords --list words.txt page.html
  zvk keywords -l words.txt -l more.txt --json /srv/www > results.jsonl
  curl -s http://localhost/ | zvk keywords -l words.txt -

Prints a line for each keyword that a file contains (PATH: KEYWORD), then a summary. A keyword is
printed once for each file, as the list has it and in the order of the lists. Keywords that overlap
are all found. Files of any kind are searched, byte by byte: A to Z match in either case, and
white space counts. Folders are searched with all folders inside them; symbolic links and special
files are skipped.

A list has one keyword on each line, of 2 to 256 bytes. Empty lines and lines that begin with # are
skipped. Spaces at the start or end of a line belong to the keyword; a carriage return at the end
does not, nor does a byte order mark at the start of the file. A keyword that cannot be used is
reported on standard error and left out. Of keywords that differ only in case, the first is used.

Exit status: 0 nothing found, 1 something found, 2 an error (also if something was found).)";

struct KeywordsArguments {
    std::vector<std::string> lists;
    RunOptions run;
};

ExitStatus run(const KeywordsArguments& arguments) {
    const auto isStandardInput = [](const std::string& path) { return path == kStandardInput; };
    if (std::count_if(arguments.lists.begin(), arguments.lists.end(), isStandardInput) +
            std::count_if(arguments.run.paths.begin(), arguments.run.paths.end(), isStandardInput) >
        1) {
        throw KeywordListError("standard input can be one list or one text, not both");
    }
    const std::vector<std::string> keywords = readKeywordLists(arguments.lists);
    const KeywordFinder finder(keywords);
    return runScan(arguments.run,
                   [&] { return std::make_unique<KeywordStreams>(finder, keywords); });
}

CommandAction setUp(CLI::App& parser) {
    auto arguments = std::make_shared<KeywordsArguments>();
    parser.add_option("-l,--list", arguments->lists, "Keyword list; may be given more than once")
        ->required()
        ->allow_extra_args(false)  // the next argument is a path
        ->type_name("FILE");
    arguments->run.addTo(parser);
    parser.footer(kFooter);
    return [arguments] { return run(*arguments); };
}

const Command kKeywords("keywords", "Find the keywords of a list in files", setUp);

}  // namespace

}  // namespace zvk
