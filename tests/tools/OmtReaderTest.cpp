#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "Errors.h"
#include "OmtReader.h"
#include "Words.h"
#include "tools/ModuleFile.h"

namespace RtiqnFom::Tests {
namespace {

using namespace OrynRti;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// A module and what its reading found.
struct ReadModule {
    FomTarget target;
    std::vector<Finding> findings;
};

ReadModule read(const std::string& document) {
    const ModuleFile file(document);
    std::vector<Finding> findings;
    FomTarget target = readModule(file.path(), findings);
    return {target, findings};
}

/// A module of the edition of 2010 with these tables in it, which begin on line 2.
std::string moduleOf(const std::string& tables) {
    return "<objectModel xmlns='http://standards.ieee.org/IEEE1516-2010'>\n" + tables +
           "</objectModel>";
}

std::string datatypes(const std::string& table, const std::string& rows) {
    return moduleOf("<dataTypes><" + table + ">" + rows + "</" + table + "></dataTypes>");
}

/// Severity, line and text of each finding, as people see them but without the path.
std::vector<std::string> told(const ReadModule& module) {
    std::vector<std::string> texts;
    for (const Finding& finding : module.findings) {
        const char* severity = finding.severity == Severity::failure ? "failure " : "warning ";
        texts.push_back(severity + std::to_string(finding.place.line) + ": " + finding.text);
    }
    return texts;
}

template <typename Rows>
std::vector<std::string> names(const Rows& rows) {
    std::vector<std::string> result;
    for (const auto& row : rows)
        result.push_back(row->name.c_str());
    return result;
}

TEST(OmtReaderTest, TheEditionComesFromTheNamespaceOrElseFromTheStyle) {
    const struct {
        const char* document;
        DtFomType edition;
    } cases[] = {
        {"<objectModel xmlns='http://standards.ieee.org/IEEE1516-2010'/>", DtFomTypeIeee1516_2010},
        {"<o:objectModel xmlns:o='http://other.base/schemas/IEEE1516-2025'/>",
         DtFomTypeIeee1516_2025},
        {"<objectModel xmlns='urn:unknown'><objects><objectClass name='A'/></objects>"
         "</objectModel>",
         DtFomTypeIeee1516_2000},
        {"<objectModel DTDversion='1516.2'/>", DtFomTypeIeee1516_2000},
        {"<objectModel><modelIdentification><name>A</name></modelIdentification></objectModel>",
         DtFomTypeIeee1516_2010},
        {"<objectModel/>", DtFomTypeIeee1516_2010}};
    for (const auto& c : cases)
        EXPECT_EQ(read(c.document).target.fomType(), c.edition) << c.document;
}

TEST(OmtReaderTest, WhatIsNotStatedIsLeftOut) {
    const FomTarget target =
        read(moduleOf("<modelIdentification><name> Tank\n farm </name><version>NA</version>"
                      "<reference><type>dependency</type><identification> Base </identification>"
                      "</reference></modelIdentification><objects>"
                      "<objectClass name='Root' sharing='NA'><attribute name='A' dimensions='D NA' "
                      "notes=' N1\n N2' nameNotes='' semanticsNotes='N3'/></objectClass></objects>"
                      "<time><timeStamp dataType='T'/><lookahead dataType='NA' semantics='S'/>"
                      "</time><tags><updateReflectTag dataType='NA' semantics='NA'/>"
                      "<sendReceiveTag semantics='S'/></tags>"))
            .target;
    EXPECT_EQ(textOf(target.modelIdentification()), "Tank farm");
    EXPECT_THAT(target.identificationFields(), IsEmpty());
    ASSERT_THAT(target.fomDependencies(), SizeIs(1));
    EXPECT_EQ(textOf(target.fomDependencies()[0]), "Base");
    const ObjectClass& root = *target.objectClasses().find("Root");
    EXPECT_EQ(root.sharing, "");
    EXPECT_THAT(root.attributes.at(0).dimensions, ElementsAre("D"));
    const std::vector<NoteReference>& notes = root.attributes.at(0).info.notes;
    ASSERT_THAT(notes, SizeIs(2));
    EXPECT_EQ(notes[0].field + "=" + notes[0].labels, "=N1 N2");
    EXPECT_EQ(notes[1].field + "=" + notes[1].labels, "semantics=N3");
    EXPECT_THAT(names(target.timeTypes()), ElementsAre("timeStamp"));
    EXPECT_THAT(names(target.userSuppliedTags()), ElementsAre("sendReceiveTag"));
}

TEST(OmtReaderTest, AClassThatComesAgainIsCompletedAndExtended) {
    const ReadModule module = read(
        moduleOf("<objects><objectClass name='R'><objectClass name='C'><objectClass name='D'/>"
                 "<attribute name='A'/></objectClass><objectClass name='C' sharing='Publish'>\n"
                 "<attribute name='B'/></objectClass></objectClass></objects>"));
    EXPECT_THAT(told(module), IsEmpty());
    EXPECT_THAT(names(module.target.objectClasses()), ElementsAre("R", "R.C", "R.C.D"));
    const ObjectClass& joined = *module.target.objectClasses().find("R.C");
    EXPECT_EQ(joined.sharing, "Publish");
    ASSERT_THAT(joined.attributes, SizeIs(2));
    EXPECT_EQ(joined.attributes[1].name, "B");
    EXPECT_EQ(joined.attributes[1].info.place.line, 3U);
}

TEST(OmtReaderTest, WhatComesTwiceIsToldAndTheFirstStays) {
    const ReadModule module =
        read(moduleOf("<objects><objectClass name='R' sharing='Publish'>\n"
                      "<attribute name='A' dataType='X'/>\n<attribute name='A' dataType='Y'/>\n"
                      "</objectClass><objectClass name='R' sharing='Neither'/></objects><notes>\n"
                      "<note name='N' semantics='one'/>\n<note name='N' semantics='two'/></notes>"
                      "<switches>\n<autoProvide isEnabled='1'/>\n<autoProvide isEnabled='0'/>"
                      "</switches>"));
    EXPECT_THAT(told(module),
                ElementsAre(StartsWith("failure 4: attribute of R: \"A\" comes again"),
                            StartsWith("failure 5: class \"R\" comes again with other fields"),
                            StartsWith("failure 7: note \"N\" comes again"),
                            StartsWith("failure 9: switch \"autoProvide\" comes again")));
    EXPECT_EQ(module.target.objectClasses().find("R")->attributes.at(0).dataType, "X");
    EXPECT_EQ(textOf((*module.target.notes().begin())->semantics), "one");
    EXPECT_TRUE(module.target.switchValue("autoProvide"));
}

TEST(OmtReaderTest, FindsARepeatedMemberAmongManyOfAClassThatComesInParts) {
    const std::string begin = "<objectClass name='R'>\n";
    std::string text = "<objects>" + begin;
    for (int i = 0; i < 100; ++i)
        text += "<attribute name='A" + std::to_string(i) + "'/>\n" +
                (i % 10 == 9 ? "</objectClass>" + begin : "");
    text += "<attribute name='A3'/>\n<attribute name='A99'/>\n</objectClass></objects>";
    const ReadModule module = read(moduleOf(text));
    EXPECT_THAT(told(module),
                ElementsAre(StartsWith("failure 113: attribute of R: \"A3\" comes"),
                            StartsWith("failure 114: attribute of R: \"A99\" comes")));
    EXPECT_THAT((*module.target.objectClasses().begin())->attributes, SizeIs(100));
}

TEST(OmtReaderTest, SwitchesAreStatedOnlyWithAValue) {
    const char* elements =
        "<switches><autoProvide isEnabled='1'/><serviceReporting isEnabled='NA'/>"
        "<exceptionReporting isEnabled='maybe'/><ourOwn isEnabled='true'/><other/></switches>";
    const char* attributes =
        "<switches autoProvide='Enabled' serviceReporting='' exceptionReporting='maybe' "
        "ourOwn='Enabled' autoProvideNotes='N'/>";
    for (const char* style : {elements, attributes}) {
        const ReadModule module = read(moduleOf(style));
        EXPECT_EQ(module.target.numSwitches(), 1U);
        EXPECT_TRUE(module.target.switchValue("autoProvide"));
        EXPECT_FALSE(module.target.isAutomaticResignActionExplicit());
        EXPECT_THAT(told(module),
                    ElementsAre("failure 2: switch \"exceptionReporting\" has the value \"maybe\", "
                                "which is none of its values"));
    }
}

TEST(OmtReaderTest, ARowWithoutMeaningIsRefusedWithItsPlace) {
    const struct {
        std::string document;
        const char* message;
    } cases[] = {{"<html/>", "1:1: this is no object model: its root is <html>, not <objectModel>"},
                 {datatypes("basicDataRepresentations",
                            "<basicData name='B'>\n <size>-16</size>"
                            "</basicData>"),
                  "3:2: basic data representation \"B\" has the size \"-16\""},
                 {moduleOf("<objects>\n<objectClass sharing='Publish'/></objects>"),
                  "3:1: this <objectClass> has no name"},
                 {moduleOf("<objects><objectClass>\n<name>A.B</name></objectClass></objects>"),
                  "3:1: the class name \"A.B\" must not contain '.'"},
                 {moduleOf("<synchronizations><synchronizationPoint/></synchronizations>"),
                  "2:19: this <synchronizationPoint> has no label"},
                 {moduleOf("<updateRates><updateRate name='U' rate='fast'/></updateRates>"),
                  "2:35: update rate \"U\" has the rate \"fast\""},
                 {datatypes("variantRecordDataTypes",
                            "<variantRecordData name='V' dataType='E'>\n"
                            "<alternative enumerator='A' dataType='T'/></variantRecordData>"),
                  "3:1: this <alternative> has no name"}};
    for (const auto& c : cases) {
        const ModuleFile file(c.document);
        std::vector<Finding> findings;
        EXPECT_THAT(
            errorOf<MalformedModule>(file.path(), [&] { readModule(file.path(), findings); }),
            StartsWith(c.message))
            << c.document;
    }
}

TEST(OmtReaderTest, WhatIsWrongInItselfIsToldAndKept) {
    const struct {
        std::string document;
        const char* message;  ///< empty when nothing is wrong
    } cases[] = {
        {datatypes("arrayDataTypes", "<arrayData name='X' dataType='T' cardinality='[-1..3]'/>"),
         "failure 2: array datatype \"X\" has the negative cardinality \"[-1..3]\""},
        {datatypes("basicDataRepresentations", "<basicData name='X' size=''/>"),
         "failure 2: basic data representation \"X\" states no size"},
        {datatypes("basicDataRepresentations", "<basicData name='X' size='8' endian='Both'/>"),
         "failure 2: basic data representation \"X\" has the endian \"Both\", not Big or Little"},
        {datatypes("enumeratedDataTypes", "<enumeratedData name='X' representation='B'/>"),
         "failure 2: enumerated datatype \"X\" has no enumerators"},
        {datatypes("enumeratedDataTypes",
                   "<enumeratedData name='X' representation='B'><enumerator name='A' "
                   "values='one'/></enumeratedData>"),
         "failure 2: enumerator \"A\" of enumerated datatype \"X\" has the value \"one\", which is "
         "no number"},
        {datatypes("fixedRecordDataTypes",
                   "<fixedRecordData name='X'><field name='A'/></fixedRecordData>"),
         "failure 2: field \"A\" of fixed record \"X\" states no dataType"},
        {moduleOf("<updateRates><updateRate name='U' rate='-2'/></updateRates>"),
         "failure 2: update rate \"U\" is negative"},
        {moduleOf("<transportations><transportation name='A'/></transportations>"),
         "failure 2: transportation \"A\" does not state whether it is reliable"},
        {moduleOf("<Switchs/>"), "warning 2: <Switchs> is not read; is it meant to be <switches>?"},
        {moduleOf("<dataTypes><simpleDatatypes/></dataTypes>"),
         "warning 2: <simpleDatatypes> is not read; is it meant to be <simpleDataTypes>?"},
        {moduleOf("<serviceUtilization/><lexicon/><type/>"), ""}};
    for (const auto& c : cases) {
        const std::vector<std::string> expected(*c.message ? 1 : 0, c.message);
        EXPECT_EQ(told(read(c.document)), expected) << c.document;
    }
}

TEST(OmtReaderTest, AlternativesNameEnumeratorsOfTheirDatatype) {
    const std::string failure = "failure 3: an alternative of variant record \"V\" names ";
    const struct {
        const char* dataType;
        const char* enumerator;
        std::vector<std::string> findings;
    } cases[] = {{"E", "B", {failure + "\"B\", which is no enumerator of E"}},
                 {"E", "", {failure + "no enumerator"}},
                 {"E", "[A .. C]", {}},
                 {"E", "C, A", {}},
                 {"E", "A C", {}},
                 {"E", "[A..C], HLAother", {}},
                 {"Elsewhere", "B", {}}};  // which the merge may bring
    for (const auto& c : cases) {
        const ReadModule module = read(
            moduleOf(std::string("<dataTypes><variantRecordDataTypes><variantRecordData name='V' "
                                 "dataType='") +
                     c.dataType + "'>\n<alternative enumerator='" + c.enumerator +
                     "' name='X' dataType='T'/></variantRecordData></variantRecordDataTypes>"
                     "<enumeratedDataTypes><enumeratedData name='E' representation='B'><enumerator "
                     "name='A' values='1'/><enumerator name='C' values='2'/></enumeratedData>"
                     "</enumeratedDataTypes></dataTypes>"));
        EXPECT_EQ(told(module), c.findings) << c.enumerator;
    }
}

TEST(OmtReaderTest, ClassesNestDeepButNotWithoutEnd) {
    const auto nested = [](std::size_t depth) {
        std::string text;
        for (std::size_t i = 0; i < depth; ++i)
            text = "<objectClass name='C'>" + text + "</objectClass>";
        return moduleOf("<objects>" + text + "</objects>");
    };
    EXPECT_EQ(read(nested(200)).target.objectClasses().size(), 200U);
    EXPECT_THROW(read(nested(201)), MalformedModule);
}

}  // namespace
}  // namespace RtiqnFom::Tests
