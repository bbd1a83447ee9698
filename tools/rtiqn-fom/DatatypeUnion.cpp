#include "DatatypeUnion.h"

#include <string>
#include <unordered_map>
#include <utility>

#include "Words.h"

namespace RtiqnFom {

using namespace OrynRti;

namespace {

const DtString& keyOf(const DtEnumeratorType& enumerator) {
    return enumerator.name;
}
const DtString& keyOf(const DtAlternativeType& alternative) {
    return alternative.enumerator;
}

template <typename Part>
std::unordered_map<std::string, const Part*> partsByKey(const std::vector<Part>& parts) {
    std::unordered_map<std::string, const Part*> found;
    for (const Part& part : parts)
        found.emplace(textOf(keyOf(part)), &part);
    return found;
}

/// Adds the parts of `incoming` whose key is not in `held`. True when there were any.
template <typename Part>
bool extend(std::vector<Part>& held, const std::vector<Part>& incoming) {
    std::vector<Part> added;
    auto known = partsByKey(held);
    for (const Part& part : incoming)
        if (known.emplace(textOf(keyOf(part)), &part).second)
            added.push_back(part);
    held.insert(held.end(), added.begin(), added.end());
    return !added.empty();
}

/// Collects the conflicts of one pair of rows.
template <typename Row>
class Comparison {
public:
    Comparison(const RowPair<Row>& rows, DtMergeFomStatus_enum status, const char* table)
        : rows_(rows), status_(status), table_(table) {}

    void compare(const std::string& field, const std::string& held, const std::string& incoming) {
        if (held == incoming)
            return;
        conflicts_.push_back({status_,
                              table_,
                              textOf(rows_.held.name),
                              field,
                              {held, rows_.heldPlace},
                              {incoming, rows_.incomingPlace}});
    }

    void compareStated(const std::string& field, const DtString& held, const DtString& incoming) {
        if (!held.isEmpty() && !incoming.isEmpty())
            compare(field, textOf(held), textOf(incoming));
    }

    std::vector<Conflict> take() { return std::move(conflicts_); }

private:
    const RowPair<Row>& rows_;
    DtMergeFomStatus_enum status_;
    const char* table_;
    std::vector<Conflict> conflicts_;
};

std::string valuesOf(const DtEnumeratorType& enumerator) {
    std::vector<std::string> values;
    for (const DtString& value : enumerator.values)
        values.push_back(textOf(value));
    return joined(values, " ");
}

}  // namespace

std::vector<Conflict> unionConflicts(const RowPair<DtEnumeratedDatatypeType>& rows) {
    Comparison<DtEnumeratedDatatypeType> comparison(rows, DtMergeFomEnumeratedDataTypesConflict,
                                                    "Enumerated Datatypes");
    const auto held = partsByKey(rows.held.enumerators);
    for (const DtEnumeratorType& enumerator : rows.incoming.enumerators) {
        const std::string name = textOf(enumerator.name);
        const auto found = held.find(name);
        if (found != held.end())
            comparison.compare("enumerator " + name, valuesOf(*found->second),
                               valuesOf(enumerator));
    }
    return comparison.take();
}

std::vector<Conflict> unionConflicts(const RowPair<DtVariantRecordDatatypeType>& rows) {
    Comparison<DtVariantRecordDatatypeType> comparison(
        rows, DtMergeFomVariantRecordDataTypesConflict, "Variant Record Datatypes");
    comparison.compareStated("discriminant", rows.held.discriminant, rows.incoming.discriminant);
    comparison.compareStated("dataType", rows.held.dataType, rows.incoming.dataType);
    const auto held = partsByKey(rows.held.alternatives);
    for (const DtAlternativeType& alternative : rows.incoming.alternatives) {
        const std::string key = textOf(alternative.enumerator);
        const auto found = held.find(key);
        if (found == held.end())
            continue;
        const std::string field = "alternative " + key;
        comparison.compareStated(field + " name", found->second->name, alternative.name);
        comparison.compareStated(field + " dataType", found->second->dataType,
                                 alternative.dataType);
    }
    return comparison.take();
}

std::optional<DtEnumeratedDatatypeType> unionOf(const DtEnumeratedDatatypeType& held,
                                                const DtEnumeratedDatatypeType& incoming) {
    DtEnumeratedDatatypeType united = held;
    if (!extend(united.enumerators, incoming.enumerators))
        return std::nullopt;
    return united;
}

std::optional<DtVariantRecordDatatypeType> unionOf(const DtVariantRecordDatatypeType& held,
                                                   const DtVariantRecordDatatypeType& incoming) {
    DtVariantRecordDatatypeType united = held;
    if (!extend(united.alternatives, incoming.alternatives))
        return std::nullopt;
    return united;
}

}  // namespace RtiqnFom
