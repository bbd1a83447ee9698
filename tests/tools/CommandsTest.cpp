#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/wait.h>
#include <vector>

#include "tools/ModuleFile.h"

namespace RtiqnFom {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Tests::samplePath;

/// What the program left.
struct Outcome {
    int status;
    std::string out;
    std::string err;
};

std::string quoted(const std::string& word) {
    return "'" + word + "'";
}

/// Runs the program as a process of its own. `out` is where its standard output goes; by default
/// it is caught.
Outcome run(const std::vector<std::string>& words, const std::string& out = "") {
    const Tests::TemporaryFolder folder;
    const std::string outPath = out.empty() ? folder.path("out") : out;
    std::string command = quoted(RTIQN_FOM_PROGRAM);
    for (const std::string& word : words)
        command += " " + quoted(word);
    command += " >" + quoted(outPath) + " 2>" + quoted(folder.path("err"));
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            out.empty() ? Tests::readText(outPath) : "", Tests::readText(folder.path("err"))};
}

std::vector<std::string> harbour(const std::string& command) {
    return {command,
            samplePath("HarbourBase.xml"),
            samplePath("HarbourCargo.xml"),
            samplePath("HarbourDatatypes.xml"),
            samplePath("HarbourNetwork.xml"),
            samplePath("HarbourSwitches.xml"),
            samplePath("HarbourTraffic.xml")};
}

std::vector<std::string> with(std::vector<std::string> words, std::vector<std::string> more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

nlohmann::json totalsOf(const std::vector<std::string>& words) {
    const Outcome result = run(with(words, {"--format", "json"}));
    EXPECT_EQ(result.status, 0) << result.err;
    nlohmann::json totals = nlohmann::json::parse(result.out).at("totals");
    return totals;
}

// -------------------------------------------------------------------------------------------------

TEST(Commands, MergePrintsASummaryAndNothingElse) {
    const Outcome result = run(harbour("merge"));
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, AllOf(HasSubstr("HarbourTraffic.xml"), HasSubstr("federation"),
                                  HasSubstr("6 modules merged without conflict")));
    EXPECT_THAT(result.err, IsEmpty());
}

TEST(Commands, MergeReportsEveryConflictInJson) {
    const std::string path = samplePath("HarbourConflict.xml");
    const Outcome result = run(with(harbour("merge"), {"--format", "json", path}));
    EXPECT_EQ(result.status, 1);
    const auto json = nlohmann::json::parse(result.out);
    ASSERT_EQ(json.at("modules").size(), 7u);
    EXPECT_EQ(json["modules"][6]["path"], path);
    EXPECT_EQ(json["modules"][6]["status"], 1) << "of the first table that conflicts";
    EXPECT_EQ(json["totals"]["objectClasses"], 8);
    ASSERT_EQ(json.at("conflicts").size(), 4u);
    const auto& last = json["conflicts"][3];
    EXPECT_EQ(last["status"], 17);
    EXPECT_EQ(last["meaning"], "object classes or attributes conflict");
    EXPECT_EQ(last["table"], "Attributes");
    EXPECT_EQ(last["row"], "HLAobjectRoot.Vessel.Speed");
    EXPECT_EQ(last["field"], "dataType");
    EXPECT_EQ(last["held"]["value"], "Speed");
    EXPECT_THAT(last["held"]["place"].get<std::string>(),
                StartsWith(samplePath("HarbourBase.xml")));
    EXPECT_EQ(last["incoming"]["value"], "Count");
    EXPECT_THAT(last["incoming"]["place"].get<std::string>(), StartsWith(path + ":"));
    EXPECT_EQ(json["warnings"].size(), 0u);
    EXPECT_EQ(json["check"]["status"], 21);
}

TEST(Commands, TheOrderOfTheModulesDoesNotChangeTheTotals) {
    std::vector<std::string> words = harbour("merge");
    const auto totals = totalsOf(words);
    std::reverse(words.begin() + 1, words.end());
    EXPECT_EQ(totalsOf(words), totals);
    EXPECT_EQ(totals["attributes"], 18);
    EXPECT_EQ(totals["datatypes"], 27);
}

