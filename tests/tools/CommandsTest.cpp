#include <cstdlib>
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
    for (const char* words : {"", "bake", "merge", "show", "check", "merge --format xml a.xml",
                              "merge --tables Objects a.xml", "merge --quiet --verbose a.xml",
                              "merge --unknown a.xml", "show a.xml b.xml"}) {
        const Outcome result = run(words);
        EXPECT_EQ(result.status, 64) << words;
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.err, HasSubstr("rtiqn-fom: "));
    }
    const Outcome help = run("merge --help");
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, AllOf(HasSubstr("--lenient"), HasSubstr("--join")));
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
