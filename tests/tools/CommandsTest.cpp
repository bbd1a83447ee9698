#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/wait.h>
#include <vector>

#include "support/Program.h"
#include "tools/ModuleFile.h"

namespace RtiqnFom {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Tests::Outcome;
using Tests::samplePath;

/// Runs the program as a process of its own with these words, which the shell reads: they may send
/// its output elsewhere.
Outcome run(const std::string& words) {
    const Tests::TemporaryFolder folder;
    const int status = std::system(
        (RTIQN_FOM_PROGRAM " >" + folder.path("out") + " 2>" + folder.path("err") + " " + words)
            .c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Tests::readFile(folder.path("out")),
            Tests::readFile(folder.path("err"))};
}

/// A command on all the modules that merge.
std::string harbour(std::string command) {
    for (const std::string& path : Tests::harbourPaths())
        command += " " + path;
    return command + " ";
}

nlohmann::json totalsOf(const std::string& words) {
    const Outcome result = run(words + " --format json");
    EXPECT_EQ(result.status, 0) << result.err;
    return nlohmann::json::parse(result.out).at("totals").get<nlohmann::json>();
}

// -------------------------------------------------------------------------------------------------

TEST(Commands, MergeReportsEveryConflictInJson) {
    const std::string path = samplePath("HarbourConflict.xml");
    const Outcome result = run(harbour("merge --format json") + path);
    EXPECT_EQ(result.status, 1);
    auto json = nlohmann::json::parse(result.out);
    ASSERT_EQ(json.at("modules").size(), 7u);
    EXPECT_EQ(json["modules"][6]["path"], path);
    EXPECT_EQ(json["modules"][6]["status"], 1) << "of the first table that conflicts";
    EXPECT_EQ(json["totals"]["objectClasses"], 8);
    EXPECT_EQ(json["warnings"].size(), 0u);
    EXPECT_EQ(json["check"]["status"], 21);

    ASSERT_EQ(json.at("conflicts").size(), 4u);
    nlohmann::json& last = json["conflicts"][3];
    EXPECT_THAT(last["held"]["place"].get<std::string>(),
                StartsWith(samplePath("HarbourBase.xml") + ":"));
    EXPECT_THAT(last["incoming"]["place"].get<std::string>(), StartsWith(path + ":"));
    last["held"].erase("place");
    last["incoming"].erase("place");
    EXPECT_EQ(last, nlohmann::json::parse(R"({
        "status": 17, "meaning": "object classes or attributes conflict", "ignored": false,
        "module": ")" + path + R"(", "table": "Attributes", "row": "HLAobjectRoot.Vessel.Speed",
        "field": "dataType", "held": {"value": "Speed"}, "incoming": {"value": "Count"}})"));
}

TEST(Commands, TheOrderOfTheModulesDoesNotChangeTheTotals) {
    const auto totals = totalsOf(harbour("merge"));
    EXPECT_EQ(totals["attributes"], 18);
    EXPECT_EQ(totals["datatypes"], 27);
    std::string reversed;
    for (const std::string& path : Tests::harbourPaths())
        reversed = " " + path + reversed;
    EXPECT_EQ(totalsOf("merge" + reversed), totals);
}

TEST(Commands, ModulesWithNoFolderInCommonAreShownByTheirPaths) {
    const std::string relative = std::filesystem::relative(Tests::harbourPaths().at(1));
    const Outcome result = run("merge " + Tests::harbourPaths().at(0) + " " + relative);
    EXPECT_THAT(result.out, AllOf(HasSubstr(relative), HasSubstr(Tests::harbourPaths().at(0))));
}

TEST(Commands, TheDiffHasEveryRowThatAModuleBrought) {
    const Outcome result = run(harbour("merge --diff --format json"));
    const auto json = nlohmann::json::parse(result.out);
    for (const auto& module : json.at("modules")) {
        const auto& brought = module.at("brought");
        int rows = -brought.at("datatypes").get<int>();  // which the kinds of datatype add up to
        for (const auto& count : brought)
            rows += count.get<int>();
        EXPECT_EQ(module.at("added").size(), static_cast<std::size_t>(rows)) << module["path"];
        for (const auto& row : module["added"])
            EXPECT_THAT(row.at("place").get<std::string>(), StartsWith(module["path"]));
    }
    EXPECT_THAT(run(harbour("merge --diff")).out,
                HasSubstr("\nHarbourCargo.xml adds\n  Object Classes\n    + HLAobjectRoot."));
}

TEST(Commands, TheDiffTellsCompletedRowsFromNewOnes) {
    const Tests::ModuleFile scaffold(
        "<objectModel><objects><objectClass name='HLAobjectRoot'><objectClass name='Ship'/>"
        "</objectClass></objects></objectModel>");
    const Tests::ModuleFile whole(
        "<objectModel><objects><objectClass name='HLAobjectRoot'><objectClass name='Ship' "
        "sharing='Publish' semantics='floats'><attribute name='Speed'/></objectClass>"
        "</objectClass></objects></objectModel>");
    const Outcome result = run("merge --diff --quiet --format json " + scaffold.path() + " " +
                               whole.path() + " " + scaffold.path());
    const auto modules = nlohmann::json::parse(result.out).at("modules");
    EXPECT_EQ(modules[0].at("added").size(), 2u);
    EXPECT_EQ(modules[1].at("completed")[0].at("row"), "HLAobjectRoot.Ship");
    EXPECT_EQ(modules[1]["completed"][0].at("fields"),
              nlohmann::json::parse(R"(["sharing", "semantics"])"));
    EXPECT_EQ(modules[1].at("added")[0].at("row"), "HLAobjectRoot.Ship.Speed");
    EXPECT_THAT(modules[2].at("added"), IsEmpty());
    EXPECT_THAT(modules[2].at("completed"), IsEmpty());
}

TEST(Commands, AGraphHasEveryClassBelowItsParentAndNamesTheModules) {
    const Outcome result = run(harbour("graph --members"));
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out,
                AllOf(StartsWith("digraph \""),
                      HasSubstr("\"HLAobjectRoot.Vessel\" -> \"HLAobjectRoot.Vessel.Freighter\"\n"),
                      HasSubstr("\"Freighter\\nDraught: Length\\l"),
                      HasSubstr("[label=\"HarbourCargo.xml\", fillcolor=2]")));
    const Outcome refused =
        run(harbour("graph --output /dev/null/x") + samplePath("HarbourConflict.xml"));
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("HarbourConflict.xml has "));
}

