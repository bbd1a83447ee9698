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
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr const char* the2010 = "http://standards.ieee.org/IEEE1516-2010";

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
    return std::string("<objectModel xmlns='") + the2010 + "'>\n" + tables + "</objectModel>";
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

std::vector<std::string> notesOf(const RowInfo& info) {
    std::vector<std::string> notes;
    for (const NoteReference& note : info.notes)
        notes.push_back(note.field + "=" + note.labels);
    return notes;
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

TEST(OmtReaderTest, AnotherRootIsRefused) {
    const ModuleFile file("<html/>");
    std::vector<Finding> findings;
    EXPECT_THAT(errorOf<MalformedModule>(file.path(), [&] { readModule(file.path(), findings); }),
                HasSubstr("its root is <html>, not <objectModel>"));
}

TEST(OmtReaderTest, IdentificationKeepsItsFieldsAndTellsDependenciesApart) {
    const FomTarget target =
        read(moduleOf("<modelIdentification notes='N1'><name notes='N2'> Tank\n farm </name>"
                      "<version>NA</version>"
                      "<poc><pocType>Author</pocType><pocName>A. Nother</pocName></poc>"
                      "<useHistory noteReferences='N3'>Once</useHistory>"
                      "<reference><type>dependency</type><identification> Base </identification>"
                      "</reference><reference><type>Manual</type><identification>x.pdf"
                      "</identification></reference></modelIdentification>"))
            .target;
    EXPECT_EQ(textOf(target.modelIdentification()), "Tank farm");
    ASSERT_THAT(target.fomDependencies(), SizeIs(1));
    EXPECT_EQ(textOf(target.fomDependencies()[0]), "Base");
    const std::vector<IdentificationField>& fields = target.identificationFields();
    ASSERT_THAT(fields, SizeIs(3));
    EXPECT_EQ(fields[0].element, "poc");
    ASSERT_THAT(fields[0].children, SizeIs(2));
    EXPECT_EQ(fields[0].children[1].text, "A. Nother");
    EXPECT_EQ(fields[1].attributes[0].second, "N3");
    EXPECT_EQ(fields[2].children[1].text, "x.pdf");
    const RowInfo* info = target.rowInfo(DtMergeFomTableIdentification, "Tank farm");
    ASSERT_NE(info, nullptr);
    EXPECT_THAT(notesOf(*info), ElementsAre("=N1", "name=N2"));
}

TEST(OmtReaderTest, AClassIsFoundWithAllItsFieldsInBothStyles) {
    const char* elements =
        "<objects><objectClass><name>Root</name><objectClass><name>Boat</name>"
        "<sharing>Publish</sharing><semantics>A\n boat</semantics>"
        "<attribute><name>Speed</name><dataType>Knots</dataType><updateType>Periodic</updateType>"
        "<updateCondition>1 Hz</updateCondition><ownership>NoTransfer</ownership>"
        "<sharing>Neither</sharing><dimensions><dimension>D1</dimension><dimension>D2</dimension>"
        "</dimensions><transportation>HLAreliable</transportation><order>Receive</order>"
        "<semantics>How fast</semantics></attribute></objectClass></objectClass></objects>";
    const char* attributes =
        "<objects><objectClass name='Root' sharing='NA'><objectClass name='Boat' sharing='Publish' "
        "semantics='A boat'><attribute name='Speed' dataType='Knots' updateType='Periodic' "
        "updateCondition='1 Hz' ownership='NoTransfer' sharing='Neither' dimensions='D1 D2' "
        "transportation='HLAreliable' order='Receive' semantics='How fast'/></objectClass>"
        "</objectClass></objects>";
    for (const char* style : {elements, attributes}) {
        const FomTarget target = read(moduleOf(style)).target;
        EXPECT_THAT(names(target.objectClasses()), ElementsAre("Root", "Root.Boat"));
        EXPECT_EQ(target.objectClasses().find("Root")->sharing, "");
        const ObjectClass& boat = *target.objectClasses().find("Root.Boat");
        EXPECT_EQ(boat.sharing + "|" + boat.semantics, "Publish|A boat");
        ASSERT_THAT(boat.attributes, SizeIs(1));
        const Attribute& speed = boat.attributes[0];
        EXPECT_EQ(speed.name + "|" + speed.dataType + "|" + speed.updateType + "|" +
                      speed.updateCondition + "|" + speed.ownership + "|" + speed.sharing + "|" +
                      speed.transportation + "|" + speed.order + "|" + speed.semantics,
                  "Speed|Knots|Periodic|1 Hz|NoTransfer|Neither|HLAreliable|Receive|How fast");
        EXPECT_THAT(speed.dimensions, ElementsAre("D1", "D2"));
    }
}

TEST(OmtReaderTest, InteractionsAndWhatTheEditionOf2025Adds) {
    const FomTarget target =
        read(
            "<objectModel xmlns='http://standards.ieee.org/IEEE1516-2025'><objects><objectClass>"
            "<name>R</name><attribute><name>A</name><valueRequired>true</valueRequired>"
            "</attribute><directedInteraction><name>R.I</name><sharing>Publish</sharing>"
            "</directedInteraction></objectClass></objects><interactions><interactionClass>"
            "<name>R</name><interactionClass><name>I</name><sharing>Subscribe</sharing>"
            "<dimensions><dimension>D</dimension><dimension>NA</dimension></dimensions>"
            "<transportation>T</transportation><order>TimeStamp</order><semantics>S</semantics>"
            "<parameter><name>P</name><dataType>DT</dataType><semantics>PS</semantics>"
            "</parameter></interactionClass></interactionClass></interactions><dataTypes>"
            "<referenceDataTypes><referenceDataType><name>Ref</name><representation>Id"
            "</representation><referencedClass>R</referencedClass><referencedAttribute>A"
            "</referencedAttribute></referenceDataType></referenceDataTypes></dataTypes>"
            "</objectModel>")
            .target;
    const ObjectClass& object = *target.objectClasses().find("R");
    EXPECT_EQ(object.attributes.at(0).valueRequired, "true");
    EXPECT_EQ(object.directedInteractions.at(0).name, "R.I");
    EXPECT_EQ(object.directedInteractions.at(0).sharing, "Publish");
    const InteractionClass& interaction = *target.interactionClasses().find("R.I");
    EXPECT_EQ(interaction.sharing + interaction.transportation + interaction.order +
                  interaction.semantics,
              "SubscribeTTimeStampS");
    EXPECT_THAT(interaction.dimensions, ElementsAre("D"));
    EXPECT_EQ(interaction.parameters.at(0).dataType, "DT");
    const ReferenceDatatype* reference = target.referenceDatatypes().find("Ref");
    ASSERT_NE(reference, nullptr);
    EXPECT_EQ(
        reference->representation + reference->referencedClass + reference->referencedAttribute,
        "IdRA");
}

TEST(OmtReaderTest, AClassThatComesAgainIsCompletedAndExtended) {
    const ReadModule module = read(
        moduleOf("<objects><objectClass><name>R</name><objectClass><name>C</name><objectClass>\n"
                 "<name>D</name></objectClass><attribute><name>A</name></attribute></objectClass>"
                 "<objectClass><name>C</name><sharing>Publish</sharing>\n<attribute><name>B</name>"
                 "</attribute></objectClass></objectClass></objects>"));
    EXPECT_THAT(told(module), IsEmpty());
    EXPECT_THAT(names(module.target.objectClasses()), ElementsAre("R", "R.C", "R.C.D"));
    const ObjectClass& joined = *module.target.objectClasses().find("R.C");
    EXPECT_EQ(joined.sharing, "Publish");
    ASSERT_THAT(joined.attributes, SizeIs(2));
    EXPECT_EQ(joined.attributes[1].name, "B");
    EXPECT_EQ(joined.attributes[1].info.place.line, 4U);
}

TEST(OmtReaderTest, WhatComesTwiceIsToldAndTheFirstStays) {
    const ReadModule module =
        read(moduleOf("<objects><objectClass><name>R</name><sharing>Publish</sharing>\n"
                      "<attribute><name>A</name><dataType>X</dataType></attribute>\n"
                      "<attribute><name>A</name><dataType>Y</dataType></attribute></objectClass>\n"
                      "<objectClass><name>R</name><sharing>Neither</sharing></objectClass>"
                      "</objects><notes>\n<note><label>N</label><semantics>one</semantics></note>\n"
                      "<note><label>N</label><semantics>two</semantics></note></notes>"
                      "<switches>\n<autoProvide isEnabled='true'/>\n"
                      "<autoProvide isEnabled='false'/></switches>"));
    EXPECT_THAT(told(module),
                ElementsAre(StartsWith("failure 4: attribute of R: \"A\" comes again"),
                            StartsWith("failure 5: class \"R\" comes again with other fields"),
                            StartsWith("failure 7: note \"N\" comes again"),
                            StartsWith("failure 9: switch \"autoProvide\" comes again")));
    EXPECT_EQ(module.target.objectClasses().find("R")->attributes.at(0).dataType, "X");
    EXPECT_EQ(textOf((*module.target.notes().begin())->semantics), "one");
    EXPECT_TRUE(module.target.switchValue("autoProvide"));
}

TEST(OmtReaderTest, SmallTablesAreReadInBothStyles) {
    const char* elements =
        "<dimensions><dimension><name>D</name><dataType>T</dataType><upperBound>7</upperBound>"
        "<normalization>N</normalization><value>Excluded</value></dimension></dimensions>"
        "<time><timeStamp><dataType>T</dataType><semantics>S</semantics></timeStamp>"
        "<lookahead><dataType>NA</dataType><semantics>S</semantics></lookahead></time>"
        "<tags><updateReflectTag><dataType>NA</dataType><semantics>NA</semantics>"
        "</updateReflectTag><sendReceiveTag><semantics>S</semantics></sendReceiveTag></tags>"
        "<synchronizations><synchronizationPoint><label>P</label>"
        "<capability>registerAchieve</capability></synchronizationPoint></synchronizations>"
        "<transportations><transportation><name>L</name><reliable>Yes</reliable>"
        "<semantics>S</semantics></transportation></transportations>"
        "<updateRates><updateRate><name>U</name><rate>10.56</rate></updateRate></updateRates>";
    const char* attributes =
        "<dimensions><dimension name='D' dataType='T' upperBound='7' normalization='N' "
        "value='Excluded'/></dimensions>"
        "<time><timeStamp dataType='T' semantics='S'/><lookahead semantics='S'/></time>"
        "<tags><updateReflectTag dataType='' semantics=''/><sendReceiveTag semantics='S'/></tags>"
        "<synchronizations><synchronization label='P' capability='RegisterAchieve'/>"
        "</synchronizations><transportations><transportation name='L' reliable='1' semantics='S'/>"
        "</transportations><updateRates><updateRate name='U' rate='10.56'/></updateRates>";
    for (const char* style : {elements, attributes}) {
        const ReadModule module = read(moduleOf(style));
        const FomTarget& target = module.target;
        EXPECT_THAT(told(module), IsEmpty());
        const Dimension* dimension = target.dimensions().find("D");
        ASSERT_NE(dimension, nullptr);
        EXPECT_EQ(dimension->dataType + dimension->upperBound + dimension->normalization +
                      dimension->valueWhenUnspecified,
                  "T7NExcluded");
        EXPECT_THAT(names(target.timeTypes()), ElementsAre("timeStamp"));
        EXPECT_THAT(names(target.userSuppliedTags()), ElementsAre("sendReceiveTag"));
        ASSERT_THAT(target.syncPoints(), SizeIs(1));
        EXPECT_EQ((*target.syncPoints().begin())->capability, 3);
        EXPECT_EQ(target.transportTypeFromTransportation("L"), 1U);
        ASSERT_THAT(target.updateRates(), SizeIs(1));
        EXPECT_EQ((*target.updateRates().begin())->rate, 10.56f);
    }
}

TEST(OmtReaderTest, TransportationsOf2000AreReliableByNameOrDescription) {
    const ReadModule module = read(
        "<objectModel DTDversion='1516.2'><transportations><transportation name='HLAreliable'/>"
        "<transportation name='A' description='Reliable and\n ordered'/>"
        "<transportation name='B' description='best effort'/></transportations></objectModel>");
    EXPECT_EQ(module.target.transportTypeFromTransportation("HLAreliable"), 1U);
    EXPECT_EQ(module.target.transportTypeFromTransportation("A"), 1U);
    EXPECT_EQ(module.target.transportTypeFromTransportation("B"), 0U);
    EXPECT_THAT(told(module), IsEmpty());
    EXPECT_THAT(told(read(moduleOf("<transportations><transportation><name>A</name>"
                                   "</transportation></transportations>"))),
                ElementsAre(HasSubstr("does not state whether it is reliable")));
}

TEST(OmtReaderTest, SwitchesAreStatedOnlyWithAValue) {
    const char* elements =
        "<switches><autoProvide isEnabled='1'/><serviceReporting isEnabled='NA'/>"
        "<attributeScopeAdvisory isEnabled='No'/><exceptionReporting isEnabled='maybe'/>"
        "<ourOwn isEnabled='true'/><other/>"
        "<automaticResignAction resignAction='DeleteObjectsThenDivest'/></switches>";
    const char* attributes =
        "<switches autoProvide='Enabled' serviceReporting='' attributeScopeAdvisory='Disabled' "
        "exceptionReporting='maybe' ourOwn='Enabled' autoProvideNotes='N' "
        "automaticResignAction='DeleteObjectsThanDivest'/>";
    for (const char* style : {elements, attributes}) {
        const ReadModule module = read(moduleOf(style));
        EXPECT_EQ(module.target.numSwitches(), 2U);
        EXPECT_TRUE(module.target.switchValue("autoProvide"));
        EXPECT_TRUE(module.target.knownSwitch("attributeScopeAdvisory"));
        EXPECT_TRUE(module.target.isAutomaticResignActionExplicit());
        EXPECT_EQ(module.target.automaticResignAction(), DtDeleteObjectsThanDivest);
        EXPECT_THAT(told(module),
                    ElementsAre("failure 2: switch \"exceptionReporting\" has the value \"maybe\", "
                                "which is none of its values"));
    }
    EXPECT_FALSE(read(moduleOf("<switches/>")).target.isAutomaticResignActionExplicit());
}

TEST(OmtReaderTest, DatatypesKeepTheirPartsInOrder) {
    const ReadModule module = read(moduleOf(
        "<dataTypes><basicDataRepresentations><basicData><name>B</name><size> 16 </size>"
        "<interpretation>I</interpretation><endian>little</endian><encoding>E</encoding>"
        "</basicData></basicDataRepresentations>"
        "<enumeratedDataTypes><enumeratedData><name>E</name><representation>B</representation>"
        "<enumerator><name>NA</name><value>3</value><value>0x04</value></enumerator>"
        "<enumerator name='Two' values='5 6'/></enumeratedData></enumeratedDataTypes>"
        "<fixedRecordDataTypes><fixedRecordData><name>F</name><field><name>Z</name><dataType>B"
        "</dataType></field><field><name>A</name><dataType>E</dataType><semantics>s</semantics>"
        "</field></fixedRecordData></fixedRecordDataTypes>"
        "<variantRecordDataTypes><variantRecordData><name>V</name><discriminant>d</discriminant>"
        "<dataType>E</dataType><alternative><enumerator>NA</enumerator><name>NA</name>"
        "<dataType>NA</dataType></alternative><alternative><enumerator>HLAother</enumerator>"
        "<name>Rest</name><dataType>F</dataType></alternative></variantRecordData>"
        "</variantRecordDataTypes></dataTypes>"));
    EXPECT_THAT(told(module), IsEmpty());
    const auto& basic = **module.target.basicDataRepresentations().begin();
    EXPECT_EQ(basic.size, 16U);
    EXPECT_EQ(basic.endian, 2);
    const auto& enumeration = **module.target.enumeratedDataTypes().begin();
    ASSERT_THAT(enumeration.enumerators, SizeIs(2));
    EXPECT_EQ(textOf(enumeration.enumerators[0].name), "NA") << "a name is never \"not stated\"";
    EXPECT_EQ(textOf(enumeration.enumerators[0].values.at(1)), "0x04");
    EXPECT_EQ(textOf(enumeration.enumerators[1].values.at(1)), "6");
    const auto& record = **module.target.fixedRecordDataTypes().begin();
    ASSERT_THAT(record.fields, SizeIs(2));
    EXPECT_EQ(textOf(record.fields[0].name) + textOf(record.fields[1].semantics), "Zs");
    const auto& variant = **module.target.variantRecordDataTypes().begin();
    ASSERT_THAT(variant.alternatives, SizeIs(2));
    EXPECT_EQ(textOf(variant.alternatives[0].name), "");
    EXPECT_EQ(textOf(variant.alternatives[1].dataType), "F");
}

TEST(OmtReaderTest, ARowWithoutMeaningIsRefusedWithItsPlace) {
    const auto basic = [](const std::string& size) {
        return datatypes("basicDataRepresentations",
                         "<basicData><name>B</name>\n <size>" + size + "</size></basicData>");
    };
    const struct {
        std::string document;
        const char* message;
    } cases[] = {
        {basic("sixteen"), "3:2: basic data representation \"B\" has the size \"sixteen\""},
        {basic("-16"), "3:2: basic data representation \"B\" has the size \"-16\""},
        {moduleOf("<objects>\n<objectClass><sharing>Publish</sharing></objectClass></objects>"),
         "3:1: this <objectClass> has no name"},
        {moduleOf("<objects><objectClass>\n<name>A.B</name></objectClass></objects>"),
         "3:1: the class name \"A.B\" must not contain '.'"},
        {moduleOf("<interactions><interactionClass name='I'>\n <parameter name=' '/>"
                  "</interactionClass></interactions>"),
         "3:13: this <parameter> has no name"},
        {moduleOf("<synchronizations><synchronizationPoint/></synchronizations>"),
         "2:19: this <synchronizationPoint> has no label"},
        {moduleOf("<updateRates><updateRate name='U' rate='fast'/></updateRates>"),
         "2:35: update rate \"U\" has the rate \"fast\""},
        {datatypes("enumeratedDataTypes",
                   "<enumeratedData name='E'><enumerator><value>1</value></enumerator>"
                   "</enumeratedData>"),
         "2:58: this <enumerator> has no name"},
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
    const auto variant = [](const std::string& enumerator) {
        return moduleOf(
            "<dataTypes><variantRecordDataTypes><variantRecordData name='V' dataType='E'>\n"
            "<alternative enumerator='" +
            enumerator +
            "' name='X' dataType='T'/></variantRecordData></variantRecordDataTypes>\n"
            "<enumeratedDataTypes><enumeratedData name='E' representation='B'><enumerator "
            "name='A' values='1'/><enumerator name='C' values='2'/></enumeratedData>"
            "</enumeratedDataTypes></dataTypes>");
    };
    const struct {
        std::string document;
        const char* message;  ///< empty when nothing is wrong
    } cases[] = {
        {datatypes("arrayDataTypes", "<arrayData name='X' dataType='T' cardinality='[-1..3]'/>"),
         "failure 2: array datatype \"X\" has the negative cardinality \"[-1..3]\""},
        {datatypes("arrayDataTypes", "<arrayData name='X' dataType='T' cardinality='1-3'/>"), ""},
        {datatypes("arrayDataTypes", "<arrayData name='X' cardinality='3'/>"),
         "failure 2: array datatype \"X\" states no dataType"},
        {datatypes("simpleDataTypes", "<simpleData name='X' representation='NA'/>"),
         "failure 2: simple datatype \"X\" states no representation"},
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
        {variant("B"),
         "failure 3: an alternative of variant record \"V\" names \"B\", which is no enumerator of "
         "E"},
        {variant(""), "failure 3: an alternative of variant record \"V\" names no enumerator"},
        {variant("[A .. C]"), ""},
        {variant("C, A"), ""},
        {variant("A C"), ""},
        {variant("[A..C], HLAother"), ""},
        {moduleOf("<Switchs/>"), "warning 2: <Switchs> is not read; is it meant to be <switches>?"},
        {moduleOf("<dataTypes><simpleDatatypes/></dataTypes>"),
         "warning 2: <simpleDatatypes> is not read; is it meant to be <simpleDataTypes>?"},
        {moduleOf("<serviceUtilization/><lexicon/><type/>"), ""}};
    for (const auto& c : cases) {
        const std::vector<std::string> texts = told(read(c.document));
        if (*c.message)
            EXPECT_THAT(texts, ElementsAre(c.message)) << c.document;
        else
            EXPECT_THAT(texts, IsEmpty()) << c.document;
    }
}

TEST(OmtReaderTest, AlternativesOfAnEnumerationElsewhereAreLeftToTheMerge) {
    EXPECT_THAT(told(read(datatypes("variantRecordDataTypes",
                                    "<variantRecordData name='V' dataType='E'><alternative "
                                    "enumerator='B' name='X' dataType='T'/></variantRecordData>"))),
                IsEmpty());
}

TEST(OmtReaderTest, ReferencesToNotesAreFoundWhereverTheyStand) {
    const ReadModule module = read(moduleOf(
        "<objects><objectClass notes='N1'><name>C</name><attribute notes='N2 N3'>"
        "<name>A</name><updateCondition noteReferences=' N4\n N5'>x</updateCondition></attribute>"
        "</objectClass></objects><dataTypes><enumeratedDataTypes><enumeratedData notes='N6'>"
        "<name>E</name><representation notes='N7'>B</representation><enumerator notes='N8'>"
        "<name>Red</name><value>1</value></enumerator></enumeratedData></enumeratedDataTypes>"
        "<fixedRecordDataTypes><fixedRecordData name='F' encodingNotes='N9'>"
        "<field name='X' dataType='B' semanticsNotes='N10' nameNotes=''/></fixedRecordData>"
        "</fixedRecordDataTypes></dataTypes>"));
    const ObjectClass& object = *module.target.objectClasses().find("C");
    EXPECT_THAT(notesOf(object.info), ElementsAre("=N1"));
    EXPECT_THAT(notesOf(object.attributes.at(0).info),
                ElementsAre("=N2 N3", "updateCondition=N4 N5"));
    EXPECT_THAT(notesOf(*module.target.rowInfo(DtMergeFomTableEnumeratedDataType, "E")),
                ElementsAre("=N6", "representation=N7", "enumerator/Red=N8"));
    EXPECT_THAT(notesOf(*module.target.rowInfo(DtMergeFomTableFixedRecordDataType, "F")),
                ElementsAre("encoding=N9", "field/X/semantics=N10"));
}

TEST(OmtReaderTest, OnlyTheTextOfANoteKeepsItsWhiteSpace) {
    const ReadModule module =
        read(moduleOf("<notes><note><label> N\n 1 </label><semantics> One\n\n  two </semantics>"
                      "</note><note name='Two' semantics='NA'/></notes>"));
    ASSERT_THAT(names(module.target.notes()), ElementsAre("N 1", "Two"));
    EXPECT_EQ(textOf((*module.target.notes().begin())->semantics), " One\n\n  two ");
    EXPECT_EQ(textOf((*module.target.notes().rbegin())->semantics), "NA");
}

TEST(OmtReaderTest, ClassesNestDeepButNotWithoutEnd) {
    const auto nested = [](std::size_t depth) {
        std::string text;
        for (std::size_t i = 0; i < depth; ++i)
            text += "<objectClass><name>C</name>";
        for (std::size_t i = 0; i < depth; ++i)
            text += "</objectClass>";
        return moduleOf("<objects>" + text + "</objects>");
    };
    EXPECT_EQ(read(nested(200)).target.objectClasses().size(), 200U);
    EXPECT_THROW(read(nested(201)), MalformedModule);
}

TEST(OmtReaderTest, TheSampleFederationIsWellFormedButForItsMalformedModule) {
    for (const char* name :
         {"HarbourBase.xml", "HarbourTraffic.xml", "HarbourCargo.xml", "HarbourDatatypes.xml",
          "HarbourNetwork.xml", "HarbourSwitches.xml", "HarbourConflict.xml"}) {
        std::vector<Finding> findings;
        const FomTarget target = readModule(samplePath(name), findings);
        EXPECT_THAT(findings, IsEmpty()) << name;
        EXPECT_EQ(textOf(target.modelIdentification()) + ".xml", name);
    }
    std::vector<Finding> findings;
    EXPECT_THROW(readModule(samplePath("HarbourMalformed.xml"), findings), MalformedModule);
}

}  // namespace
}  // namespace RtiqnFom::Tests
