// zvk pack: makes a container pattern file from plain ones.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <map>
#include <memory>
#include <string_view>

#include "command/Command.h"
#include "console/Diagnostics.h"
#include "console/Output.h"
#include "file/ReplacedFile.h"
#include "pattern/PatternLoader.h"
#include "pattern/PlainLineReader.h"
#include "pattern/container/BodyRestoration.h"
#include "pattern/container/ContainerWriter.h"
#include "pattern/line/PatternType.h"
#include "pattern/line/SignatureLine.h"
#include "set/PatternFile.h"
#include "store/PatternContainer.h"
#include "support/Exception.h"

namespace zvk {

namespace {

using namespace STREAMENGINE_SPACE;

constexpr const char* kFooter = R"(Examples:
  zvk pack -o base sample.ndb sample.db sample.hdb
  zvk pack -o update --set-version 2.0.0.1 --strict new.ndb

Packs the lines of .db, .ndb and .hdb files into one container, which the engine loads like them. A
line that the engine's own parsers or the format refuse is left out and printed as FILE:LINE: reason;
with --strict nothing is written then.

The engine reports the build time as the version of the set. Without --build-time it is the value of
the environment variable SOURCE_DATE_EPOCH or, if that is not set, the current time. Equal input,
settings and build time give equal bytes.

A cipher only keeps names and signatures from being read by chance, as its key is in the file. Loading a
container takes about 1.3 times as long as loading the plain files, 1.6 times with des and 2 to 3 times
with 3des.

Exit status: 0 all lines were packed, 1 some were refused, 2 an error.)";

struct PackArguments {
    std::string output;
    std::vector<std::string> inputs;
    ContainerSettings settings;
    bool isStrict = false;
};

class Packer {
  public:
    explicit Packer(const PackArguments& packArguments)
        : arguments(packArguments), writer(packArguments.settings) {}

    ExitStatus run() {
        checkNames();
        for (const std::string& path : arguments.inputs) addFile(path);
        if (arguments.isStrict && refusedCount > 0) {
            complain(fmt::format("{}: not written, as {} refused", arguments.output,
                                 countOf(refusedCount, "line was", "lines were")));
            return kFailed;
        }
        write();
        return refusedCount > 0 ? kSomethingFound : kNothingFound;
    }

  private:
    static std::string countOf(uint64_t count, const char* one, const char* many) {
        return fmt::format("{} {}", count, count == 1 ? one : many);
    }

    void checkNames() const {
        const std::string& output = arguments.output;
        if (PatternLoader::getPatternType(output.c_str()) != PATTERN_CONTAINER) {
            throw PatternError(fmt::format(
                "cannot write {}: the engine reads a file as a container only if its name has no "
                "dot and does not end in hwinfo",
                output));
        }
        for (const std::string& path : arguments.inputs) {
            std::error_code error;
            if (std::filesystem::equivalent(path, output, error)) {
                throw PatternError(
                    fmt::format("cannot write {}: it is {}, which is to be packed", output, path));
            }
            switch (PatternLoader::getPatternType(path.c_str())) {
                case PATTERN_MD5:
                case PATTERN_BASIC:
                case PATTERN_EXTENDED:
                    break;
                default:
                    throw PatternError(fmt::format(
                        "cannot pack {}: its name ends neither in .db nor in .ndb nor in .hdb",
                        path));
            }
        }
    }

    void addFile(const std::string& path) {
        const QLT_SPACE::FilePtr file = openPatternFile(path);
        const int type = PatternLoader::getPatternType(path.c_str());
        PlainLineReader reader(file.get());
        while (reader.next()) {
            try {
                addSignatureLine(parsed, reader.line(), type, false);
                writer.addLine(reader.line(), type);
            } catch (QLT_SPACE::Exception& refusal) {
                ++refusedCount;
                complain(fmt::format("{}:{}: {}", path, reader.lineNumber(), refusal.toString()));
            }
        }
        if (std::ferror(file.get()) != 0) throw PatternError(fmt::format("cannot read {}", path));
    }

    void write() {
        ReplacedFile target(arguments.output);
        uint64_t bodyLength = 0;
        uint64_t limit = 0;
        try {
            bodyLength = writer.write(target.stream());
            limit = bodyLimit(static_cast<uint64_t>(ftello(target.stream())));
        } catch (QLT_SPACE::Exception& failure) {
            throw PatternError(
                fmt::format("cannot write {}: {}", arguments.output, failure.toString()));
        }
        target.commit();
        writeOutput(fmt::format("{}: {}, {}\n", printable(arguments.output),
                                countOf(writer.patternTotal(), "signature", "signatures"),
                                countOf(writer.nameTotal(), "name", "names")));
        flushOutput();
        if (writer.patternTotal() == 0)
            complain(fmt::format("{}: holds no signature", arguments.output));
        if (bodyLength > limit) {
            complain(
                fmt::format("{}: its restored body has {} bytes; a host loads it only if the "
                            "environment variable {} allows that many",
                            arguments.output, bodyLength, kBodyLimitVariable));
        }
    }

