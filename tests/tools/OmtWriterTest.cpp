#include <csignal>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "Errors.h"
#include "OmtReader.h"
#include "OmtWriter.h"
#include "WholeFile.h"
#include "tools/ModuleFile.h"

namespace RtiqnFom::Tests {
namespace {

using namespace OrynRti;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::string written(const FomTarget& target) {
    std::ostringstream out;
    writeModule(target, out);
    return out.str();
}

FomTarget read(const std::string& document) {
    const ModuleFile file(document);
    std::vector<Finding> findings;
    FomTarget target = readModule(file.path(), findings);
    EXPECT_THAT(findings, IsEmpty());
    return target;
}

std::string rewritten(const std::string& document) {
    return written(read(document));
}

/// Without the layout between elements.
std::string packed(std::string document) {
    for (auto at = document.find(">\n"); at != std::string::npos;
         at = document.find(">\n", at + 1)) {
        const auto next = document.find_first_not_of(' ', at + 2);
        if (next != std::string::npos && document[next] == '<')
            document.erase(at + 1, next - at - 1);
    }
    return document;
}

/// One of everything, with the elements in the order in which the writer writes them.
constexpr const char* theElements2025 = R"(<?xml version="1.0" encoding="UTF-8"?>
<objectModel xmlns="http://standards.ieee.org/IEEE1516-2025">
<modelIdentification noteReferences="N1">
  <name noteReferences="N2">All &amp; sundry</name><version>1.0</version>
  <useHistory noteReferences="N1">Once</useHistory>
  <poc><pocType>Author</pocType><pocName>A. Nother</pocName></poc>
  <reference><type>Dependency</type><identification>Base</identification></reference>
  <reference><type>Manual</type><identification>manual.pdf</identification></reference>
  <glyph alt="none" type="png">AA==</glyph>
</modelIdentification>
<objects>
  <objectClass><name>HLAobjectRoot</name>
    <objectClass noteReferences="N1"><name>Boat</name>
      <sharing>PublishSubscribe</sharing><semantics>It's a &lt;boat&gt;</semantics>
      <attribute noteReferences="N1 N2"><name>Speed</name><dataType>Knots</dataType>
        <updateType>Periodic</updateType>
        <updateCondition noteReferences="N2">Often</updateCondition>
        <valueRequired>true</valueRequired><ownership>DivestAcquire</ownership>
        <sharing>Publish</sharing>
        <dimensions><dimension>East</dimension><dimension>North</dimension></dimensions>
        <transportation>Fast</transportation><order>Receive</order><semantics>How fast</semantics>
      </attribute>
      <directedInteraction><name>Hail</name><sharing>Publish</sharing></directedInteraction>
      <objectClass><name>Tug</name></objectClass>
    </objectClass>
    <objectClass><name>Quay</name></objectClass>
  </objectClass>
</objects>
<interactions>
  <interactionClass><name>HLAinteractionRoot</name>
    <interactionClass><name>Hail</name><sharing>Publish</sharing>
      <dimensions><dimension>East</dimension></dimensions>
      <transportation>Fast</transportation><order>TimeStamp</order><semantics>A call</semantics>
      <parameter noteReferences="N1"><name>Words</name><dataType>Text</dataType>
        <semantics>What is said</semantics></parameter>
    </interactionClass>
  </interactionClass>
</interactions>
<dimensions><dimension><name>East</name><dataType>Knots</dataType><upperBound>7</upperBound>
  <normalization>linear</normalization><value>[0..7)</value></dimension></dimensions>
<time>
  <timeStamp noteReferences="N1"><dataType>Knots</dataType><semantics>Seconds</semantics></timeStamp>
</time>
<tags><sendReceiveTag><semantics>Why</semantics></sendReceiveTag></tags>
<synchronizations><synchronizationPoint><label>Start</label><dataType>Text</dataType>
  <capability>NoSynch</capability><semantics>Begin</semantics></synchronizationPoint>
</synchronizations>
<transportations><transportation><name>Fast</name><reliable>No</reliable>
  <semantics>Soon</semantics></transportation></transportations>
<switches>
  <autoProvide noteReferences="N1" isEnabled="true"/>
  <nonRegulatedGrant isEnabled="false"/>
  <automaticResignAction resignAction="CancelPendingOwnershipAcquisitions"/>
</switches>
<updateRates><updateRate><name>Low</name><rate>10.56</rate><semantics>Slow</semantics>
  </updateRate></updateRates>
<dataTypes>
  <basicDataRepresentations><basicData><name>Octet</name><size>8</size>
    <interpretation>Bits</interpretation><endian>Little</endian><encoding>Plain</encoding>
    </basicData></basicDataRepresentations>
  <simpleDataTypes><simpleData><name>Knots</name>
    <representation noteReferences="N2">Octet</representation><units>knot</units>
    <resolution>1</resolution><accuracy>perfect</accuracy><semantics>Speed</semantics>
    </simpleData></simpleDataTypes>
  <referenceDataTypes><referenceDataType><name>Boats</name><representation>Octet</representation>
    <referencedClass>HLAobjectRoot.Boat</referencedClass>
    <referencedAttribute>Speed</referencedAttribute><semantics>A boat</semantics>
    </referenceDataType></referenceDataTypes>
  <enumeratedDataTypes>
    <enumeratedData><name>Colour</name><representation>Octet</representation>
      <semantics>Which</semantics>
      <enumerator><name>Red</name><value>1</value><value>[3 .. 4]</value></enumerator>
      <enumerator noteReferences="N2"><name>NA</name><value>2</value></enumerator>
    </enumeratedData>
  </enumeratedDataTypes>
  <arrayDataTypes><arrayData><name>Text</name><dataType>Octet</dataType>
    <cardinality>Dynamic</cardinality><encoding>HLAvariableArray</encoding>
    <semantics>Words</semantics></arrayData></arrayDataTypes>
  <fixedRecordDataTypes><fixedRecordData><name>Place</name><encoding>HLAfixedRecord</encoding>
    <semantics>Where</semantics>
    <field noteReferences="N1"><name>X</name><dataType>Knots</dataType>
      <semantics noteReferences="N2">East</semantics></field>
    </fixedRecordData></fixedRecordDataTypes>
  <variantRecordDataTypes>
    <variantRecordData><name>Paint</name><discriminant>Hue</discriminant><dataType>Colour</dataType>
      <alternative><enumerator>Red</enumerator></alternative>
      <alternative noteReferences="N1"><enumerator>HLAother</enumerator><name>Rest</name>
        <dataType>Text</dataType><semantics>Any</semantics></alternative>
      <encoding>HLAvariantRecord</encoding><semantics>What</semantics>
    </variantRecordData>
  </variantRecordDataTypes>
</dataTypes>
<notes>
  <note><label>N1</label><semantics> First
   second	tab&#13;</semantics></note>
  <note><label>N2</label><semantics>NA</semantics></note>
</notes>
</objectModel>
)";

constexpr const char* theAttributes2000 = R"(<?xml version="1.0" encoding="UTF-8"?>
<objectModel DTDversion="1516.2" name="Old" nameNotes="N1" type="FOM" date="2000-01-01" pocName="A. Nother" pocPhone="1" pocPhoneNotes="N1" references="manual.pdf">
  <objects>
    <objectClass name="HLAobjectRoot">
      <objectClass name="Boat" sharing="Publish" sharingNotes="N1">
        <attribute name="Speed" dataType="Knots" dimensions="East North" transportation="Fast" semantics="&quot;How&quot; fast"/>
      </objectClass>
    </objectClass>
  </objects>
  <synchronizations>
    <synchronization label="Start" capability="Achieve"/>
  </synchronizations>
  <transportations>
    <transportation name="Fast" description="Soon"/>
    <transportation name="Sure" description="reliable"/>
  </transportations>
  <switches autoProvide="Enabled" autoProvideNotes="N1" serviceReporting="Disabled"/>
  <dataTypes>
    <enumeratedDataTypes>
      <enumeratedData name="Colour" representation="Octet">
        <enumerator name="Red" nameNotes="N1" values="1 2"/>
      </enumeratedData>
    </enumeratedDataTypes>
  </dataTypes>
  <notes>
    <note name="N1" semantics="First&#10;  second"/>
  </notes>
</objectModel>
)";

