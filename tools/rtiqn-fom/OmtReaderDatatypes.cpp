#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "OmtReading.h"
#include "Vocabulary.h"

namespace RtiqnFom {

namespace {

using OrynRti::DtFedTarget;

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

std::uint32_t sizeOfRow(OmtReading& reading, const OmtRow& row, const std::string& owner) {
    const std::string text = row.stated("size");
    reading.requireStated(row, "size", text, owner);
    const std::optional<std::uint32_t> size = sizeOf(text.empty() ? "0" : text);
    if (!size)
        throw MalformedModule(row.placeOf("size"), owner + " has the size " + quoted(text) +
                                                       ", which is no number of bits");
    return *size;
}

std::int32_t endianOfRow(OmtReading& reading, const OmtRow& row, const std::string& owner) {
    const std::string text = row.stated("endian");
    const std::optional<std::int32_t> code = endianOf(text);
    if (!code)
        reading.failure(row.placeOf("endian"),
                        owner + " has the endian " + quoted(text) + ", not Big or Little");
    return code.value_or(0);
}

/// Whether a cardinality such as "3", "Dynamic" or "[1..10]" holds a negative number.
bool hasNegativeNumber(const std::string& text) {
    const auto isDigit = [&](std::size_t at) {
        return at < text.size() && text[at] >= '0' && text[at] <= '9';
    };
    for (std::size_t at = text.find('-'); at != std::string::npos; at = text.find('-', at + 1)) {
        if (isDigit(at + 1) && !(at > 0 && isDigit(at - 1)))
            return true;
    }
    return false;
}

/// The values of an enumerator: one element each, or a list in an attribute.
std::vector<std::string> valuesOf(const OmtRow& row) {
    std::vector<std::string> values;
    for (const OmtRow& value : row.rows("value")) {
        std::string text = statedText(row.tree().text(value.node()));
        if (!text.empty())
            values.push_back(std::move(text));
    }
    return values.empty() ? wordsOf(row.raw("values")) : values;
}

/// `owner` is asked only when there is something to say.
template <typename Owner>
void checkValues(OmtReading& reading, const OmtRow& row, const std::vector<std::string>& values,
                 const Owner& owner) {
    if (values.empty())
        reading.failure(row.place(), owner() + " has no value");
    for (const std::string& value : values) {
        if (!isEnumeratorValue(value))
            reading.failure(row.placeOf("value"),
                            owner() + " has the value " + quoted(value) + ", which is no number");
    }
}

void addEnumerators(OmtReading& reading, const OmtRow& row, const std::string& owner,
                    OrynRti::DtEnumeratedDatatypeType& datatype, RowInfo& info) {
    std::unordered_set<std::string> names;
    for (const OmtRow& part : row.rows("enumerator")) {
        const std::string name = requiredName(part);
        const auto partOwner = [&] { return "enumerator " + quoted(name) + " of " + owner; };
        const std::vector<std::string> values = valuesOf(part);
        checkValues(reading, part, values, partOwner);
        if (!names.insert(name).second)
            reading.failure(part.place(), partOwner() + " comes again");
        OrynRti::DtEnumeratorType enumerator;
        enumerator.name = libraryText(name);
        for (const std::string& value : values)
            enumerator.values.push_back(libraryText(value));
        datatype.enumerators.push_back(std::move(enumerator));
        part.addNotesTo(info, "enumerator", name);
    }
    if (datatype.enumerators.empty())
        reading.failure(row.place(), owner + " has no enumerators");
}

void addFields(OmtReading& reading, const OmtRow& row, const std::string& owner,
               OrynRti::DtFixedRecordDatatypeType& datatype, RowInfo& info) {
    std::unordered_set<std::string> names;
    for (const OmtRow& part : row.rows("field")) {
        const std::string name = requiredName(part);
        const auto partOwner = [&] { return "field " + quoted(name) + " of " + owner; };
        const std::string type = part.stated("dataType");
        if (type.empty())
            reading.requireStated(part, "dataType", type, partOwner());
        if (!names.insert(name).second)
            reading.failure(part.place(), partOwner() + " comes again");
        OrynRti::DtFieldType field;
        field.name = libraryText(name);
        field.dataType = libraryText(type);
        field.semantics = libraryText(part.stated("semantics"));
        datatype.fields.push_back(std::move(field));
        part.addNotesTo(info, "field", name);
    }
}

/// An alternative may have neither name nor datatype: nothing follows its discriminant then.
OrynRti::DtAlternativeType alternativeOf(OmtReading& reading, const OmtRow& row,
                                         const std::string& owner) {
    OrynRti::DtAlternativeType alternative;
    const std::string enumerator = row.word("enumerator");
    const std::string name = row.stated("name");
    const std::string type = row.stated("dataType");
    if (name.empty() && !type.empty())
        requiredName(row);
    if (!name.empty())
        reading.requireStated(row, "dataType", type,
                              "alternative " + quoted(name) + " of " + owner);
    alternative.enumerator = libraryText(enumerator);
    alternative.name = libraryText(name);
    alternative.dataType = libraryText(type);
    alternative.semantics = libraryText(row.stated("semantics"));
    return alternative;
}

/// The enumerators that an alternative names: "A", "A, B", "[A .. C]" and lists of these; of a
/// range the two ends.
std::vector<std::string> enumeratorsNamed(const std::string& text) {
    std::vector<std::string> names;
    std::string name;
    const auto finish = [&] {
        name = collapsed(name);
        if (!name.empty())
            names.push_back(std::move(name));
        name.clear();
    };
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool range = text.compare(at, 2, "..") == 0;
        if (range || text[at] == ',' || text[at] == '[' || text[at] == ']')
            finish();
        else
            name += text[at];
        if (range)
            ++at;
    }
    finish();
    return names;
}

/// The enumerators of the module's enumerations, each gathered when first asked for.
class EnumeratorNames {
public:
    explicit EnumeratorNames(const FomTarget& target) : target_(target) {}

