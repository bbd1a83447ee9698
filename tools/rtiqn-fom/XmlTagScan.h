#ifndef RTIQN_FOM_XML_TAG_SCAN_H
#define RTIQN_FOM_XML_TAG_SCAN_H

#include <string>
#include <string_view>
#include <vector>

namespace RtiqnFom {

/// What the parser does not tell of a start tag: where its attributes stand, and whether a value
/// refers to an entity that is not defined, which the parser passes over in silence in a document
/// with an outside DTD.
struct XmlTagScan {
    struct Position {
        unsigned line;
        unsigned column;
    };
    std::vector<Position> attributes;
    std::string undefinedEntity;  ///< the first one's name, empty when there is none

    /// `tag` is a whole well-formed start tag in an encoding that agrees with ASCII; `line` and
    /// `column` are those of its '<'.
    void scan(std::string_view tag, unsigned line, unsigned column);
};

}  // namespace RtiqnFom

#endif
