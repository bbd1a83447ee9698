#include "ReportArguments.h"

#include <CLI/CLI.hpp>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "PduKinds.h"

namespace RtiqnDis {

namespace {

/// What was given for the selection, until all of it is known.
struct SelectionTexts {
    std::vector<std::uint8_t> versions;
    std::vector<std::uint8_t> exercises;
    std::vector<std::string> kinds;
    std::vector<std::string> excludedKinds;
};

std::string kindComplaint(const std::string& text) {
    return parseKind(text) ? std::string() : "'" + text + "' is no kind of PDU";
}

std::vector<std::uint8_t> kindsOf(const std::vector<std::string>& texts) {
    std::vector<std::uint8_t> kinds;
    kinds.reserve(texts.size());
    for (const std::string& text : texts)
        kinds.push_back(parseKind(text).value());
    return kinds;
}

/// One argument that is a list; further ones are added to it.
void makeList(CLI::Option* option, const char* shape) {
    option->delimiter(',')->take_all()->expected(1)->allow_extra_args(false)->option_text(shape);
}

void addSelection(CLI::App& command, const std::shared_ptr<SelectionTexts>& texts) {
    makeList(
        command.add_option("--dis-version", texts->versions, "Only PDUs of these DIS versions")
            ->check(CLI::Range(0, 255)),
        "N,...");
    makeList(command.add_option("--exercise", texts->exercises, "Only PDUs of these exercises")
                 ->check(CLI::Range(0, 255)),
             "N,...");
    makeList(command
                 .add_option("--kind", texts->kinds,
                             "Only PDUs of these kinds, by number or name (\"Entity State\", fire)")
                 ->check(kindComplaint),
             "N|NAME,...");
    makeList(command.add_option("--not-kind", texts->excludedKinds, "No PDUs of these kinds")
                 ->check(kindComplaint),
             "N|NAME,...");
}

}  // namespace

void addReportArguments(CLI::App& command, ReportOptions& options, int lowestPort) {
    const auto texts = std::make_shared<SelectionTexts>();
    command
        .add_option("--port", options.port, "The UDP port that the datagrams are sent to (3000)")
        ->check(CLI::Range(lowestPort, 65535))
        ->option_text("N");
    addSelection(command, texts);
    command.add_option("--count", options.count, "End after N PDUs")
        ->check(CLI::PositiveNumber)
        ->option_text("N");
    static const std::map<std::string, OutputFormat> formats = {{"text", OutputFormat::Text},
                                                                {"json", OutputFormat::Json},
                                                                {"ndjson", OutputFormat::Ndjson}};
    command.add_option("--format", options.format, "Form of the output: text, json or ndjson")
        ->transform(CLI::CheckedTransformer(formats))
        ->option_text("text|json|ndjson");
    command.add_flag("--strict", options.strict,
                     "Exit with status 1 when data was incomplete or broken");
    command.add_flag("--quiet", options.quiet, "Only the table at the end, no PDUs");
    command.parse_complete_callback([texts, &options] {
        options.selection.versions = byteSet(texts->versions);
        options.selection.exercises = byteSet(texts->exercises);
        options.selection.selectKinds(kindsOf(texts->kinds), kindsOf(texts->excludedKinds));
    });
}

}  // namespace RtiqnDis
