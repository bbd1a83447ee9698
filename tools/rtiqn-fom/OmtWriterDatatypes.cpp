#include <string>
#include <vector>

#include "OmtWriting.h"
#include "Vocabulary.h"
#include "Words.h"

namespace RtiqnFom {

namespace {

void writeRow(const OrynRti::DtBasicDataRepresentationType& row, OmtEmitter& out) {
    if (row.size != 0)
        out.field("size", std::to_string(row.size));
    out.field("interpretation", textOf(row.interpretation));
    out.field("endian", endianText(row.endian));
    out.field("encoding", textOf(row.encoding));
}

void writeRow(const OrynRti::DtSimpleDatatypeType& row, OmtEmitter& out) {
    out.field("representation", textOf(row.representation));
    out.field("units", textOf(row.units));
    out.field("resolution", textOf(row.resolution));
    out.field("accuracy", textOf(row.accuracy));
    out.field("semantics", textOf(row.semantics));
}

void writeEnumerator(const OrynRti::DtEnumeratorType& enumerator, OmtEmitter& out) {
    const std::string name = textOf(enumerator.name);
    out.openPart("enumerator", "enumerator/" + name);
    out.field("name", name);
    std::vector<std::string> values;
    for (const OrynRti::DtString& value : enumerator.values)
        values.push_back(textOf(value));
    if (out.style() == OmtEmitter::Style::attributes)
        out.field("values", joined(values, " "));
    else
        for (const std::string& value : values)
            out.field("value", value);
    out.close();
}

void writeRow(const OrynRti::DtEnumeratedDatatypeType& row, OmtEmitter& out) {
    out.field("representation", textOf(row.representation));
    out.field("semantics", textOf(row.semantics));
    for (const OrynRti::DtEnumeratorType& enumerator : row.enumerators)
        writeEnumerator(enumerator, out);
}

void writeRow(const OrynRti::DtArrayDatatypeType& row, OmtEmitter& out) {
    out.field("dataType", textOf(row.dataType));
    out.field("cardinality", textOf(row.cardinality));
    out.field("encoding", textOf(row.encoding));
    out.field("semantics", textOf(row.semantics));
}

void writeRow(const OrynRti::DtFixedRecordDatatypeType& row, OmtEmitter& out) {
    out.field("encoding", textOf(row.encoding));
    out.field("semantics", textOf(row.semantics));
    for (const OrynRti::DtFieldType& field : row.fields) {
        const std::string name = textOf(field.name);
        out.openPart("field", "field/" + name);
        out.field("name", name);
        out.field("dataType", textOf(field.dataType));
        out.field("semantics", textOf(field.semantics));
        out.close();
    }
}

void writeAlternatives(const OrynRti::DtVariantRecordDatatypeType& row, OmtEmitter& out) {
    for (const OrynRti::DtAlternativeType& alternative : row.alternatives) {
        const std::string enumerator = textOf(alternative.enumerator);
        out.openPart("alternative", "alternative/" + enumerator);
        out.field("enumerator", enumerator);
        out.field("name", textOf(alternative.name));
        out.field("dataType", textOf(alternative.dataType));
        out.field("semantics", textOf(alternative.semantics));
        out.close();
    }
}

/// The editions with elements have the alternatives between the fields.
void writeRow(const OrynRti::DtVariantRecordDatatypeType& row, OmtEmitter& out) {
    const bool alternativesFirst = out.style() == OmtEmitter::Style::elements;
    out.field("discriminant", textOf(row.discriminant));
    out.field("dataType", textOf(row.dataType));
    if (alternativesFirst)
        writeAlternatives(row, out);
    out.field("encoding", textOf(row.encoding));
    out.field("semantics", textOf(row.semantics));
    if (!alternativesFirst)
        writeAlternatives(row, out);
}

template <typename Rows>
void writeTable(const FomTarget& target, const Rows& rows, OrynRti::DtMergeFomTableMask table,
                const char* tableElement, const char* rowElement, OmtEmitter& out) {
    if (rows.empty())
        return;
    out.open(tableElement);
    for (const auto& row : rows) {
        const std::string name = textOf(row->name);
        out.open(rowElement, target.rowInfo(table, name));
        out.field("name", name);
        writeRow(*row, out);
        out.close();
    }
    out.close();
}

void writeReferences(const FomTarget& target, OmtEmitter& out) {
    if (target.referenceDatatypes().empty())
        return;
    out.open("referenceDataTypes");
    for (const auto& row : target.referenceDatatypes()) {
        out.open("referenceDataType", &row->info);
        out.field("name", row->name);
        out.field("representation", row->representation);
        out.field("referencedClass", row->referencedClass);
        out.field("referencedAttribute", row->referencedAttribute);
        out.field("semantics", row->semantics);
        out.close();
    }
    out.close();
}

bool hasDatatypes(const FomTarget& target) {
    return !target.basicDataRepresentations().empty() || !target.simpleDataTypes().empty() ||
           !target.enumeratedDataTypes().empty() || !target.arrayDataTypes().empty() ||
           !target.fixedRecordDataTypes().empty() || !target.variantRecordDataTypes().empty() ||
           !target.referenceDatatypes().empty();
}

}  // namespace

void writeDatatypes(const FomTarget& target, OmtEmitter& out) {
    if (!hasDatatypes(target))
        return;
    out.open("dataTypes");
    writeTable(target, target.basicDataRepresentations(), OrynRti::DtMergeFomTableBasicDataRepType,
               "basicDataRepresentations", "basicData", out);
    writeTable(target, target.simpleDataTypes(), OrynRti::DtMergeFomTableSimpleDataType,
               "simpleDataTypes", "simpleData", out);
    writeReferences(target, out);
    writeTable(target, target.enumeratedDataTypes(), OrynRti::DtMergeFomTableEnumeratedDataType,
               "enumeratedDataTypes", "enumeratedData", out);
    writeTable(target, target.arrayDataTypes(), OrynRti::DtMergeFomTableArrayDataType,
               "arrayDataTypes", "arrayData", out);
    writeTable(target, target.fixedRecordDataTypes(), OrynRti::DtMergeFomTableFixedRecordDataType,
               "fixedRecordDataTypes", "fixedRecordData", out);
    writeTable(target, target.variantRecordDataTypes(),
               OrynRti::DtMergeFomTableVariantRecordDataType, "variantRecordDataTypes",
               "variantRecordData", out);
    out.close();
}

}  // namespace RtiqnFom
