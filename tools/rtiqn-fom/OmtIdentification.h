#ifndef RTIQN_FOM_OMT_IDENTIFICATION_H
#define RTIQN_FOM_OMT_IDENTIFICATION_H

namespace RtiqnFom {

/// A field of a model's identification in both styles: an attribute of the root in one, in the
/// other an element, or an element within another.
struct IdentificationName {
    const char* attribute;
    const char* element;
    const char* child;  ///< empty when the element itself has the text
};

constexpr IdentificationName theIdentificationNames[] = {
    {"type", "type", ""},
    {"version", "version", ""},
    {"date", "modificationDate", ""},
    {"purpose", "purpose", ""},
    {"appDomain", "applicationDomain", ""},
    {"sponsor", "sponsor", ""},
    {"pocName", "poc", "pocName"},
    {"pocOrg", "poc", "pocOrg"},
    {"pocPhone", "poc", "pocTelephone"},
    {"pocEmail", "poc", "pocEmail"},
    {"references", "reference", "identification"},
    {"other", "other", ""}};

/// The type of a reference that makes another module a dependency.
constexpr const char* theDependencyType = "Dependency";

}  // namespace RtiqnFom

#endif
