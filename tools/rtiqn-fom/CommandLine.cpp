#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "CheckCommand.h"
#include "FedTarget.h"
#include "Federation.h"
#include "GraphCommand.h"
#include "MergeCommand.h"
#include "Print.h"
#include "ShowCommand.h"
#include "Vocabulary.h"
#include "Words.h"
#include "common/ProgramRun.h"

namespace RtiqnFom {

using namespace OrynRti;
using namespace RtiqnTools;

namespace {

constexpr const char* theDescription =
    "Merges the modules of a federation object model (FOM), shows one, checks some, or draws "
    "them.\n"
    "\n"
    "A FOM says which objects and interactions the members of an HLA federation exchange. It comes "
    "as modules, OMT documents in XML, that are merged into one model: this program reads those of "
    "IEEE 1516-2000, 1516-2010 and 1516-2025 and tells where they disagree.";

constexpr const char* theFooter =
    "Exit status:\n"
    "  0   merged and checked, or shown, passed, drawn\n"
    "  1   modules conflict, or a check failed\n"
    "  2   a module is malformed: standard error says FILE:LINE:COLUMN\n"
    "  3   a file cannot be read or written\n"
    "  64  wrong usage\n"
    "\n"
    "The result goes to standard output, everything else to standard error.\n"
    "\n"
    "Examples:\n"
    "  rtiqn-fom merge --mim MIM.xml Base.xml Radio.xml  merge three modules, show a summary\n"
    "  rtiqn-fom merge Base.xml --join Radio.xml  let one join the federation later\n"
    "  rtiqn-fom merge --output FOM.xml Base.xml Radio.xml  write the merged model\n"
    "  rtiqn-fom show Base.xml  print every table of a module\n"
    "  rtiqn-fom check *.xml  check each module by itself\n"
    "  rtiqn-fom graph --output FOM.svg Base.xml Radio.xml  draw the trees of classes\n"
    "\n"
    "'rtiqn-fom merge --help' and so on tell more of each command.";

constexpr const char* theMergeDescription =
    "Merges modules into one federation and says what each brought. Every conflict is shown, and "
    "what the check after the merge found. A module that conflicts is left out as a whole; the "
    "others are merged all the same. The order of modules matters where a first statement stays.";

constexpr const char* theMergeFooter =
    "Conflicts of time representations, dimensions, classes, attributes and parameters refuse a "
    "module with --lenient, too; datatypes never conflict before the edition of 2025, the first of "
    "a name stays. A federation of IEEE 1516-2000 or 1516-2010 must state its switches: merge the "
    "module that has them as well.\n"
    "\n"
    "Examples:\n"
    "  rtiqn-fom merge --mim MIM.xml Base.xml Switches.xml --join Radio.xml --diff\n"
    "      also show the rows that each module added\n"
    "  rtiqn-fom merge --tables ObjectClass,InteractionClass --format json *.xml\n"
    "      what programs read, of two tables only\n"
    "  rtiqn-fom merge --output - Base.xml Radio.xml | xmllint --format -\n"
    "      the merged model goes through a pipe, the summary to standard error";

constexpr const char* theShowFooter =
    "Examples:\n"
    "  rtiqn-fom show Base.xml | less -S  page through a module\n"
    "  rtiqn-fom show Base.xml | grep -w Position  where a name comes up\n";

constexpr const char* theCheckDescription =
    "Checks each module by itself. Malformed rows, rows that come twice, update rates of zero and "
    "empty names fail; missing switches and references left to other modules are remarks.";

constexpr const char* theCheckFooter =
    "Examples:\n"
    "  rtiqn-fom check *.xml\n"
    "  rtiqn-fom check *.xml | grep -v '^remark'  only what fails or is doubtful\n";

constexpr const char* theGraphDescription =
    "Draws the trees of object and interaction classes. Each class has the colour of the module "
    "that brought it. The picture is a graph in the DOT language of Graphviz, or SVG, which "
    "Graphviz draws: its package has to be installed for that.";

constexpr const char* theGraphFooter =
    "Examples:\n"
    "  rtiqn-fom graph --output FOM.svg Base.xml Radio.xml  for the browser\n"
    "  rtiqn-fom graph --members Radio.xml | dot -Tpdf -o Radio.pdf  any format of Graphviz\n";

std::vector<std::string> tableNames() {
    std::vector<std::string> names;
    for (const DtMergeFomTableMask table : mergeTables())
        names.push_back(textOf(DtFedTarget::enumAsString(table)));
    return names;
}

std::uint64_t maskOf(const std::vector<std::string>& names) {
    std::uint64_t mask = 0;
    for (const DtMergeFomTableMask table : mergeTables())
        for (const std::string& name : names)
            if (sameWord(name, textOf(DtFedTarget::enumAsString(table))))
                mask |= table;
    return mask;
}

void addMerge(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("merge", theMergeDescription);
    command->footer(theMergeFooter);
    struct Values {
        MergeOptions options;
        std::vector<std::string> tables;
        std::string format = "text";
    };
    const auto values = std::make_shared<Values>();
    MergeOptions& options = values->options;
    command
        ->add_option("MODULE", options.modules, "Modules that create the federation, in this order")
        ->required()
        ->option_text(" ");
    command->add_option("--join", options.joining, "Modules that join the federation afterwards")
        ->option_text("MODULE.xml...");
    command->add_option("--mim", options.mim, "The management module, merged before all others")
        ->option_text("FILE");
    command->add_flag("--lenient", options.lenient,
                      "Only warn of conflicts, but for those named below");
    command
        ->add_option("--tables", values->tables,
                     "Merge these tables only and skip the checks of all others: " +
                         joined(tableNames(), ", "))
        ->delimiter(',')
        ->check(CLI::IsMember(tableNames(), CLI::ignore_case))
        ->take_all()
        ->expected(1)
        ->option_text("A,B,...");
    command
        ->add_option("--output", options.output,
                     "Write the merged model to FILE, or for '-' to standard output (the summary "
                     "then goes to standard error); nothing is written when the merge or the check "
                     "fails")
        ->option_text("FILE|-");
    command->add_flag("--dry-run", options.dryRun, "Write no model, whatever --output says");
    command->add_flag("--diff", options.diff, "Show every row that a module added or completed");
    command->add_option("--format", values->format, "Form of the summary: text (default) or json")
        ->check(CLI::IsMember({"text", "json"}))
        ->option_text("text|json");
    command->callback([values, choose] {
        if (!values->tables.empty())
            values->options.tables = maskOf(values->tables);
        values->options.json = values->format == "json";
        choose([values] { return runMerge(values->options); });
    });
}

void addShow(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("show", "Prints every table of a module, a row a line.");
    command->footer(theShowFooter);
    const auto path = std::make_shared<std::string>();
    command->add_option("MODULE", *path, "The module")->required()->option_text(" ");
    command->callback([path, choose] { choose([path] { return runShow(*path); }); });
}

void addCheck(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("check", theCheckDescription);
    command->footer(theCheckFooter);
    const auto paths = std::make_shared<std::vector<std::string>>();
    command->add_option("MODULE", *paths, "The modules")->required()->option_text(" ");
    command->callback([paths, choose] { choose([paths] { return runCheck(*paths); }); });
}

void addGraph(CLI::App& app, const Choose& choose) {
    CLI::App* command = app.add_subcommand("graph", theGraphDescription);
    command->footer(theGraphFooter);
    const auto options = std::make_shared<GraphOptions>();
    command->add_option("MODULE", options->modules, "The modules, merged in this order")
        ->required()
        ->option_text(" ");
    command
        ->add_option("--output", options->output,
                     "Write the picture to FILE instead of standard output")
        ->option_text("FILE");
    command
        ->add_option("--format", options->format,
                     "Form of the picture: dot or svg; svg by default when FILE ends in .svg")
        ->check(CLI::IsMember({"dot", "svg"}))
        ->option_text("dot|svg");
    command->add_flag("--members", options->members, "List attributes and parameters, too");
    command->callback([options, choose] { choose([options] { return runGraph(*options); }); });
}

void addVerbosity(CLI::App& app) {
    for (CLI::App* command : app.get_subcommands(nullptr)) {
        CLI::Option* quiet = command->add_flag_callback(
            "--quiet", [] { DtNotifyLevel = 0; }, "Give no warnings");
        command
            ->add_flag_callback(
                "--verbose", [] { DtNotifyLevel = 3; }, "Tell every step of the merge")
            ->excludes(quiet);
    }
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
    CLI::App app(theDescription, "rtiqn-fom");
    app.footer(theFooter);
    Command command;
    const Choose choose = [&](Command chosen) { command = std::move(chosen); };
    addMerge(app, choose);
    addShow(app, choose);
    addCheck(app, choose);
    addGraph(app, choose);
    addVerbosity(app);
    return RtiqnTools::runProgram(app, argc, argv, command);
}

}  // namespace RtiqnFom