TEST(OmtWriterTest, EverythingThatIsReadIsWrittenBack) {
    EXPECT_EQ(packed(rewritten(theElements2025)), packed(theElements2025));
    EXPECT_EQ(rewritten(theAttributes2000), theAttributes2000) << "in the writer's layout";
}

TEST(OmtWriterTest, AModuleCanBecomeOneOfAnotherEdition) {
    const auto in2010 = [](const char* document) {
        FomTarget target = read(document);
        target.setFomType(DtFomTypeIeee1516_2010);
        const std::string text = written(target);
        EXPECT_EQ(rewritten(text), text);
        return text;
    };
    EXPECT_THAT(in2010(theElements2025),
                AllOf(HasSubstr("xmlns=\"http://standards.ieee.org/IEEE1516-2010\""),
                      HasSubstr("<attribute notes=\"N1 N2\">")));
    EXPECT_THAT(in2010(theAttributes2000),
                AllOf(HasSubstr("<modificationDate>2000-01-01</modificationDate>"),
                      HasSubstr("<pocTelephone notes=\"N1\">1</pocTelephone>"),
                      HasSubstr("<reliable>Yes</reliable>\n      <description>reliable<")));
}

TEST(OmtWriterTest, ClassesThatCameLaterStandWithTheirParents) {
    FomTarget target;
    target.setFomType(DtFomTypeIeee1516_2010);
    target.addModelIdentification(" + A + B");
    for (const char* name : {"R", "R.A", "R.B", "R.A.X", "R.B.Y", "R.A.Z"})
        target.addObjectClass(name);
    const std::string text = written(target);
    EXPECT_THAT(text, HasSubstr("<name>A + B</name>")) << "without the join that it begins with";
    const FomTarget back = read(text);
    EXPECT_THAT(back.objectClasses(), SizeIs(6));
    for (const auto& row : target.objectClasses())
        EXPECT_NE(back.objectClasses().find(row->name), nullptr) << row->name;
}

