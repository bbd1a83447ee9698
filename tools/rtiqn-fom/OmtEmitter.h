#ifndef RTIQN_FOM_OMT_EMITTER_H
#define RTIQN_FOM_OMT_EMITTER_H

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "FomModel.h"

namespace RtiqnFom {

/// Writes rows in either style of OMT documents: fields as attributes or as child elements.
///
///     OmtEmitter out(stream, OmtEmitter::Style::elements, "notes");
///     out.open("simpleData", &info);
///     out.field("name", "Speed");   // and whatever notes `info` has for the name
///     out.close();
///
/// In the style with attributes the fields of a row come before its inner rows; later ones would
/// have no tag to stand in.
class OmtEmitter {
public:
    enum class Style { attributes, elements };

    /// `notesAttribute` is the edition's name for references to notes.
    OmtEmitter(std::ostream& out, Style style, const char* notesAttribute)
        : out_(out), style_(style), notesAttribute_(notesAttribute) {}

    Style style() const { return style_; }

    /// Begins an element, a row when `info` is given.
    void open(const std::string& element, const RowInfo* info = nullptr);
    /// Begins a part of the current row, whose notes stand in the row's info under `path`.
    void openPart(const std::string& element, const std::string& path);
    /// Ends the element that was begun last and is not ended yet.
    void close();

    /// An attribute of the current element in either style.
    void attribute(std::string_view name, std::string_view value);
    /// Character data of the current element, which then has neither fields nor inner rows.
    void text(std::string_view text);
    /// A field of the current row; nothing when it has neither text nor notes.
    void field(const std::string& name, std::string_view value);
    /// A field with a list of names: `item` elements in it, or one attribute with blanks.
    void list(const std::string& name, const std::string& item,
              const std::vector<std::string>& values);

private:
    /// Labels by the path of what they stand on.
    using Labels = std::map<std::string, std::string>;

    struct Element {
        std::string name;
        std::shared_ptr<const Labels> labels;
        std::string path;
        bool tagOpen;
        bool hasText;
    };

    void begin(Element element);
    void finishTag();
    void indent();
    void escaped(std::string_view text, bool inAttribute);
    std::string labelsOf(const std::string& field) const;

    std::ostream& out_;
    Style style_;
    const char* notesAttribute_;
    std::vector<Element> open_;
};

}  // namespace RtiqnFom

#endif
