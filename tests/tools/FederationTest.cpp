#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Conflicts.h"
#include "Federation.h"
#include "Report.h"
#include "Words.h"
#include "support/Notifications.h"
#include "tools/ModuleFile.h"

namespace RtiqnFom {
namespace {

using OrynRti::DtFomType;
using OrynRti::DtString;
using OrynRti::Tests::CapturedNotifications;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Tests::ModuleFile;

/// A module with these tables, read back from a file.
LoadedModule module(const std::string& tables, const std::string& edition = "2010",
                    const std::string& name = "Module") {
    const ModuleFile file("<objectModel xmlns=\"http://standards.ieee.org/IEEE1516-" + edition +
                          "\">\n<modelIdentification><name>" + name +
                          "</name></modelIdentification>\n" + tables + "\n</objectModel>\n");
    return loadModule(file.path());
}

std::string switches(const std::string& autoProvide) {
    std::string text = "<switches><autoProvide isEnabled=\"" + autoProvide + "\"/>";
    for (const char* name :
         {"conveyRegionDesignatorSets", "conveyProducingFederate", "attributeScopeAdvisory",
          "attributeRelevanceAdvisory", "objectClassRelevanceAdvisory",
          "interactionRelevanceAdvisory", "serviceReporting", "exceptionReporting",
          "delaySubscriptionEvaluation"})
        text += std::string("<") + name + " isEnabled=\"false\"/>";
    return text + "</switches>";
}

std::string dataTypes(const std::string& tables) {
    return "<dataTypes>" + tables + "</dataTypes>";
}

std::string enumeration(const std::string& enumerators) {
    std::string text = "<enumeratedData><name>Colour</name><representation>Byte</representation>";
    std::istringstream words(enumerators);
    for (std::string name, value; words >> name >> value;)
        text += "<enumerator><name>" + name + "</name><value>" + value + "</value></enumerator>";
    return dataTypes("<enumeratedDataTypes>" + text + "</enumeratedData></enumeratedDataTypes>");
}

std::string variant(const std::string& discriminant, const std::string& alternatives) {
    std::string text = "<variantRecordData><name>Paint</name><discriminant>" + discriminant +
                       "</discriminant><dataType>Colour</dataType>";
    std::istringstream words(alternatives);
    for (std::string key, name, dataType; words >> key >> name >> dataType;)
        text += "<alternative><enumerator>" + key + "</enumerator><name>" + name +
                "</name><dataType>" + dataType + "</dataType></alternative>";
    return dataTypes("<variantRecordDataTypes>" + text +
                     "</variantRecordData></variantRecordDataTypes>");
}

std::string note(const std::string& text) {
    return "<notes><note><label>Note1</label><semantics>" + text + "</semantics></note></notes>";
}

std::string attributes(const std::string& className, const std::string& rows) {
    return "<objects><objectClass><name>HLAobjectRoot</name><objectClass><name>" + className +
           "</name>" + rows + "</objectClass></objectClass></objects>";
}

std::string attribute(const std::string& fields) {
    return "<attribute><name>Speed</name>" + fields + "</attribute>";
}

std::string interaction(const std::string& fields) {
    return "<interactions><interactionClass><name>HLAinteractionRoot</name>" + fields +
           "</interactionClass></interactions>";
}

/// Modules that disagree with one another in every table, or agree in part.
std::vector<std::string> variety() {
    const auto rate = [](const char* value) {
        return "<updateRates><updateRate><name>Low</name><rate>" + std::string(value) +
               "</rate></updateRate></updateRates>";
    };
    const auto transport = [](const char* reliable, const char* semantics) {
        return "<transportations><transportation><name>Fast</name><reliable>" +
               std::string(reliable) + "</reliable><semantics>" + semantics +
               "</semantics></transportation></transportations>";
    };
    const auto tag = [](const char* dataType) {
        return "<tags><updateReflectTag><dataType>" + std::string(dataType) +
               "</dataType></updateReflectTag></tags>";
    };
    const auto point = [](const char* dataType, const char* capability) {
        return "<synchronizations><synchronizationPoint><label>Start</label><dataType>" +
               std::string(dataType) + "</dataType><capability>" + capability +
               "</capability></synchronizationPoint></synchronizations>";
    };
    const std::string stamp = "<timeStamp><dataType>Seconds</dataType></timeStamp>";
    const auto resign = [](const char* action) {
        return "<switches><automaticResignAction resignAction=\"" + std::string(action) +
               "\"/></switches>";
    };
    const auto dimension = [](const char* bound) {
        return "<dimensions><dimension><name>X</name><upperBound>" + std::string(bound) +
               "</upperBound></dimension></dimensions>";
    };
    return {"",
            rate("1"),
            rate("2"),
            rate("1") + transport("Yes", "a"),
            transport("No", "a"),
            transport("No", "b"),
            tag("Text"),
            tag("Id"),
            point("Text", "Register"),
            point("Text", "Achieve"),
            point("Id", "Register"),
            "<time>" + stamp + "</time>",
            "<time>" + stamp + "<lookahead><dataType>Seconds</dataType></lookahead></time>",
            "<time><lookahead><dataType>Minutes</dataType></lookahead></time>",
            switches("true"),
            switches("false"),
            resign("NoAction") + rate("2"),
            resign("DeleteObjects"),
            note("one  text"),
            note("one\ntext"),
            note("another"),
            enumeration("Red 1 Blue 2"),
            enumeration("Red 1 Green 3"),
            enumeration("Red 7"),
            variant("Kind", "Red Shade Int"),
            variant("Kind", "Red Shade Float Blue Depth Int"),
            variant("Sort", "Blue Depth Int"),
            dimension("10"),
            dimension("20") + note("another"),
            attributes("Ship", attribute("<dataType>Float</dataType>")),
            attributes("Ship", attribute("<dataType>Int</dataType>")) + dimension("20"),
            attributes("Ship", "<sharing>Publish</sharing>"),
            attributes("Ship", "<sharing>Neither</sharing>"),
            "<objects><objectClass><name>HLAobjectRoot</name>" + attribute("") +
                "</objectClass></objects>",
            interaction("<order>Receive</order>"),
            interaction("<order>TimeStamp</order>") + transport("Yes", "a"),
            interaction("<parameter><name>P</name><dataType>Int</dataType></parameter>"),
            interaction("<parameter><name>P</name><dataType>Float</dataType></parameter>")};
}

FomTarget federationOf(DtFomType edition, bool strict) {
    FomTarget target;
    target.setFomType(edition);
    target.setStrictChecking(strict);
    return target;
}

std::vector<std::string> texts(const std::vector<Conflict>& conflicts) {
    std::vector<std::string> all;
    for (const Conflict& conflict : conflicts)
        all.push_back(std::to_string(conflict.status) + " " + conflict.row + " " + conflict.field +
                      ": " + conflict.held.value + ", " + conflict.incoming.value);
    return all;
}

/// What a federation of these two modules has to say of the second.
std::vector<std::string> conflictsBetween(const std::string& first, const std::string& second,
                                          const std::string& edition = "2010") {
    const LoadedModule held = module(first, edition);
    const LoadedModule incoming = module(second, edition);
    Federation federation({held.target.fomType()});
    federation.merge(held, true);
    federation.merge(incoming, true);
    return texts(federation.modules().back().conflicts);
}

// -------------------------------------------------------------------------------------------------

TEST(Conflicts, AreFoundExactlyWhenTheMergeRefusesTheModule) {
    const CapturedNotifications said;
    std::vector<LoadedModule> modules;
    for (const std::string& tables : variety())
        modules.push_back(module(tables));
    int refused = 0;
    for (const DtFomType edition :
         {OrynRti::DtFomTypeIeee1516_2000, OrynRti::DtFomTypeIeee1516_2010,
          OrynRti::DtFomTypeIeee1516_2025}) {
        for (int mode = 0; mode < 4; ++mode) {
            const bool strict = (mode & 1) != 0;
            const bool creates = (mode & 2) != 0;
            for (std::size_t first = 0; first < modules.size(); ++first) {
                FomTarget held = federationOf(edition, strict);
                held.mergeTarget(modules[first].target, true);
                for (std::size_t second = 0; second < modules.size(); ++second) {
                    SCOPED_TRACE(testing::Message()
                                 << edition << " " << mode << " " << first << " " << second);
                    const auto conflicts = findConflicts(held, modules[second].target, creates);
                    FomTarget candidate = held;
                    const auto status = candidate.mergeTarget(modules[second].target, creates);
                    const bool success = status == OrynRti::DtMergeFomSuccess;
                    EXPECT_EQ(success, !refuses(conflicts, strict));
                    if (!success && strict) {
                        EXPECT_EQ(status, conflicts.front().status);
                        ++refused;
                    }
                }
            }
        }
    }
    EXPECT_GT(refused, 100) << "the modules disagree often enough to compare";
}

TEST(Conflicts, NameTheFieldAndBothValuesInTheOrderOfTheMerge) {
    const std::string first =
        switches("true") + note("one") +
        "<updateRates><updateRate><name>A</name><rate>1</rate></updateRate>"
        "<updateRate><name>B</name><rate>0.5</rate></updateRate></updateRates>"
        "<time><timeStamp><dataType>Seconds</dataType></timeStamp></time>";
    const std::string second = note("two") +
                               "<updateRates><updateRate><name>A</name><rate>1</rate>"
                               "<semantics>odd</semantics></updateRate>"
                               "<updateRate><name>B</name><rate>2</rate></updateRate></updateRates>"
                               "<time><lookahead><dataType>Seconds</dataType></lookahead></time>" +
                               switches("false");
    EXPECT_THAT(conflictsBetween(first, second),
                ElementsAre("9 lookahead dataType: , Seconds", "9 timeStamp dataType: Seconds, ",
                            "1 autoProvide value: enabled, disabled", "4 A semantics: , odd",
                            "4 B rate: 0.5, 2", "8 Note1 semantics: one, two"));
}

TEST(Conflicts, HavePlacesInBothModules) {
    const LoadedModule held = module(
        "\n<updateRates><updateRate><name>A</name><rate>1</rate>"
        "</updateRate></updateRates>");
    const LoadedModule incoming = module(
        "<updateRates>\n\n<updateRate><name>A</name>"
        "<rate>2</rate></updateRate></updateRates>");
    FomTarget target = federationOf(OrynRti::DtFomTypeIeee1516_2010, true);
    target.mergeTarget(held.target, true);
    const auto conflicts = findConflicts(target, incoming.target, true);
    ASSERT_EQ(conflicts.size(), 1u);
    EXPECT_EQ(conflicts[0].held.place.text(), held.target.path() + ":4:14");
    EXPECT_EQ(conflicts[0].incoming.place.text(), incoming.target.path() + ":5:1");
}

TEST(Conflicts, AJoiningModuleIsHeldAgainstTheValuesInForce) {
    Federation federation({OrynRti::DtFomTypeIeee1516_2010});
    federation.merge(module(""), true);
    federation.merge(module(switches("true")), false);
    ASSERT_THAT(texts(federation.modules()[1].conflicts),
                ElementsAre("1 autoProvide value: disabled, enabled"));
    EXPECT_EQ(federation.modules()[1].conflicts[0].held.place.file, nullptr)
        << "no module states the held value";
}

TEST(Conflicts, EnumerationsAndVariantsAreUnitedInTheEditionOf2025Only) {
    EXPECT_THAT(conflictsBetween(enumeration("Red 1 Blue 2"), enumeration("Red 5 Blue 2"), "2025"),
                ElementsAre("12 Colour enumerator Red: 1, 5"));
    EXPECT_THAT(conflictsBetween(variant("Kind", "Red Shade Int Blue Depth Int"),
                                 variant("Sort", "Red Shade Float Blue Well Int"), "2025"),
                ElementsAre("15 Paint discriminant: Kind, Sort",
                            "15 Paint alternative Red dataType: Int, Float",
                            "15 Paint alternative Blue name: Depth, Well"));
    EXPECT_THAT(conflictsBetween(enumeration("Red 1"), enumeration("Red 5"), "2010"), IsEmpty());

    Federation federation({OrynRti::DtFomTypeIeee1516_2025});
    federation.merge(module(enumeration("Red 1 Blue 2"), "2025"), true);
    federation.merge(module(enumeration("Green 3 Red 1"), "2025"), true);
    federation.merge(module(variant("Kind", "Red Shade Int"), "2025"), true);
    federation.merge(module(variant("Kind", "Blue Depth Int"), "2025"), true);
    const auto& colour = **federation.target().enumeratedDataTypes().begin();
    ASSERT_EQ(colour.enumerators.size(), 3u);
    EXPECT_EQ(colour.enumerators[2].name, "Green");
    EXPECT_EQ((*federation.target().variantRecordDataTypes().begin())->alternatives.size(), 2u);
}

// -------------------------------------------------------------------------------------------------

TEST(Federation, ARefusedModuleLeavesNothingBehindAndTheNextIsMerged) {
    Federation federation({OrynRti::DtFomTypeIeee1516_2010});
    federation.merge(module(note("one") + switches("true")), true);
    federation.merge(module(note("two") + enumeration("Red 1") +
                            attributes("Ship", attribute("<dataType>Float</dataType>"))),
                     true);
    federation.merge(module(attributes("Dock", "")), true);
    federation.check();

    EXPECT_FALSE(federation.modules()[1].merged());
    EXPECT_EQ(federation.modules()[1].status, 8);
    EXPECT_EQ(federation.modules()[1].brought[Count::attributes], 0u);
    EXPECT_EQ(federation.modules()[1].rows[Count::attributes], 1u);
    EXPECT_TRUE(federation.target().knownObjectClass("HLAobjectRoot.Dock"));
    EXPECT_FALSE(federation.target().knownObjectClass("HLAobjectRoot.Ship"));
    EXPECT_EQ(federation.target().enumeratedDataTypes().size(), 0u);
    EXPECT_TRUE(federation.checkResult().passed());
    EXPECT_FALSE(federation.succeeded());
}

TEST(Federation, BroughtRowsAddUpToTheTotals) {
    Federation federation({OrynRti::DtFomTypeIeee1516_2010});
    for (const char* name : {"HarbourBase.xml", "HarbourCargo.xml", "HarbourDatatypes.xml",
                             "HarbourNetwork.xml", "HarbourSwitches.xml", "HarbourTraffic.xml"})
        federation.merge(loadModule(Tests::samplePath(name)), true);
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
}

TEST(Federation, LenientCheckingIgnoresConflictsOfTheLibrarysTablesOnly) {
    const CapturedNotifications said;
    Federation federation({OrynRti::DtFomTypeIeee1516_2025, false});
    federation.merge(module(switches("true") + enumeration("Red 1") +
                                attributes("Ship", attribute("<order>Receive</order>")),
                            "2025"),
                     true);
    federation.merge(module(switches("false") + enumeration("Red 2 Blue 3"), "2025"), true);
    federation.merge(module(attributes("Ship", attribute("<order>TimeStamp</order>")), "2025"),
                     true);
    EXPECT_TRUE(federation.modules()[1].merged());
    EXPECT_FALSE(federation.modules()[2].merged());
    ASSERT_GE(federation.warnings().size(), 2u);
    EXPECT_THAT(federation.warnings()[0], HasSubstr("enumerator Red"));
    EXPECT_THAT(federation.warnings()[1], HasSubstr("autoProvide"));
    EXPECT_EQ((*federation.target().enumeratedDataTypes().begin())->enumerators.size(), 1u);
    EXPECT_THAT(said.text(1), HasSubstr("Merge Error ignored: "));
}

TEST(Federation, NotesThatDifferInWhiteSpaceKeepTheHeldText) {
    Federation federation({OrynRti::DtFomTypeIeee1516_2010});
    federation.merge(module(note("one  text")), true);
    federation.merge(module(note(" one\n text ")), true);
    EXPECT_TRUE(federation.modules()[1].merged());
    EXPECT_EQ((*federation.target().notes().begin())->semantics, "one  text");
}

TEST(Federation, LeftOutTablesAreNeitherMergedNorChecked) {
    MergeRules rules{OrynRti::DtFomTypeIeee1516_2010};
    rules.tables = OrynRti::DtMergeFomTableObjectClass;
    Federation federation(rules);
    federation.merge(module(switches("true") + note("one") +
                            attributes("Ship", attribute("<transportation>Nowhere</transportation>"
                                                         "<dataType>Nothing</dataType>"))),
                     true);
    federation.merge(module(note("two")), true);
    federation.check();
    EXPECT_TRUE(federation.succeeded()) << federation.checkResult().report;
    EXPECT_EQ(federation.target().numNotes(), 0u);
    EXPECT_EQ(federation.checkResult().skippedTables.size(), 18u);
    EXPECT_THAT(federation.warnings(), IsEmpty());
}

TEST(Federation, DirectedInteractionsFollowTheirOwnTable) {
    const std::string tables =
        attributes("Ship",
                   "<directedInteraction><name>Dock</name><sharing>Publish</sharing>"
                   "</directedInteraction>");
    for (const bool enabled : {true, false}) {
        MergeRules rules{OrynRti::DtFomTypeIeee1516_2025};
        if (!enabled)
            rules.tables &= ~std::uint64_t{OrynRti::DtMergeFomTableDirectedInteraction};
        Federation federation(rules);
        federation.merge(module(tables, "2025"), true);
        EXPECT_EQ(countsOf(federation.target())[Count::directedInteractions], enabled ? 1u : 0u);
    }
}

// -------------------------------------------------------------------------------------------------

TEST(FederationCheck, UnresolvedReferencesAreNamedWithTheirPlaceUntilAModuleDefinesThem) {
    const std::string uses =
        switches("true") +
        attributes("Ship", attribute("<transportation>Fast</transportation>"
                                     "<dimensions><dimension>X</dimension></dimensions>")) +
        interaction(
            "<transportation>Slow</transportation>"
            "<dimensions><dimension>HLAfederate</dimension></dimensions>");
    const LoadedModule user = module(uses);
    Federation federation({OrynRti::DtFomTypeIeee1516_2010});
    federation.merge(user, true);
    federation.check();
    EXPECT_EQ(federation.checkResult().status, 20);
    EXPECT_THAT(federation.checkResult().report,
                testing::AllOf(HasSubstr(user.target.path() + ":3:"),
                               HasSubstr("dimension \"X\" of attribute HLAobjectRoot.Ship.Speed"),
                               HasSubstr("transportation \"Fast\""),
                               HasSubstr("\"Slow\" of interaction class HLAinteractionRoot"),
                               testing::Not(HasSubstr("HLAfederate"))));

    Federation whole({OrynRti::DtFomTypeIeee1516_2010});
    whole.merge(user, true);
    whole.merge(module("<transportations><transportation><name>Fast</name><reliable>Yes</reliable>"
                       "</transportation><transportation><name>Slow</name><reliable>No</reliable>"
                       "</transportation></transportations>"
                       "<dimensions><dimension><name>X</name></dimension></dimensions>"),
                true);
    whole.check();
    EXPECT_TRUE(whole.checkResult().passed()) << whole.checkResult().report;
}

TEST(FederationCheck, MissingSwitchesNameTheRemedy) {
    Federation federation({OrynRti::DtFomTypeIeee1516_2010});
    federation.merge(module(""), true);
    federation.check();
    EXPECT_EQ(federation.checkResult().status, 3);
    EXPECT_THAT(federation.checkResult().report,
                testing::AllOf(HasSubstr("autoProvide"), HasSubstr("Remedy")));

    Federation later({OrynRti::DtFomTypeIeee1516_2025});
    later.merge(module("", "2025"), true);
    later.check();
    EXPECT_TRUE(later.checkResult().passed());
}

TEST(FederationWarnings, TellOfDroppedAndMissingDatatypesAndMovedRoots) {
    const LoadedModule first = module(enumeration("Red 1"));
    const LoadedModule second = module(enumeration("Red 2"));
    const LoadedModule third =
        module("<objects><objectClass><name>Ship</name>" + attribute("<dataType>Knots</dataType>") +
               "</objectClass></objects>");
    Federation federation({OrynRti::DtFomTypeIeee1516_2010});
    federation.merge(first, true);
    federation.merge(second, true);
    federation.merge(third, true);
    federation.check();
    EXPECT_TRUE(federation.target().knownAttribute("HLAobjectRoot.Ship", "Speed"));
    ASSERT_EQ(federation.warnings().size(), 4u);
    EXPECT_THAT(federation.warnings()[0],
                testing::AllOf(HasSubstr(first.target.path() + ":3:"),
                               HasSubstr(second.target.path() + ":3:"), HasSubstr("enumerators")));
    EXPECT_THAT(federation.warnings()[1], HasSubstr("\"Ship\" is no root"));
    EXPECT_THAT(federation.warnings()[2], HasSubstr("\"Knots\" is not defined (1 use)"));
    EXPECT_THAT(federation.warnings()[3], HasSubstr("\"Byte\" is not defined"));
}

// -------------------------------------------------------------------------------------------------

TEST(FomTarget, ClassesAndTheirMembersAreAddedByName) {
    FomTarget target;
    EXPECT_TRUE(target.addObjectClass("Root.Ship"));
    EXPECT_TRUE(target.knownObjectClass("Root")) << "the class above comes along";
    EXPECT_FALSE(target.addObjectClass("Root.Ship"));
    EXPECT_FALSE(target.addObjectClass(""));
    EXPECT_TRUE(target.addAttribute("Root", "Name"));
    EXPECT_TRUE(target.knownAttribute("Root.Ship", "Name")) << "it is inherited";
    EXPECT_FALSE(target.addAttribute("Root.Ship", "Name"));
    EXPECT_FALSE(target.knownAttribute("Root.Plane", "Name"));
    EXPECT_FALSE(target.addAttribute("Root.Plane", "Speed"));
    EXPECT_TRUE(target.addInteractionClass("Root.Fire"));
    EXPECT_TRUE(target.addParameter("Root.Fire", "Target"));
    EXPECT_FALSE(target.addParameter("Root.Fire", "Target"));
    EXPECT_FALSE(target.knownParameter("Root", "Target"));
}

TEST(FomTarget, TheFirstIdentificationStandsWithoutAPlus) {
    FomTarget target = federationOf(OrynRti::DtFomTypeIeee1516_2010, true);
    target.mergeTarget(module("", "2010", "A").target, true);
    target.mergeTarget(module("", "2010", "B").target, true);
    EXPECT_EQ(target.modelIdentification(), "A + B");
}

TEST(Report, ItsTableIsAlignedAndNarrow) {
    Federation federation({OrynRti::DtFomTypeIeee1516_2010});
    for (const char* name :
         {"HarbourBase.xml", "HarbourCargo.xml", "HarbourDatatypes.xml", "HarbourNetwork.xml",
          "HarbourSwitches.xml", "HarbourTraffic.xml", "HarbourConflict.xml"})
        federation.merge(loadModule(Tests::samplePath(name)), true);
    federation.check();
    std::ostringstream out;
    printReport(federation, out);
    const std::string table = out.str().substr(0, out.str().find("is refused"));
    std::istringstream lines(table.substr(table.find("\n\n") + 2));
    std::size_t headingWidth = 0;
    for (std::string line; std::getline(lines, line) && !line.empty();) {
        EXPECT_LE(line.size(), 100u);
        if (line.find("module") == 0)
            headingWidth = line.size();
        if (line.find("Harbour") == 0 && line.find("Conflict") == std::string::npos) {
            EXPECT_EQ(line.size(), headingWidth) << line;
        }
    }
    EXPECT_NE(headingWidth, 0u);
    EXPECT_THAT(out.str(), HasSubstr("6 of 7 modules merged, 1 refused with 4 conflicts"));
}

}  // namespace
}  // namespace RtiqnFom