// Files, whole or not at all.

void writeHello(std::ostream& out) {
    out << "hello";
}

TEST(WholeFileTest, ReplacesAFileAndKeepsItsRightsAndLinks) {
    const TemporaryFolder folder;
    const std::string path = folder.path("out.xml");
    writeWholeFile(path, writeHello);
    EXPECT_EQ(readFile(path), "hello");
    ::chmod(path.c_str(), 0640);
    ASSERT_EQ(::symlink("out.xml", folder.path("link").c_str()), 0);
    writeWholeFile(folder.path("link"), [](std::ostream& out) { out << "again"; });
    EXPECT_EQ(readFile(path), "again");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
    struct stat status;
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U);
}

TEST(WholeFileTest, AFailureLeavesWhatWasThereAndNothingElse) {
    const TemporaryFolder folder;
    writeFile(folder.path("out.xml"), "before");
    const auto fail = [](std::ostream& out) {
        out << std::string(1 << 17, 'x');
        throw std::runtime_error("no more");
    };
    EXPECT_THROW(writeWholeFile(folder.path("out.xml"), fail), std::runtime_error);
    EXPECT_EQ(readFile(folder.path("out.xml")), "before");
    const std::filesystem::directory_iterator entries(folder.path(""));
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST(WholeFileTest, ASignalThatEndsTheProgramWaitsUntilNothingIsLeftBehind) {
    const TemporaryFolder folder;
    const auto interrupted = [](std::ostream& out) {
        std::raise(SIGTERM);
        out << "hello";
    };
    EXPECT_EXIT(writeWholeFile(folder.path("out.xml"), interrupted),
                testing::KilledBySignal(SIGTERM), "");
    EXPECT_EQ(readFile(folder.path("out.xml")), "hello");
    const std::filesystem::directory_iterator entries(folder.path(""));
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST(WholeFileTest, SaysWhatCannotBeWritten) {
    const TemporaryFolder folder;
    const auto error = [](const std::string& path) {
        return errorOf<FileError>("", [&] { writeWholeFile(path, writeHello); });
    };
    EXPECT_THAT(error(folder.path("missing/out.xml")), HasSubstr("No such file or directory"));
    EXPECT_THAT(error(folder.path("")), HasSubstr("Is a directory"));
    EXPECT_THAT(error("/dev/full"), HasSubstr("/dev/full: No space left on device"));
    ASSERT_EQ(::symlink("loop", folder.path("loop").c_str()), 0);
    EXPECT_THAT(error(folder.path("loop")), HasSubstr("Too many levels of symbolic links"));
}

TEST(WholeFileTest, AnOpenDescriptorIsWrittenWhereItStands) {
    const TemporaryFolder folder;
    std::FILE* file = std::fopen(folder.path("out.txt").c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fputs("before ", file);
    std::fflush(file);
    writeWholeFile("/dev/fd/" + std::to_string(::fileno(file)), writeHello);
    std::fclose(file);
    EXPECT_EQ(readFile(folder.path("out.txt")), "before hello");
}

}  // namespace
}  // namespace RtiqnFom::Tests
