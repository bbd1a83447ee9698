#include "DatatypeWarnings.h"

#include <unordered_map>
#include <unordered_set>

#include "LibraryTables.h"
#include "RowFields.h"
#include "Words.h"
#include "common/Console.h"

namespace RtiqnFom {

using namespace OrynRti;
using RtiqnTools::counted;

namespace {

// -------------------------------------------------------------------------------------------------
// Dropped datatypes

/// Fields that the edition of 2025 unites or refuses.
bool isUnited(const FomTarget& held, DtMergeFomTableMask table, const std::string& field) {
    if (held.fomType() != DtFomTypeIeee1516_2025)
        return false;
    return (table == DtMergeFomTableEnumeratedDataType && field == "enumerators") ||
           (table == DtMergeFomTableVariantRecordDataType && field == "alternatives");
}

std::string differingFields(const FomTarget& held, DtMergeFomTableMask table,
                            const FieldValues& heldFields, const FieldValues& incomingFields) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < heldFields.size(); ++i)
        if (heldFields[i].value != incomingFields[i].value &&
            !isUnited(held, table, heldFields[i].name))
            names.push_back(heldFields[i].name);
    return joined(names, ", ");
}

std::string dropped(const std::string& name, const std::string& fields, const Place& heldPlace,
                    const Place& incomingPlace) {
    return incomingPlace.text() + ": datatype \"" + name + "\" is dropped, though its " + fields +
           " differ" + (fields.find(',') == std::string::npos ? "s" : "") + ": the one at " +
           heldPlace.text() + " is held already";
}

template <typename T>
void findDropped(const LibraryTable<T>& table, const FomTarget& held, const FomTarget& module,
                 std::vector<std::string>& warnings) {
    if (!held.fomTableMergeEnabled(table.mask))
        return;
    const DtFomTable<T>& heldRows = (held.*table.rows)();
    for (const auto& row : (module.*table.rows)()) {
        const auto found = heldRows.find(row);
        if (found == heldRows.end() || *found == row)
            continue;
        const std::string fields =
            differingFields(held, table.mask, fieldsOf(**found), fieldsOf(*row));
        const std::string name = textOf(row->name);
        if (!fields.empty())
            warnings.push_back(dropped(name, fields, held.place(table.mask, name),
                                       module.place(table.mask, name)));
    }
}

void findDroppedReferences(const FomTarget& held, const FomTarget& module,
                           std::vector<std::string>& warnings) {
    if (!held.fomTableMergeEnabled(DtMergeFomTableReferenceType))
        return;
    for (const auto& row : module.referenceDatatypes()) {
        const ReferenceDatatype* found = held.referenceDatatypes().find(row->name);
        if (!found)
            continue;
        const std::string fields =
            differingFields(held, DtMergeFomTableReferenceType, fieldsOf(*found), fieldsOf(*row));
        if (!fields.empty())
            warnings.push_back(dropped(row->name, fields, found->info.place, row->info.place));
    }
}

// -------------------------------------------------------------------------------------------------
// Unresolved datatypes

/// Collects the uses of datatypes that do not exist, in the order in which they are found.
class Uses {
public:
    explicit Uses(const FomTarget& target) : target_(target) {
        visitDatatypeTables([&](const auto& table) {
            for (const auto& row : (target.*table.rows)())
                defined_.insert(textOf(row->name));
        });
        for (const auto& row : target.referenceDatatypes())
            defined_.insert(row->name);
    }

    void add(const std::string& datatype, const Place& place) {
        if (isDefined(datatype))
            return;
        const auto [found, isNew] = indexes_.emplace(datatype, unresolved_.size());
        if (isNew)
            unresolved_.push_back({datatype, place, 0});
        ++unresolved_[found->second].count;
    }

    void add(const DtString& datatype, DtMergeFomTableMask table, const DtString& row) {
        const std::string name = textOf(datatype);
        if (!isDefined(name))
            add(name, target_.place(table, textOf(row)));
    }

    std::vector<std::string> sentences() const {
        std::vector<std::string> texts;
        for (const Unresolved& use : unresolved_)
            texts.push_back(use.first.text() + ": datatype \"" + use.name + "\" is not defined (" +
                            counted(use.count, "use") + ")");
        return texts;
    }

private:
    struct Unresolved {
        std::string name;
        Place first;
        std::size_t count;
    };

    /// A row that names no datatype uses none that would have to be defined.
    bool isDefined(const std::string& datatype) const {
        return datatype.empty() || defined_.count(datatype) != 0;
    }

    const FomTarget& target_;
    std::unordered_set<std::string> defined_;
    std::unordered_map<std::string, std::size_t> indexes_;
    std::vector<Unresolved> unresolved_;
};

void addClasses(const FomTarget& target, Uses& uses) {
    for (const auto& row : target.objectClasses())
        for (const Attribute& attribute : row->attributes)
            uses.add(attribute.dataType, attribute.info.place);
    for (const auto& row : target.interactionClasses())
        for (const Parameter& parameter : row->parameters)
            uses.add(parameter.dataType, parameter.info.place);
    for (const auto& row : target.dimensions())
        uses.add(row->dataType, row->info.place);
}

void addTables(const FomTarget& target, Uses& uses) {
    for (const auto& row : target.timeTypes())
        uses.add(row->dataType, DtMergeFomTableTime, row->name);
    for (const auto& row : target.userSuppliedTags())
        uses.add(row->dataType, DtMergeFomTableUserDefinedTags, row->name);
    for (const auto& row : target.syncPoints())
        uses.add(row->dataType, DtMergeFomTableSyncPoints, row->name);
}

void addDatatypes(const FomTarget& target, Uses& uses) {
    for (const auto& row : target.simpleDataTypes())
        uses.add(row->representation, DtMergeFomTableSimpleDataType, row->name);
    for (const auto& row : target.enumeratedDataTypes())
        uses.add(row->representation, DtMergeFomTableEnumeratedDataType, row->name);
    for (const auto& row : target.arrayDataTypes())
        uses.add(row->dataType, DtMergeFomTableArrayDataType, row->name);
    for (const auto& row : target.fixedRecordDataTypes())
        for (const DtFieldType& field : row->fields)
            uses.add(field.dataType, DtMergeFomTableFixedRecordDataType, row->name);
    for (const auto& row : target.variantRecordDataTypes()) {
        uses.add(row->dataType, DtMergeFomTableVariantRecordDataType, row->name);
        for (const DtAlternativeType& alternative : row->alternatives)
            uses.add(alternative.dataType, DtMergeFomTableVariantRecordDataType, row->name);
    }
    for (const auto& row : target.referenceDatatypes())
        uses.add(row->representation, row->info.place);
}

}  // namespace

// -------------------------------------------------------------------------------------------------

std::vector<std::string> droppedDatatypes(const FomTarget& held, const FomTarget& module) {
    std::vector<std::string> warnings;
    visitDatatypeTables([&](const auto& table) { findDropped(table, held, module, warnings); });
    findDroppedReferences(held, module, warnings);
    return warnings;
}

std::vector<std::string> unresolvedDatatypes(const FomTarget& target) {
    Uses uses(target);
    addClasses(target, uses);
    addTables(target, uses);
    addDatatypes(target, uses);
    return uses.sentences();
}

}  // namespace RtiqnFom