    /// Null when the module does not define the datatype as an enumeration.
    const std::unordered_set<std::string>* find(const std::string& datatype) {
        const auto found = names_.find(datatype);
        if (found != names_.end())
            return &found->second;
        OrynRti::DtEnumeratedDatatypeType wanted;
        wanted.name = libraryText(datatype);
        const auto row = target_.enumeratedDataTypes().find(wanted);
        if (row == target_.enumeratedDataTypes().end())
            return nullptr;
        std::unordered_set<std::string>& names = names_[datatype];
        for (const OrynRti::DtEnumeratorType& enumerator : (*row)->enumerators)
            names.insert(enumerator.name.c_str());
        return &names;
    }

private:
    const FomTarget& target_;
    std::unordered_map<std::string, std::unordered_set<std::string>> names_;
};

/// A list in an attribute has blanks between its names.
bool namesOnly(const std::unordered_set<std::string>& known, const std::string& name) {
    if (name == "HLAother" || known.count(name) != 0)
        return true;
    const std::vector<std::string> words = wordsOf(name);
    for (const std::string& word : words) {
        if (known.count(word) == 0)
            return false;
    }
    return words.size() > 1;
}

void checkAlternativesOf(OmtReading& reading, const VariantToCheck& variant,
                         const std::string& datatype,
                         const std::unordered_set<std::string>& known) {
    for (const OmtRow& alternative : variant.row.rows("alternative")) {
        const std::string owner = "an alternative of variant record " + quoted(variant.name);
        const std::vector<std::string> names = enumeratorsNamed(alternative.word("enumerator"));
        if (names.empty())
            reading.failure(alternative.placeOf("enumerator"), owner + " names no enumerator");
        for (const std::string& name : names) {
            if (!namesOnly(known, name))
                reading.failure(
                    alternative.placeOf("enumerator"),
                    owner + " names " + quoted(name) + ", which is no enumerator of " + datatype);
        }
    }
}

}  // namespace

void readBasicData(OmtReading& reading, const OmtRow& table) {
    for (const OmtRow& row : table.rows("basicData")) {
        auto datatype = std::make_unique<OrynRti::DtBasicDataRepresentationType>();
        const std::string name = requiredName(row);
        const std::string owner = "basic data representation " + quoted(name);
        datatype->name = libraryText(name);
        datatype->size = sizeOfRow(reading, row, owner);
        datatype->interpretation = libraryText(row.stated("interpretation"));
        datatype->endian = endianOfRow(reading, row, owner);
        datatype->encoding = libraryText(row.stated("encoding"));
        storeRow(reading, OrynRti::DtMergeFomTableBasicDataRepType, "basic data representation",
                 &DtFedTarget::addBasicDataRepresentation, std::move(datatype), row.info());
    }
}

void readSimpleData(OmtReading& reading, const OmtRow& table) {
    for (const OmtRow& row : table.rows("simpleData")) {
        auto datatype = std::make_unique<OrynRti::DtSimpleDatatypeType>();
        const std::string name = requiredName(row);
        const std::string representation = row.stated("representation");
        reading.requireStated(row, "representation", representation,
                              "simple datatype " + quoted(name));
        datatype->name = libraryText(name);
        datatype->representation = libraryText(representation);
        datatype->units = libraryText(row.stated("units"));
        datatype->resolution = libraryText(row.stated("resolution"));
        datatype->accuracy = libraryText(row.stated("accuracy"));
        datatype->semantics = libraryText(row.stated("semantics"));
        storeRow(reading, OrynRti::DtMergeFomTableSimpleDataType, "simple datatype",
                 &DtFedTarget::addSimpleDataType, std::move(datatype), row.info());
    }
}