TEST(Commands, AWrittenModelReadsBackToTheSameTables) {
    const Tests::TemporaryFolder folder;
    const std::string path = folder.path("merged.xml");
    const Outcome written = run(with(harbour("merge"), {"--output", path}));
    ASSERT_EQ(written.status, 0) << written.err;
    EXPECT_EQ(totalsOf({"merge", path}), totalsOf(harbour("merge")));

    const Outcome piped = run(with(harbour("merge"), {"--output", "-"}));
    EXPECT_EQ(piped.out, Tests::readText(path));
    EXPECT_THAT(piped.err, HasSubstr("6 modules merged")) << "the summary makes way";
}

TEST(Commands, NoModelIsWrittenByADryRunOrAFailedMerge) {
    const Tests::TemporaryFolder folder;
    const std::string path = folder.path("merged.xml");
    Tests::writeText(path, "as it was");
    EXPECT_EQ(run(with(harbour("merge"), {"--dry-run", "--output", path})).status, 0);
    const Outcome failed = run(
        with(harbour("merge"), {"--output", path, "--join", samplePath("HarbourConflict.xml")}));
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, HasSubstr(path + " is not written"));
    EXPECT_EQ(Tests::readText(path), "as it was");
}

TEST(Commands, OptionsChangeWhatConflicts) {
    const std::string conflict = samplePath("HarbourConflict.xml");
    const auto conflicts = [&](const std::vector<std::string>& options) {
        const Outcome result =
            run(with(with(harbour("merge"), {conflict, "--format", "json"}), options));
        const auto json = nlohmann::json::parse(result.out);
        std::vector<int> statuses;
        for (const auto& one : json.at("conflicts"))
            if (!one.at("ignored"))
                statuses.push_back(one.at("status"));
        return std::make_pair(result.status, statuses);
    };
    EXPECT_EQ(conflicts({"--tables", "updaterates,Notes"}), std::make_pair(1, std::vector<int>{4}));
    EXPECT_EQ(conflicts({"--tables", "updaterates,Notes", "--lenient"}),
              std::make_pair(0, std::vector<int>{}));
    EXPECT_EQ(conflicts({"--lenient"}), std::make_pair(1, (std::vector<int>{1, 5, 17})));
    EXPECT_EQ(conflicts({"--mim", conflict}).second, (std::vector<int>{17, 4, 5, 1}))
        << "the others conflict with the module that now comes first";
}

TEST(Commands, VerbosityGoesToStandardError) {
    std::vector<std::string> words = {"merge", samplePath("HarbourSwitches.xml")};
    const Outcome plain = run(words);
    EXPECT_THAT(plain.err, HasSubstr("warning: "));
    const Outcome quiet = run(with(words, {"--quiet"}));
    EXPECT_THAT(quiet.err, IsEmpty());
    const Outcome verbose = run(with(words, {"--verbose"}));
    EXPECT_THAT(verbose.err, HasSubstr("Merging Switches"));
    EXPECT_EQ(verbose.out, plain.out);
    EXPECT_EQ(quiet.out, plain.out);
}

TEST(Commands, MalformedModulesAreAllNamedBeforeAnythingIsMerged) {
    const Tests::TemporaryFolder folder;
    const std::string noXml = folder.path("no.xml");
    Tests::writeText(noXml, "this is no XML");
    const std::string malformed = samplePath("HarbourMalformed.xml");
    const Outcome result = run({"merge", noXml, samplePath("HarbourBase.xml"), malformed});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, AllOf(HasSubstr(noXml + ":1:"), HasSubstr(malformed + ":18:9:")));
    EXPECT_EQ(run({"merge", noXml, folder.path("absent.xml")}).status, 3);
}

