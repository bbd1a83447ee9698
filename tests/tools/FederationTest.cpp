#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "Conflicts.h"
#include "Federation.h"
#include "support/Notifications.h"
#include "tools/ModuleFile.h"

namespace RtiqnFom {
namespace {

using OrynRti::Tests::CapturedNotifications;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr OrynRti::DtFomType the2010 = OrynRti::DtFomTypeIeee1516_2010;
constexpr OrynRti::DtFomType the2025 = OrynRti::DtFomTypeIeee1516_2025;

/// A module whose tables begin on line 3, read back from a file.
LoadedModule module(const std::string& tables, OrynRti::DtFomType edition = the2010) {
    const std::string year = edition == the2025 ? "2025" : "2010";
    const Tests::ModuleFile file("<objectModel xmlns='http://standards.ieee.org/IEEE1516-" + year +
                                 "'>\n<modelIdentification><name>Module</name>"
                                 "</modelIdentification>\n" +
                                 tables + "</objectModel>");
    return loadModule(file.path());
}

/// A federation that merged modules with these tables, one behind the other.
Federation merged(const std::vector<std::string>& modules, const MergeRules& rules = {the2010}) {
    Federation federation(rules);
    for (const std::string& tables : modules)
        federation.merge(module(tables, rules.edition), true);
    federation.check();
    return federation;
}

std::string row(const std::string& table, const std::string& fields) {
    return "<" + table + "><" + fields + "/></" + table + ">";
}

/// Every switch that the edition of 2010 asks for.
std::string switches(const std::string& autoProvide) {
    return "<switches autoProvide='" + autoProvide +
           "' conveyRegionDesignatorSets='No' conveyProducingFederate='No' "
           "attributeScopeAdvisory='No' attributeRelevanceAdvisory='No' "
           "objectClassRelevanceAdvisory='No' interactionRelevanceAdvisory='No' "
           "serviceReporting='No' exceptionReporting='No' delaySubscriptionEvaluation='No'/>";
}

std::string enumeration(const std::string& enumerators) {
    std::string rows;
    std::istringstream words(enumerators);
    for (std::string name, value; words >> name >> value;)
        rows += "<enumerator name='" + name + "' values='" + value + "'/>";
    return "<dataTypes><enumeratedDataTypes><enumeratedData name='Colour' representation='Byte'>" +
           rows + "</enumeratedData></enumeratedDataTypes></dataTypes>";
}

std::string variant(const std::string& discriminant, const std::string& alternatives) {
    std::string rows;
    std::istringstream words(alternatives);
    for (std::string key, name, dataType; words >> key >> name >> dataType;)
        rows += "<alternative enumerator='" + key + "' name='" + name + "' dataType='" + dataType +
                "'/>";
    return "<dataTypes><variantRecordDataTypes><variantRecordData name='Paint' discriminant='" +
           discriminant + "' dataType='Colour'>" + rows +
           "</variantRecordData></variantRecordDataTypes></dataTypes>";
}

std::string note(const std::string& text) {
    return "<notes><note><label>Note1</label><semantics>" + text + "</semantics></note></notes>";
}

std::string speed(const std::string& fields) {
    return "<attribute name='Speed' " + fields + "/>";
}

std::string ship(const std::string& members, const std::string& fields = "") {
    return "<objects><objectClass name='HLAobjectRoot'><objectClass name='Ship' " + fields + ">" +
           members + "</objectClass></objectClass></objects>";
}

std::string interaction(const std::string& fields, const std::string& parameters = "") {
    return "<interactions><interactionClass name='HLAinteractionRoot' " + fields + ">" +
           parameters + "</interactionClass></interactions>";
}

/// Modules that disagree with one another in every table, or agree in part.
std::vector<std::string> variety() {
    const std::string low = row("updateRates", "updateRate name='Low' rate='1'");
    const std::string reliable = row("transportations", "transportation name='Fast' reliable='1'");
    const std::string wide = row("dimensions", "dimension name='X' upperBound='20'");
    return {"",
            low,
            row("updateRates", "updateRate name='Low' rate='2'"),
            row("transportations", "transportation name='Fast' reliable='0'"),
            row("tags", "updateReflectTag dataType='Text'"),
            row("tags", "updateReflectTag dataType='Id'"),
            row("synchronizations", "synchronization label='S' dataType='T' capability='Register'"),
            row("synchronizations", "synchronization label='S' dataType='I' capability='Register'"),
            row("time", "timeStamp dataType='Seconds'"),
            row("time", "timeStamp dataType='Seconds'/><lookahead dataType='Seconds'"),
            row("time", "lookahead dataType='Minutes'"),
            switches("Yes"),
            switches("No"),
            "<switches automaticResignAction='NoAction'/>" + low,
            "<switches automaticResignAction='DeleteObjects'/>",
            note("one  text"),
            note("one\ntext"),
            enumeration("Red 1 Blue 2"),
            enumeration("Red 7 Green 3"),
            variant("Kind", "Red Shade Int"),
            variant("Sort", "Red Shade Float Blue Depth Int"),
            row("dimensions", "dimension name='X' upperBound='10'"),
            ship(speed("dataType='Float'")),
            ship(speed("dataType='Int'")) + wide + note("another"),
            ship("", "sharing='Publish'"),
            ship("", "sharing='Neither'"),
            "<objects><objectClass name='HLAobjectRoot'>" + speed("") + "</objectClass></objects>",
            interaction("order='Receive'"),
            interaction("order='TimeStamp'") + reliable,
            interaction("", "<parameter name='P' dataType='Int'/>"),
            interaction("", "<parameter name='P' dataType='Float'/>")};
}

/// Status, row, field, values and lines of each conflict.
std::vector<std::string> texts(const std::vector<Conflict>& conflicts) {
    const auto text = [](const Statement& statement) {
        return statement.value + "@" + std::to_string(statement.place.line);
    };
    std::vector<std::string> all;
    for (const Conflict& conflict : conflicts)
        all.push_back(std::to_string(conflict.status) + " " + conflict.row + " " + conflict.field +
                      ": " + text(conflict.held) + ", " + text(conflict.incoming));
    return all;
}

/// What a federation of these two modules has to say of the second.
std::vector<std::string> conflictsBetween(const std::string& first, const std::string& second,
                                          OrynRti::DtFomType edition = the2010) {
    return texts(merged({first, second}, {edition}).modules().back().conflicts);
}

// -------------------------------------------------------------------------------------------------

/// Merges every two modules of the variety both ways; how many the strict merge refused.
int compareWithMerges(const std::vector<LoadedModule>& modules, OrynRti::DtFomType edition,
                      bool strict, bool creates) {
    int refused = 0;
    for (std::size_t first = 0; first < modules.size(); ++first) {
        FomTarget held;
        held.setFomType(edition);
        held.setStrictChecking(strict);
        held.mergeTarget(modules[first].target, true);
        for (std::size_t second = 0; second < modules.size(); ++second) {
            SCOPED_TRACE(testing::Message() << edition << " strict " << strict << " creates "
                                            << creates << ": " << first << ", " << second);
            const auto conflicts = findConflicts(held, modules[second].target, creates);
            FomTarget candidate = held;
            const auto status = candidate.mergeTarget(modules[second].target, creates);
            const bool success = status == OrynRti::DtMergeFomSuccess;
            EXPECT_EQ(success, !refuses(conflicts, strict));
            if (!success && strict && !conflicts.empty()) {
                EXPECT_EQ(status, conflicts.front().status);
                ++refused;
            }
        }
    }
    return refused;
}

TEST(Conflicts, AreFoundExactlyWhenTheMergeRefusesTheModule) {
    const CapturedNotifications said;
    std::vector<LoadedModule> modules;
    for (const std::string& tables : variety())
        modules.push_back(module(tables));
    int refused = 0;
    for (const auto edition : {OrynRti::DtFomTypeIeee1516_2000, the2010, the2025})
        for (const bool strict : {false, true})
            for (const bool creates : {false, true})
                refused += compareWithMerges(modules, edition, strict, creates);
    EXPECT_GT(refused, 100) << "the modules disagree often enough to compare";
}

TEST(Conflicts, NameTheFieldAndBothValuesInTheOrderOfTheMerge) {
    const std::string first =
        switches("Yes") + note("one") + row("time", "timeStamp dataType='Seconds'") + "\n" +
        row("updateRates", "updateRate name='A' rate='1'/><updateRate name='B' rate='0.5'");
    const std::string second =
        note("two") + row("time", "lookahead dataType='Seconds'") + switches("No") +
        row("updateRates",
            "updateRate name='A' rate='1' semantics='odd'/><updateRate name='B' rate='2'");
    EXPECT_THAT(
        conflictsBetween(first, second),
        ElementsAre("9 lookahead dataType: @0, Seconds@3", "9 timeStamp dataType: Seconds@3, @0",
                    "1 autoProvide value: enabled@3, disabled@3", "4 A semantics: @4, odd@3",
                    "4 B rate: 0.5@4, 2@3", "8 Note1 semantics: one@3, two@3"));
}

TEST(Conflicts, AJoiningModuleIsHeldAgainstTheValuesInForce) {
    Federation federation({the2010});
    federation.merge(module(""), true);
    federation.merge(module(switches("Yes")), false);
    EXPECT_THAT(texts(federation.modules()[1].conflicts),
                ElementsAre("1 autoProvide value: disabled@0, enabled@3"));
}

TEST(Conflicts, EnumerationsAndVariantsAreUnitedInTheEditionOf2025Only) {
    EXPECT_THAT(conflictsBetween(enumeration("Red 1 Blue 2"), enumeration("Red 5 Blue 2"), the2025),
                ElementsAre("12 Colour enumerator Red: 1@3, 5@3"));
    EXPECT_THAT(conflictsBetween(variant("Kind", "Red Shade Int Blue Depth Int"),
                                 variant("Sort", "Red Shade Float Blue Well Int"), the2025),
                ElementsAre("15 Paint discriminant: Kind@3, Sort@3",
                            "15 Paint alternative Red dataType: Int@3, Float@3",
                            "15 Paint alternative Blue name: Depth@3, Well@3"));
    EXPECT_THAT(conflictsBetween(enumeration("Red 1"), enumeration("Red 5")), IsEmpty());

    const Federation federation =
        merged({enumeration("Red 1 Blue 2"), enumeration("Green 3 Red 1"),
                variant("Kind", "Red Shade Int"), variant("Kind", "Blue Depth Int")},
               {the2025});
    const auto& colour = **federation.target().enumeratedDataTypes().begin();
    ASSERT_EQ(colour.enumerators.size(), 3u);
    EXPECT_EQ(colour.enumerators[2].name, "Green");
    EXPECT_EQ((*federation.target().variantRecordDataTypes().begin())->alternatives.size(), 2u);
}

// -------------------------------------------------------------------------------------------------

TEST(Federation, ARefusedModuleLeavesNothingBehindAndTheNextIsMerged) {
    const std::string dock = row("interactions", "interactionClass name='HLAinteractionRoot'");
    const Federation federation =
        merged({note("one") + switches("Yes"),
                note("two") + enumeration("Red 1") + ship(speed("dataType='Float'")), dock});
    EXPECT_EQ(federation.modules()[1].status, 8);
    EXPECT_EQ(federation.modules()[1].brought[Count::attributes], 0u);
    EXPECT_EQ(federation.modules()[1].rows[Count::attributes], 1u);
    EXPECT_TRUE(federation.target().knownInteractionClass("HLAinteractionRoot"));
    EXPECT_FALSE(federation.target().knownObjectClass("HLAobjectRoot.Ship"));
    EXPECT_EQ(federation.target().enumeratedDataTypes().size(), 0u);
    EXPECT_TRUE(federation.checkResult().passed());
    EXPECT_FALSE(federation.succeeded());
}

TEST(Federation, BroughtRowsAddUpToTheTotals) {
    Federation federation({the2010});
    for (const std::string& path : Tests::harbourPaths())
        federation.merge(loadModule(path), true);
    federation.check();
    EXPECT_TRUE(federation.succeeded());
    EXPECT_THAT(federation.warnings(), IsEmpty());
    const TableCounts totals = countsOf(federation.target());
    for (std::size_t i = 0; i < theNumCounts; ++i) {
        const Count count = static_cast<Count>(i);
        std::size_t sum = 0;
        for (const ModuleResult& result : federation.modules())
            sum += result.brought[count];
        EXPECT_EQ(sum, totals[count]) << keyOf(count);
    }
    EXPECT_EQ(totals[Count::switches], 11u) << "with the resign action";
    EXPECT_EQ(federation.target().modelIdentification(),
              "HarbourBase + HarbourCargo + HarbourDatatypes + HarbourNetwork + HarbourSwitches + "
              "HarbourTraffic");
}

TEST(Federation, LenientCheckingIgnoresConflictsOfTheLibrarysTablesOnly) {
    const CapturedNotifications said;
    const Federation federation =
        merged({switches("Yes") + enumeration("Red 1") + ship(speed("order='Receive'")),
                switches("No") + enumeration("Red 2 Blue 3"), ship(speed("order='TimeStamp'"))},
               {the2025, false});
    EXPECT_TRUE(federation.modules()[1].merged());
    EXPECT_FALSE(federation.modules()[2].merged());
    ASSERT_GE(federation.warnings().size(), 2u);
    EXPECT_THAT(federation.warnings()[0], HasSubstr("enumerator Red"));
    EXPECT_THAT(federation.warnings()[1], HasSubstr("autoProvide"));
    EXPECT_EQ((*federation.target().enumeratedDataTypes().begin())->enumerators.size(), 1u);
    EXPECT_THAT(said.text(1), HasSubstr("Merge Error ignored: "));
}

TEST(Federation, NotesThatDifferInWhiteSpaceKeepTheHeldText) {
    const Federation federation = merged({note("one  text"), note(" one\n text ")});
    EXPECT_TRUE(federation.modules()[1].merged());
    EXPECT_EQ((*federation.target().notes().begin())->semantics, "one  text");
}

TEST(Federation, LeftOutTablesAreNeitherMergedNorChecked) {
    const std::string used = ship(speed("transportation='Nowhere' dataType='Nothing'"));
    const Federation federation = merged({switches("Yes") + note("one") + used, note("two")},
                                         {the2010, true, OrynRti::DtMergeFomTableObjectClass});
    EXPECT_TRUE(federation.succeeded()) << federation.checkResult().report;
    EXPECT_EQ(federation.target().numNotes(), 0u);
    EXPECT_EQ(federation.checkResult().skippedTables.size(), 18u);
    EXPECT_THAT(federation.warnings(), IsEmpty());

    const std::string directed = ship("<directedInteraction name='Dock' sharing='Publish'/>");
    for (const std::uint64_t without :
         {std::uint64_t{0}, std::uint64_t{OrynRti::DtMergeFomTableDirectedInteraction}}) {
        const MergeRules rules{the2025, true, OrynRti::DtMergeFomAllTables & ~without};
        EXPECT_EQ(countsOf(merged({directed}, rules).target())[Count::directedInteractions],
                  without ? 0u : 1u);
    }
}

// -------------------------------------------------------------------------------------------------

TEST(FederationCheck, UnresolvedReferencesAreNamedWithTheirPlace) {
    const Federation federation =
        merged({switches("Yes") + ship(speed("transportation='Fast' dimensions='X'")) +
                interaction("transportation='Slow' dimensions='HLAfederate'")});
    EXPECT_EQ(federation.checkResult().status, 20);
    EXPECT_THAT(federation.checkResult().report,
                AllOf(HasSubstr(federation.modules()[0].path + ":3:"),
                      HasSubstr("dimension \"X\" of attribute HLAobjectRoot.Ship.Speed"),
                      HasSubstr("transportation \"Fast\""),
                      HasSubstr("\"Slow\" of interaction class HLAinteractionRoot"),
                      Not(HasSubstr("HLAfederate"))));
}

TEST(FederationCheck, MissingSwitchesNameTheRemedy) {
    const Federation federation = merged({""});
    EXPECT_EQ(federation.checkResult().status, 3);
    EXPECT_THAT(federation.checkResult().report,
                AllOf(HasSubstr("autoProvide"), HasSubstr("Remedy")));
    EXPECT_TRUE(merged({""}, {the2025}).checkResult().passed());
}

TEST(FederationWarnings, TellOfDroppedAndMissingDatatypesAndMovedRoots) {
    const Federation federation = merged(
        {enumeration("Red 1"), enumeration("Red 2"),
         "<objects><objectClass name='Ship'><objectClass name='Tug'/>" + speed("dataType='Knots'") +
             "</objectClass><objectClass name='HLAobjectRoot'><objectClass name='Ship'>"
             "<attribute name='Draught'/></objectClass></objectClass></objects>"});
    EXPECT_TRUE(federation.target().knownAttribute("HLAobjectRoot.Ship.Tug", "Speed"));
    EXPECT_TRUE(federation.target().knownAttribute("HLAobjectRoot.Ship.Tug", "Draught"));
    EXPECT_THAT(
        federation.warnings(),
        ElementsAre(
            AllOf(HasSubstr(federation.modules()[0].path + ":3:"),
                  HasSubstr(federation.modules()[1].path + ":3:"), HasSubstr("enumerators")),
            HasSubstr("\"Ship\" is no root"), HasSubstr("\"Knots\" is not defined (1 use)"),
            HasSubstr("\"Byte\" is not defined")));
}

}  // namespace
}  // namespace RtiqnFom