TEST(Commands, NamesOfAnyKindKeepTheGraphWhole) {
    const Tests::ModuleFile odd(
        "<objectModel><objects><objectClass name='HLAobjectRoot'><objectClass name='A\\&quot;'>"
        "<attribute name='x&amp;lt;'/></objectClass></objectClass></objects></objectModel>");
    EXPECT_THAT(run("graph --members " + odd.path()).out,
                HasSubstr(R"("HLAobjectRoot.A\\\"" [label="A\\\"\nx&amp;lt;\l")"));
}

TEST(Commands, SvgIsDrawnByGraphvizOrToldToNeedIt) {
    const Tests::TemporaryFolder folder;
    const std::string path = folder.path("fom.svg");
    const auto graph = [&] {
        return OrynRti::Tests::runToEnd({"/usr/bin/env", "PATH=" + folder.path(), RTIQN_FOM_PROGRAM,
                                         "graph", "--output", path, samplePath("HarbourBase.xml")});
    };
    const Outcome missing = graph();
    EXPECT_EQ(missing.status, 3);
    EXPECT_THAT(missing.err, HasSubstr("install the package graphviz"));

    Tests::writeFile(folder.path("dot"), "#!/bin/sh\necho \"<svg>$1\"; exec /bin/cat\n");
    std::filesystem::permissions(folder.path("dot"), std::filesystem::perms::owner_all);
    EXPECT_EQ(graph().status, 0);
    EXPECT_THAT(Tests::readFile(path),
                AllOf(StartsWith("<svg>-Tsvg\ndigraph \""), HasSubstr("Vessel")));

    Tests::writeFile(folder.path("dot"), "#!/bin/sh\nexit 1\n");
    const Outcome failed = graph();
    EXPECT_EQ(failed.status, 3);
    EXPECT_THAT(failed.err, HasSubstr("'dot' failed"));
    EXPECT_THAT(Tests::readFile(path), StartsWith("<svg>")) << "as it was";
}

TEST(Commands, AWrittenModelReadsBackToTheSameTables) {
    const Tests::TemporaryFolder folder;
    const std::string path = folder.path("merged.xml");
    const Outcome written = run(harbour("merge --output " + path));
    EXPECT_EQ(written.status, 0);
    EXPECT_THAT(written.out, AllOf(HasSubstr("HarbourTraffic.xml"),
                                   HasSubstr("6 modules merged without conflict")));
    EXPECT_THAT(written.err, IsEmpty());
    EXPECT_EQ(totalsOf("merge " + path), totalsOf(harbour("merge")));

    const Outcome piped = run(harbour("merge --output -"));
    EXPECT_EQ(piped.out, Tests::readFile(path));
    EXPECT_THAT(piped.err, HasSubstr("6 modules merged")) << "the summary makes way";
}

TEST(Commands, NoModelIsWrittenByADryRunOrAFailedMerge) {
    const Tests::TemporaryFolder folder;
    const std::string path = folder.path("merged.xml");
    Tests::writeFile(path, "as it was");
    const std::string merge = harbour("merge --output " + path);
    EXPECT_EQ(run(merge + "--dry-run").status, 0);
    const Outcome failed = run(merge + "--join " + samplePath("HarbourConflict.xml"));
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.out, HasSubstr("6 of 7 modules merged, 1 refused with 4 conflicts"));
    EXPECT_THAT(failed.err, HasSubstr(path + " is not written"));
    EXPECT_EQ(Tests::readFile(path), "as it was");
}

TEST(Commands, OptionsChangeWhatConflicts) {
    const std::string conflict = samplePath("HarbourConflict.xml");
    const struct {
        std::string options;
        int status;
        std::vector<int> conflicts;
    } cases[] = {
        {"--tables updaterates,Notes", 1, {4}},
        {"--tables updaterates,Notes --lenient", 0, {}},
        {"--lenient", 1, {1, 5, 17}},
        // The module now comes first, and the others conflict with it.
        {"--mim " + conflict, 1, {17, 4, 5, 1}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options);
        const Outcome result = run(harbour("merge --format json") + conflict + " " + c.options);
        const auto json = nlohmann::json::parse(result.out);
        std::vector<int> statuses;
        for (const auto& one : json.at("conflicts"))
            if (!one.at("ignored"))
                statuses.push_back(one.at("status"));
        EXPECT_EQ(result.status, c.status);
        EXPECT_EQ(statuses, c.conflicts);
    }
}

TEST(Commands, VerbosityGoesToStandardError) {
    const std::string merge = "merge " + samplePath("HarbourSwitches.xml");
    const Outcome plain = run(merge);
    const Outcome quiet = run(merge + " --quiet");
    const Outcome verbose = run(merge + " --verbose");
    EXPECT_THAT(plain.err, HasSubstr("warning: "));
    EXPECT_THAT(quiet.err, IsEmpty());
    EXPECT_THAT(verbose.err, HasSubstr("Merging Switches"));
    EXPECT_EQ(verbose.out, plain.out);
    EXPECT_EQ(quiet.out, plain.out);
}

TEST(Commands, MalformedModulesAreAllNamedBeforeAnythingIsMerged) {
    const Tests::ModuleFile noXml("this is no XML");
    const std::string malformed = samplePath("HarbourMalformed.xml");
    const Outcome result =
        run("merge " + noXml.path() + " " + samplePath("HarbourBase.xml") + " " + malformed);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err,
                AllOf(HasSubstr(noXml.path() + ":1:"), HasSubstr(malformed + ":18:9:")));
    EXPECT_EQ(run("merge " + noXml.path() + " " + noXml.path() + ".absent").status, 3);
}