TEST(Commands, MissingSwitchesFailWithTheRemedy) {
    const Outcome result = run({"merge", samplePath("HarbourDatatypes.xml")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.out, AllOf(HasSubstr("Missing switch"), HasSubstr("Remedy")));
}

TEST(Commands, CheckTellsFailuresFromRemarks) {
    const Outcome good = run(harbour("check"));
    EXPECT_EQ(good.status, 0);
    EXPECT_THAT(good.out, AllOf(HasSubstr("HarbourBase.xml: passed"), HasSubstr("remark: ")));

    const Tests::ModuleFile bad(
        "<objectModel><updateRates><updateRate><name>Never</name><rate>0</rate></updateRate>"
        "</updateRates><objects><objectClass><name>HLAobjectRoot</name>"
        "<attribute><name>A</name></attribute><objectClass><name>B</name>"
        "<attribute><name>A</name></attribute></objectClass></objectClass></objects></"
        "objectModel>");
    const Outcome failed = run({"check", bad.path()});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.out, AllOf(HasSubstr("failure: "), HasSubstr("Never"),
                                  HasSubstr("inherited name"), HasSubstr(": failed")));
    EXPECT_EQ(run({"check", bad.path(), samplePath("HarbourMalformed.xml")}).status, 2);
}

TEST(Commands, ShowPrintsEveryTable) {
    const Outcome result = run({"show", samplePath("HarbourNetwork.xml")});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out,
                AllOf(HasSubstr("Transportation Types (2)"), HasSubstr("Dimensions (1)"),
                      HasSubstr("  Track  reliable=No"), HasSubstr("Switches (0)"),
                      HasSubstr("Chart  rate=0.5"), HasSubstr("Notes (1)")));
    EXPECT_THAT(result.err, IsEmpty());
}

TEST(Commands, WrongUsageIsToldApart) {
    const std::vector<std::vector<std::string>> wrong = {{},
                                                         {"bake"},
                                                         {"merge"},
                                                         {"show"},
                                                         {"check"},
                                                         {"merge", "--format", "xml", "a.xml"},
                                                         {"merge", "--tables", "Objects", "a.xml"},
                                                         {"merge", "--quiet", "--verbose", "a.xml"},
                                                         {"merge", "--unknown", "a.xml"},
                                                         {"show", "a.xml", "b.xml"}};
    for (const auto& words : wrong) {
        const Outcome result = run(words);
        EXPECT_EQ(result.status, 64) << testing::PrintToString(words);
        EXPECT_THAT(result.out, IsEmpty());
        EXPECT_THAT(result.err, HasSubstr("rtiqn-fom: "));
    }
}

TEST(Commands, HelpAndVersionAreResults) {
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, AllOf(HasSubstr("Exit status:"), HasSubstr("Examples:")));
    EXPECT_THAT(run({"merge", "--help"}).out, AllOf(HasSubstr("--lenient"), HasSubstr("--join")));
    EXPECT_EQ(run({"--version"}).out, "22.0.0\n");
}

TEST(Commands, AnOutputThatCannotBeWrittenIsNoticed) {
    const Outcome full = run(harbour("merge"), "/dev/full");
    EXPECT_EQ(full.status, 3);
    EXPECT_THAT(full.err, HasSubstr("standard output"));
    EXPECT_EQ(run({"--help"}, "/dev/full").status, 3);
    const Tests::TemporaryFolder folder;
    const Outcome absent =
        run(with(harbour("merge"), {"--output", folder.path("absent/merged.xml")}));
    EXPECT_EQ(absent.status, 3);
    EXPECT_THAT(absent.err, HasSubstr("absent/merged.xml"));
}

TEST(Commands, AClosedPipeIsNoticed) {
    const Tests::TemporaryFolder folder;
    const std::string script = "(" + quoted(RTIQN_FOM_PROGRAM) + " show " +
                               quoted(samplePath("HarbourBase.xml")) + " 2>" +
                               quoted(folder.path("err")) + "; echo $? >" +
                               quoted(folder.path("status")) + ") | exec true";
    // The reader may end before or behind the write: a few tries see a closed pipe.
    std::string status;
    for (int i = 0; i < 50 && status != "3\n"; ++i) {
        ASSERT_NE(std::system(script.c_str()), -1);
        status = Tests::readText(folder.path("status"));
    }
    EXPECT_EQ(status, "3\n");
}

}  // namespace
}  // namespace RtiqnFom
