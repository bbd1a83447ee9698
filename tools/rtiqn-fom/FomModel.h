#ifndef RTIQN_FOM_FOM_MODEL_H
#define RTIQN_FOM_FOM_MODEL_H

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace RtiqnFom {

/// The object-model part of a FOM, which the library leaves to its callers. White space in every
/// field is trimmed and runs of it are one blank; a field that is absent, empty or "NA" is not
/// stated and stands here as empty text.

/// A position in a module, for messages: FILE:LINE:COLUMN.
struct Place {
    std::shared_ptr<const std::string> file;
    unsigned line = 0;
    unsigned column = 0;

    std::string text() const;
};

/// Labels of notes that a row refers to, by the field they stand on; `field` is empty for the row
/// itself and a path for the parts of a collection ("enumerator/Red", "field/X/semantics").
/// `labels` is the blank-separated list as written.
struct NoteReference {
    std::string field;
    std::string labels;
};

/// What is known of a row beside its fields.
struct RowInfo {
    Place place;
    std::vector<NoteReference> notes;
};

struct Attribute {
    std::string name;
    std::string dataType;
    std::string updateType;
    std::string updateCondition;
    std::string ownership;
    std::string sharing;
    std::vector<std::string> dimensions;
    std::string transportation;
    std::string order;
    std::string semantics;
    std::string valueRequired;  ///< edition of 2025 only
    RowInfo info;
};

struct Parameter {
    std::string name;
    std::string dataType;
    std::string semantics;
    std::string valueRequired;  ///< edition of 2025 only
    RowInfo info;
};

/// An interaction that may be directed at instances of an object class (edition of 2025).
struct DirectedInteraction {
    std::string name;
    std::string sharing;
    RowInfo info;
};

/// `name` is the whole path from the root, joined by '.', e.g. "HLAobjectRoot.Vehicle.Tank".
struct ObjectClass {
    std::string name;
    std::string sharing;
    std::string semantics;
    std::vector<Attribute> attributes;
    std::vector<DirectedInteraction> directedInteractions;
    RowInfo info;
};

/// `name` is the whole path from the root, joined by '.'.
struct InteractionClass {
    std::string name;
    std::string sharing;
    std::vector<std::string> dimensions;
    std::string transportation;
    std::string order;
    std::string semantics;
    std::vector<Parameter> parameters;
    RowInfo info;
};

struct Dimension {
    std::string name;
    std::string dataType;
    std::string upperBound;
    std::string normalization;
    std::string valueWhenUnspecified;
    RowInfo info;
};

/// A datatype that refers to instances of an object class (edition of 2025).
struct ReferenceDatatype {
    std::string name;
    std::string representation;
    std::string referencedClass;
    std::string referencedAttribute;
    std::string semantics;
    RowInfo info;
};

/// One field of a model's identification that is neither its name nor a dependency, in the words
/// of the editions with elements: "modificationDate", "poc" with "pocName" in it.
struct IdentificationField {
    std::string element;
    std::string text;
    std::vector<IdentificationField> children;  ///< of <poc>, <keyword>, <reference>; one level
    std::vector<std::pair<std::string, std::string>>
        attributes;  ///< of <glyph>; references to notes
};

}  // namespace RtiqnFom

#endif
