#ifndef RTIQN_FOM_OMT_READING_H
#define RTIQN_FOM_OMT_READING_H

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ClassCollector.h"
#include "Errors.h"
#include "Finding.h"
#include "FomTarget.h"
#include "OmtRow.h"

namespace RtiqnFom {

/// A variant record of the module being read, whose alternatives are held against the enumerators
/// of its discriminant once all datatypes are known.
struct VariantToCheck {
    OmtRow row;
    std::string name;
};

/// One module while it is read: where rows go, and what was found wrong.
struct OmtReading {
    FomTarget& target;
    std::vector<Finding>& findings;
    ClassCollector<ObjectClass> objectClasses;
    ClassCollector<InteractionClass> interactionClasses;
    std::vector<VariantToCheck> variants;

    void failure(const Place& place, const std::string& text) {
        findings.push_back({Severity::failure, place, text});
    }
    void warning(const Place& place, const std::string& text) {
        findings.push_back({Severity::warning, place, text});
    }
    /// A second row of a name; `kind` is what such a row is called.
    void duplicate(const Place& place, const std::string& kind, const std::string& name,
                   const Place& first);
    /// A field that should be stated and is not.
    void requireStated(const OmtRow& row, const char* field, const std::string& value,
                       const std::string& owner);
};

/// A row's name, or another field by which it is known. Throws MalformedModule when it has none.
std::string requiredName(const OmtRow& row, const char* field = "name");

/// The library's text; an embedded NUL cannot occur in XML.
inline OrynRti::DtString libraryText(const std::string& text) {
    return OrynRti::DtString(text.c_str());
}

/// Gives a row to a table of the library, with what is known of it; the first row of a name stays.
template <typename Row>
void storeRow(OmtReading& reading, OrynRti::DtMergeFomTableMask table, const std::string& kind,
              void (OrynRti::DtFedTarget::*add)(Row*), std::unique_ptr<Row> row, RowInfo info) {
    const std::string name = row->name.c_str();
    if (const RowInfo* first = reading.target.rowInfo(table, name)) {
        reading.duplicate(info.place, kind, name, first->place);
        return;
    }
    (reading.target.*add)(row.release());
    reading.target.setRowInfo(table, name, std::move(info));
}

// The tables, each from the element that holds its rows.

void readIdentification(OmtReading& reading, const OmtRow& root);
void readObjects(OmtReading& reading, const OmtRow& table);
void readInteractions(OmtReading& reading, const OmtRow& table);
void readDimensions(OmtReading& reading, const OmtRow& table);
void readTime(OmtReading& reading, const OmtRow& table);
void readTags(OmtReading& reading, const OmtRow& table);
void readSynchronizations(OmtReading& reading, const OmtRow& table);
void readTransportations(OmtReading& reading, const OmtRow& table);
void readUpdateRates(OmtReading& reading, const OmtRow& table);
void readSwitches(OmtReading& reading, const OmtRow& table);
void readNotes(OmtReading& reading, const OmtRow& table);
void readBasicData(OmtReading& reading, const OmtRow& table);
void readSimpleData(OmtReading& reading, const OmtRow& table);
void readEnumeratedData(OmtReading& reading, const OmtRow& table);
void readArrayData(OmtReading& reading, const OmtRow& table);
void readFixedRecordData(OmtReading& reading, const OmtRow& table);
void readVariantRecordData(OmtReading& reading, const OmtRow& table);
void readReferenceData(OmtReading& reading, const OmtRow& table);

/// Once all datatypes are read: alternatives that name no enumerator of their discriminant.
void checkAlternatives(OmtReading& reading);

}  // namespace RtiqnFom

#endif