TEST(Commands, CheckTellsFailuresFromRemarks) {
    const Outcome good = run(harbour("check"));
    EXPECT_EQ(good.status, 0);
    EXPECT_THAT(good.out, AllOf(HasSubstr("HarbourBase.xml: passed"), HasSubstr("remark: ")));

    const Tests::ModuleFile bad(
        "<objectModel><updateRates><updateRate name='Never' rate='0'/></updateRates><objects>"
        "<objectClass name='HLAobjectRoot'><attribute name='A'/><objectClass name='B'>"
        "<attribute name='A'/></objectClass></objectClass></objects></objectModel>");
    const Outcome failed = run("check " + bad.path());
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.out, AllOf(HasSubstr("failure: "), HasSubstr("Never"),
                                  HasSubstr("inherited name"), HasSubstr(": failed")));
    EXPECT_EQ(run("check " + bad.path() + " " + samplePath("HarbourMalformed.xml")).status, 2);
}

TEST(Commands, ShowPrintsEveryTable) {
    const Outcome result = run("show " + samplePath("HarbourNetwork.xml"));
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out,
                AllOf(HasSubstr("Transportation Types (2)"), HasSubstr("Dimensions (1)"),
                      HasSubstr("  Track  reliable=No"), HasSubstr("Switches (0)"),
                      HasSubstr("Chart  rate=0.5"), HasSubstr("Notes (1)")));
    EXPECT_THAT(result.err, IsEmpty());
}

