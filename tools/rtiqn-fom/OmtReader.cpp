#include "OmtReader.h"

#include <algorithm>
#include <string_view>
#include <tuple>

#include "OmtReading.h"
#include "Vocabulary.h"

namespace RtiqnFom {

namespace {

struct Table {
    const char* element;
    void (*read)(OmtReading& reading, const OmtRow& table);
};

constexpr Table theTables[] = {{"objects", readObjects},
                               {"interactions", readInteractions},
                               {"dimensions", readDimensions},
                               {"time", readTime},
                               {"tags", readTags},
                               {"synchronizations", readSynchronizations},
                               {"transportations", readTransportations},
                               {"updateRates", readUpdateRates},
                               {"switches", readSwitches},
                               {"notes", readNotes}};

constexpr Table theDatatypeTables[] = {{"basicDataRepresentations", readBasicData},
                                       {"simpleDataTypes", readSimpleData},
                                       {"enumeratedDataTypes", readEnumeratedData},
                                       {"arrayDataTypes", readArrayData},
                                       {"fixedRecordDataTypes", readFixedRecordData},
                                       {"variantRecordDataTypes", readVariantRecordData},
                                       {"referenceDataTypes", readReferenceData}};

/// The number of characters to insert, take out or change to make one word of the other, without
/// regard to case.
std::size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> row(right.size() + 1);
    for (std::size_t j = 0; j < row.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= left.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const bool same = sameWord(left.substr(i - 1, 1), right.substr(j - 1, 1));
            const std::size_t changed = diagonal + (same ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

bool looksLike(std::string_view element, std::string_view table) {
    const std::size_t longest = table.size() + 2;
    return element.size() <= longest && editDistance(element, table) <= (table.size() < 8 ? 1 : 2);
}

/// Other elements are skipped in silence, but one that looks like a table's name is told of: its
/// rows are missing.
template <std::size_t Size>
void readTable(OmtReading& reading, const Table (&tables)[Size], const OmtRow& element) {
    const std::string name = element.element();
    for (const Table& table : tables) {
        if (name == table.element)
            return table.read(reading, element);
    }
    for (const Table& table : tables) {
        if (looksLike(name, table.element))
            reading.warning(element.place(), "<" + name + "> is not read; is it meant to be <" +
                                                 table.element + ">?");
    }
}

void readTables(OmtReading& reading, const OmtRow& root) {
    for (const XmlTree::Node node : root.tree().children(root.node())) {
        const OmtRow element(root.tree(), node);
        if (element.element() != "dataTypes") {
            readTable(reading, theTables, element);
            if (looksLike(element.element(), "dataTypes"))
                reading.warning(
                    element.place(),
                    "<" + element.element() + "> is not read; is it meant to be <dataTypes>?");
            continue;
        }
        for (const XmlTree::Node table : root.tree().children(node))
            readTable(reading, theDatatypeTables, OmtRow(root.tree(), table));
    }
}

/// The style of a document without a namespace: the first name in it decides.
bool hasAttributeStyle(const XmlTree& tree) {
    for (XmlTree::Node node = 0; node < tree.size(); ++node) {
        if (tree.name(node) == "name" || tree.name(node) == "modelIdentification")
            return false;
        const XmlTree::Attributes attributes = tree.attributes(node);
        for (std::uint32_t index = 0; index < attributes.size(); ++index) {
            if (attributes.name(index) == "name" || attributes.name(index) == "DTDversion")
                return true;
        }
    }
    return false;
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

OrynRti::DtFomType editionOf(const XmlTree& tree) {
    if (endsWith(tree.rootNamespace(), "IEEE1516-2025"))
        return OrynRti::DtFomTypeIeee1516_2025;
    if (endsWith(tree.rootNamespace(), "IEEE1516-2010"))
        return OrynRti::DtFomTypeIeee1516_2010;
    return hasAttributeStyle(tree) ? OrynRti::DtFomTypeIeee1516_2000
                                   : OrynRti::DtFomTypeIeee1516_2010;
}

template <typename Class>
void storeClasses(FomTarget& target, ClassCollector<Class>& collector) {
    for (Class& row : collector.take())
        target.store(std::move(row));
}

}  // namespace

void OmtReading::duplicate(const Place& place, const std::string& kind, const std::string& name,
                           const Place& first) {
    failure(place, kind + " \"" + name + "\" comes again and is not taken; the first one is at " +
                       first.text());
}

void OmtReading::requireStated(const OmtRow& row, const char* field, const std::string& value,
                               const std::string& owner) {
    if (value.empty())
        failure(row.placeOf(field), owner + " states no " + field);
}

std::string requiredName(const OmtRow& row, const char* field) {
    std::string name = row.word(field);
    if (name.empty())
        throw MalformedModule(row.placeOf(field), "this <" + row.element() + "> has no " + field);
    return name;
}

FomTarget readModule(const std::string& path, std::vector<Finding>& findings) {
    const XmlTree tree(path);
    const OmtRow root(tree, tree.root());
    if (root.element() != "objectModel")
        throw MalformedModule(root.place(), "this is no object model: its root is <" +
                                                root.element() + ">, not <objectModel>");
    FomTarget target;
    target.setPath(path);
    target.setFomType(editionOf(tree));
    std::vector<Finding> found;
    OmtReading reading{target, found, {}, {}, {}};
    readIdentification(reading, root);
    readTables(reading, root);
    storeClasses(target, reading.objectClasses);
    storeClasses(target, reading.interactionClasses);
    checkAlternatives(reading);
    std::stable_sort(found.begin(), found.end(), [](const Finding& left, const Finding& right) {
        return std::tie(left.place.line, left.place.column) <
               std::tie(right.place.line, right.place.column);
    });
    findings.insert(findings.end(), found.begin(), found.end());
    return target;
}

}  // namespace RtiqnFom