void readEnumeratedData(OmtReading& reading, const OmtRow& table) {
    for (const OmtRow& row : table.rows("enumeratedData")) {
        auto datatype = std::make_unique<OrynRti::DtEnumeratedDatatypeType>();
        const std::string name = requiredName(row);
        const std::string owner = "enumerated datatype " + quoted(name);
        const std::string representation = row.stated("representation");
        reading.requireStated(row, "representation", representation, owner);
        RowInfo info = row.info();
        datatype->name = libraryText(name);
        datatype->representation = libraryText(representation);
        datatype->semantics = libraryText(row.stated("semantics"));
        addEnumerators(reading, row, owner, *datatype, info);
        storeRow(reading, OrynRti::DtMergeFomTableEnumeratedDataType, "enumerated datatype",
                 &DtFedTarget::addEnumeratedDataType, std::move(datatype), std::move(info));
    }
}

void readArrayData(OmtReading& reading, const OmtRow& table) {
    for (const OmtRow& row : table.rows("arrayData")) {
        auto datatype = std::make_unique<OrynRti::DtArrayDatatypeType>();
        const std::string name = requiredName(row);
        const std::string owner = "array datatype " + quoted(name);
        const std::string type = row.stated("dataType");
        const std::string cardinality = row.stated("cardinality");
        reading.requireStated(row, "dataType", type, owner);
        if (hasNegativeNumber(cardinality))
            reading.failure(row.placeOf("cardinality"),
                            owner + " has the negative cardinality " + quoted(cardinality));
        datatype->name = libraryText(name);
        datatype->dataType = libraryText(type);
        datatype->cardinality = libraryText(cardinality);
        datatype->encoding = libraryText(row.stated("encoding"));
        datatype->semantics = libraryText(row.stated("semantics"));
        storeRow(reading, OrynRti::DtMergeFomTableArrayDataType, "array datatype",
                 &DtFedTarget::addArrayDataType, std::move(datatype), row.info());
    }
}

void readFixedRecordData(OmtReading& reading, const OmtRow& table) {
    for (const OmtRow& row : table.rows("fixedRecordData")) {
        auto datatype = std::make_unique<OrynRti::DtFixedRecordDatatypeType>();
        const std::string name = requiredName(row);
        RowInfo info = row.info();
        datatype->name = libraryText(name);
        datatype->encoding = libraryText(row.stated("encoding"));
        datatype->semantics = libraryText(row.stated("semantics"));
        addFields(reading, row, "fixed record " + quoted(name), *datatype, info);
        storeRow(reading, OrynRti::DtMergeFomTableFixedRecordDataType, "fixed record",
                 &DtFedTarget::addFixedRecordDataType, std::move(datatype), std::move(info));
    }
}

void readVariantRecordData(OmtReading& reading, const OmtRow& table) {
    for (const OmtRow& row : table.rows("variantRecordData")) {
        auto datatype = std::make_unique<OrynRti::DtVariantRecordDatatypeType>();
        const std::string name = requiredName(row);
        const std::string owner = "variant record " + quoted(name);
        const std::string type = row.stated("dataType");
        reading.requireStated(row, "dataType", type, owner);
        RowInfo info = row.info();
        datatype->name = libraryText(name);
        datatype->discriminant = libraryText(row.stated("discriminant"));
        datatype->dataType = libraryText(type);
        datatype->encoding = libraryText(row.stated("encoding"));
        datatype->semantics = libraryText(row.stated("semantics"));
        for (const OmtRow& part : row.rows("alternative")) {
            datatype->alternatives.push_back(alternativeOf(reading, part, owner));
            part.addNotesTo(info, "alternative", part.word("enumerator"));
        }
        reading.variants.push_back({row, name});
        storeRow(reading, OrynRti::DtMergeFomTableVariantRecordDataType, "variant record",
                 &DtFedTarget::addVariantRecordDataType, std::move(datatype), std::move(info));
    }
}

void readReferenceData(OmtReading& reading, const OmtRow& table) {
    for (const XmlTree::Node node : table.tree().children(table.node())) {
        const OmtRow row(table.tree(), node);
        if (row.element() != "referenceData" && row.element() != "referenceDataType")
            continue;
        ReferenceDatatype datatype;
        datatype.name = requiredName(row);
        datatype.representation = row.stated("representation");
        datatype.referencedClass = row.stated("referencedClass");
        datatype.referencedAttribute = row.stated("referencedAttribute");
        datatype.semantics = row.stated("semantics");
        datatype.info = row.info();
        if (const ReferenceDatatype* first =
                reading.target.referenceDatatypes().find(datatype.name))
            reading.duplicate(row.place(), "reference datatype", datatype.name, first->info.place);
        else
            reading.target.store(std::move(datatype));
    }
}

void checkAlternatives(OmtReading& reading) {
    EnumeratorNames enumerators(reading.target);
    for (const VariantToCheck& variant : reading.variants) {
        const std::string datatype = variant.row.stated("dataType");
        if (const std::unordered_set<std::string>* known = enumerators.find(datatype))
            checkAlternativesOf(reading, variant, datatype, *known);
    }
}

}  // namespace RtiqnFom
