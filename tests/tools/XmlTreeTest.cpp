#include <gmock/gmock.h>
#include <string>

#include "Errors.h"
#include "XmlTree.h"
#include "tools/ModuleFile.h"

namespace RtiqnFom::Tests {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string malformation(const std::string& text) {
    const ModuleFile file(text);
    return errorOf<MalformedModule>(file.path(), [&] { XmlTree tree(file.path()); });
}

TEST(XmlTreeTest, NamesAreLocalAndChildrenStandInDocumentOrder) {
    const ModuleFile file(
        "<m:root xmlns:m='urn:x:2010' xmlns='urn:other' xmlns:name='urn:n'>"
        "<m:first m:kind='k'/><second><third/></second><!-- no child --><m:last/></m:root>");
    const XmlTree tree(file.path());
    EXPECT_EQ(tree.rootNamespace(), "urn:x:2010");
    std::string names(tree.name(tree.root()));
    for (const XmlTree::Node child : tree.children(tree.root()))
        names += " " + std::string(tree.name(child));
    EXPECT_EQ(names, "root first second last");
    EXPECT_EQ(tree.attributes(tree.root()).size(), 0U) << "declarations are no attributes";
    const XmlTree::Attributes attributes = tree.attributes(*tree.children(tree.root()).begin());
    ASSERT_EQ(attributes.size(), 1U);
    EXPECT_EQ(attributes.name(0), "kind");
    EXPECT_EQ(attributes.value(0), "k");
}

TEST(XmlTreeTest, TextIsThatOfAllElementsWithin) {
    const ModuleFile file(
        "<a>one <b>two</b><!-- not this -->&lt;<![CDATA[ & ]]><c>&#x74;hree</c>\r\nend</a>");
    const XmlTree tree(file.path());
    EXPECT_EQ(tree.text(tree.root()), "one two< & three\nend");
    EXPECT_EQ(tree.text(*tree.children(tree.root()).begin()), "two");
}

TEST(XmlTreeTest, ElementsAndAttributesKnowWhereTheyStand) {
    const ModuleFile file(
        "<?xml version='1.0'?>\n<!DOCTYPE root SYSTEM 'nowhere.dtd'>\n"
        "<root>\n  <row one = '1'\r\n\t two='a > b\n\xC3\xA4' three=''/></root>");
    const XmlTree tree(file.path());
    const XmlTree::Node row = *tree.children(tree.root()).begin();
    EXPECT_EQ(tree.place(row).text(), file.path() + ":4:3");
    const XmlTree::Attributes attributes = tree.attributes(row);
    ASSERT_EQ(attributes.size(), 3U);
    EXPECT_EQ(attributes.place(0).text(), file.path() + ":4:8");
    EXPECT_EQ(attributes.place(1).text(), file.path() + ":5:3");
    EXPECT_EQ(attributes.place(2).text(), file.path() + ":6:4")
        << "a character of two bytes is one column";
}

TEST(XmlTreeTest, AttributesKnowWhereTheyStandWhereverThePieceEnds) {
    const std::string row = "<row first='1' second='2'/>";
    for (std::size_t cut = 0; cut <= row.size(); ++cut) {
        const std::string before = "<root><!--";
        const std::size_t fill = (1U << 20) - before.size() - 3 - cut;
        const ModuleFile file(before + std::string(fill, '.') + "-->" + row + "</root>");
        const XmlTree tree(file.path());
        const XmlTree::Attributes attributes = tree.attributes(*tree.children(0).begin());
        ASSERT_EQ(attributes.size(), 2U);
        EXPECT_EQ(attributes.value(1), "2");
        EXPECT_EQ(attributes.place(1).column, (1U << 20) - cut + 16) << cut;
    }
}

TEST(XmlTreeTest, WhatIsNotWellFormedIsRefusedWithItsPlace) {
    const struct {
        const char* text;
        const char* message;
    } cases[] = {
        {"", "1:1: this is not well-formed XML: no element found"},
        {"<a>\n <b></a>", "2:7: this is not well-formed XML: mismatched tag"},
        {"<a>\n <b x='1' x='2'/></a>", "2:11: this is not well-formed XML: duplicate attribute"},
        {"<a>\xFF</a>", "1:4: this is not well-formed XML"},
        {"<!DOCTYPE a [\n<!ENTITY e 'x'>]><a/>", "2:12: the entity \"e\" is declared"},
        {"<!DOCTYPE a [<!ENTITY e SYSTEM '/etc/passwd'>]><a>&e;</a>",
         "1:45: the entity \"e\" is declared"},
        {"<!DOCTYPE a SYSTEM 'a.dtd'><a>\n&e;</a>", "2:1: the entity \"e\" is not defined"},
        {"<!DOCTYPE a SYSTEM 'a.dtd'><a>\n<b x='1&#38;2' y='&e;'/></a>",
         "2:1: the entity \"e\" is not defined"}};
    for (const auto& c : cases)
        EXPECT_THAT(malformation(c.text), StartsWith(c.message)) << c.text;
}

TEST(XmlTreeTest, DepthIsBounded) {
    const auto nested = [](std::size_t depth) {
        std::string text;
        for (std::size_t i = 0; i < depth; ++i)
            text = "<a>" + text + "</a>";
        return text;
    };
    EXPECT_EQ(malformation(nested(XmlTree::theMaxDepth)), "");
    EXPECT_EQ(malformation(nested(XmlTree::theMaxDepth + 1)),
              "1:769: elements are nested deeper than 256");
}

TEST(XmlTreeTest, CharactersOfTwoBytesAreReadButNotWithADoctype) {
    const auto twoBytes = [](const std::string& text) {
        std::string result = "\xFF\xFE";
        for (const char c : text)
            result += {c, '\0'};
        return result;
    };
    const ModuleFile file(twoBytes("<a x='1'>t</a>"));
    const XmlTree tree(file.path());
    EXPECT_EQ(tree.text(0), "t");
    EXPECT_EQ(tree.attributes(0).value(0), "1");
    EXPECT_THAT(malformation(twoBytes("<!DOCTYPE a SYSTEM 'b'><a x='&e;'/>")),
                HasSubstr("DOCTYPE is not supported"));
}

TEST(XmlTreeTest, DefaultsOfADoctypeAreNotTaken) {
    const ModuleFile file("<!DOCTYPE a [<!ATTLIST a x CDATA 'long'>]><a y='1'/>");
    const XmlTree tree(file.path());
    ASSERT_EQ(tree.attributes(0).size(), 1U);
    EXPECT_EQ(tree.attributes(0).name(0), "y");
}

TEST(XmlTreeTest, AFileThatCannotBeReadIsAnErrorOfItsOwn) {
    const TemporaryFolder folder;
    EXPECT_THROW(XmlTree(folder.path("missing.xml")), FileError);
    EXPECT_THROW(XmlTree(folder.path("")), FileError) << "a folder";
}

}  // namespace
}  // namespace RtiqnFom::Tests