    const PackArguments& arguments;
    ContainerWriter writer;
    PatternContainer parsed;  // filled only to find the lines that the engine refuses
    uint64_t refusedCount = 0;
};

/// @return whether the whole text is a decimal number of 32 bits
bool parseNumber(std::string_view text, uint32_t& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

uint32_t defaultBuildTime() {
    const char* epoch = std::getenv("SOURCE_DATE_EPOCH");  // NOLINT(concurrency-mt-unsafe)
    if (epoch == nullptr) return static_cast<uint32_t>(std::time(nullptr));
    uint32_t time = 0;
    if (!parseNumber(epoch, time)) {
        throw PatternError(
            fmt::format("SOURCE_DATE_EPOCH is '{}', not seconds from 0 to 4294967295", epoch));
    }
    return time;
}

uint32_t parseBuildTime(const std::string& text) {
    uint32_t time = 0;
    if (parseNumber(text, time)) return time;
    throw CLI::ValidationError("--build-time",
                               fmt::format("'{}' is not seconds from 0 to 4294967295", text));
}

std::array<uint32_t, 4> parseVersion(std::string_view text) {
    std::array<uint32_t, 4> version{};
    std::string_view rest = text;
    for (size_t i = 0; i < version.size(); ++i) {
        const bool isLast = i + 1 == version.size();
        const size_t end = isLast ? rest.size() : std::min(rest.find('.'), rest.size());
        if (!parseNumber(rest.substr(0, end), version[i]) || (!isLast && end == rest.size())) {
            throw CLI::ValidationError(
                "--set-version", fmt::format("'{}' is not four numbers, like 1.0.0.37", text));
        }
        rest.remove_prefix(isLast ? end : end + 1);
    }
    return version;
}

/// Declares an option whose value is one of a few words.
template <class Value>
void addChoice(CLI::App& parser, const char* name, const std::map<std::string, Value>& choices,
               Value& chosen, const char* typeName, const char* description) {
    parser
        .add_option_function<std::string>(
            name, [choices, &chosen](const std::string& word) { chosen = choices.at(word); },
            description)
        ->check(CLI::IsMember(choices).description(""))
        ->type_name(typeName);
}

/// Declares the options that set the container's own fields.
/// @return the option of the build time, which has a default that is not constant
const CLI::Option* addSettings(CLI::App& parser, ContainerSettings& settings) {
    addChoice<CipherMethod>(
        parser, "--cipher",
        {{"none", kCipherNone}, {"des", kCipherDes}, {"3des", kCipherTripleDes}},
        settings.cipherMethod, "CIPHER", "none (the default), des or 3des");
    const auto* buildTime =
        parser
            .add_option_function<std::string>(
                "--build-time",
                [&settings](const std::string& text) { settings.buildTime = parseBuildTime(text); },
                "Seconds since 1970-01-01 UTC")
            ->type_name("N");
    parser
        .add_option_function<std::string>(
            "--set-version",
            [&settings](const std::string& text) { settings.version = parseVersion(text); },
            "Version of the signature set, 0.0.0.0 by default")
        ->type_name("A.B.C.D");
    addChoice<bool>(parser, "--names", {{"fixed", true}, {"variable", false}}, settings.fixedNames,
                    "FORM",
                    "How names are stored: fixed, all padded to the length of the longest, or "
                    "variable (the default)");
    return buildTime;
}

CommandAction setUp(CLI::App& parser) {
    auto arguments = std::make_shared<PackArguments>();
    parser.add_option("-o,--output", arguments->output, "The container; its name has no dot")
        ->required()
        ->type_name("FILE");
    parser.add_option("files", arguments->inputs, "Plain pattern files: .db, .ndb, .hdb")
        ->required()
        ->type_name("SIGFILE");
    const CLI::Option* buildTime = addSettings(parser, arguments->settings);
    parser.add_flag("--strict", arguments->isStrict, "Write nothing if a line is refused");
    parser.footer(kFooter);
    return [arguments, buildTime] {
        if (buildTime->empty()) arguments->settings.buildTime = defaultBuildTime();
        return Packer(*arguments).run();
    };
}

const Command kPack("pack", "Make a container pattern file from plain ones", setUp);

}  // namespace

}  // namespace zvk
