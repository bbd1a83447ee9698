#ifndef RTIQN_FOM_OMT_ROW_H
#define RTIQN_FOM_OMT_ROW_H

#include <string>
#include <string_view>
#include <vector>

#include "FomModel.h"
#include "XmlTree.h"

namespace RtiqnFom {

/// One row of a table in a document, whose fields are read alike in both styles: from the attribute
/// of that name, or else from the child element.
class OmtRow {
public:
    OmtRow(const XmlTree& tree, XmlTree::Node node) : tree_(tree), node_(node) {}

    const XmlTree& tree() const { return tree_; }
    XmlTree::Node node() const { return node_; }
    std::string element() const { return std::string(tree_.name(node_)); }
    Place place() const { return tree_.place(node_); }

    /// The text of the field as it stands, empty when the row has none.
    std::string_view raw(std::string_view field) const;
    /// The text of the field with white space collapsed, for names: "NA" may be one.
    std::string word(std::string_view field) const;
    /// The text of the field, empty when it is not stated.
    std::string stated(std::string_view field) const;
    /// Where the field stands; the row's place when it has none.
    Place placeOf(std::string_view field) const;

    /// The names in a field that lists them: child elements `item`, or words in its text.
    std::vector<std::string> list(std::string_view field, std::string_view item) const;
    /// The child elements of a name, as rows.
    std::vector<OmtRow> rows(std::string_view element) const;

    /// The row's place and its references to notes.
    RowInfo info() const;
    /// Adds this row's references to those of the row it is a part of, under the path "kind/name".
    void addNotesTo(RowInfo& whole, const char* kind, const std::string& name) const;

private:
    XmlTree::Node child(std::string_view field) const;
    std::vector<NoteReference> notes() const;

    const XmlTree& tree_;
    XmlTree::Node node_;
};

/// Whether an attribute refers to notes about the element it stands on.
bool isNotesAttribute(std::string_view attribute);

}  // namespace RtiqnFom

#endif