TEST(Commands, WrongUsageIsToldApartFromHelp) {
    for (const char* words :
         {"", "bake", "merge", "show", "check", "merge --format xml a.xml",
          "merge --tables Objects a.xml", "merge --quiet --verbose a.xml", "merge --unknown a.xml",
          "show a.xml b.xml", "graph --output a.png a.xml"}) {
        const Outcome result = run(words);
        EXPECT_EQ(result.status, 64) << words;
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.err, HasSubstr("rtiqn-fom: "));
    }
    EXPECT_THAT(run("bake").err, HasSubstr("'bake' is no command: it is one of merge, show"));
    EXPECT_THAT(run("merge --unknown a.xml").err, HasSubstr("'rtiqn-fom merge --help' tells more"));
    EXPECT_THAT(run("merge a.xml --mim").err, HasSubstr("--mim needs a value"));
    for (const char* command : {"merge", "show", "check", "graph"}) {
        const Outcome help = run(command + std::string(" --help"));
        EXPECT_EQ(help.status, 0);
        EXPECT_THAT(help.out, HasSubstr("\nExamples:\n  rtiqn-fom " + std::string(command)));
    }
    EXPECT_EQ(run("--version").out, "22.0.0\n");
}

TEST(Commands, AnOutputThatCannotBeWrittenIsNoticed) {
    const Outcome full = run(harbour("merge") + ">/dev/full");
    EXPECT_EQ(full.status, 3);
    EXPECT_THAT(full.err, HasSubstr("standard output"));
    EXPECT_EQ(run("--help >/dev/full").status, 3);
    const Outcome absent = run(harbour("merge --output /dev/null/merged.xml"));
    EXPECT_EQ(absent.status, 3);
    EXPECT_THAT(absent.err, HasSubstr("/dev/null/merged.xml"));
}

TEST(Commands, AClosedPipeIsNoticed) {
    const Tests::ModuleFile status("");
    const std::string script = "(" RTIQN_FOM_PROGRAM " show " + samplePath("HarbourBase.xml") +
                               " 2>/dev/null; echo $? >" + status.path() + ") | exec true";
    // The reader may end before or behind the write: a few tries see a closed pipe.
    for (int i = 0; i < 50 && Tests::readFile(status.path()) != "3\n"; ++i)
        ASSERT_NE(std::system(script.c_str()), -1);
    EXPECT_EQ(Tests::readFile(status.path()), "3\n");
}

}  // namespace
}  // namespace RtiqnFom
