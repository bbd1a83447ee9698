#include "XmlTagScan.h"

#include <cstddef>

namespace RtiqnFom {

namespace {

constexpr std::string_view theSpaces = " \t\r\n";

/// Walks over a tag and keeps count of line and column.
class Cursor {
public:
    Cursor(std::string_view tag, XmlTagScan::Position position) : tag_(tag), position_(position) {}

    std::size_t offset() const { return offset_; }
    XmlTagScan::Position position() const { return position_; }
    bool atEnd() const { return offset_ == tag_.size(); }
    char current() const { return tag_[offset_]; }

    void skipTo(std::string_view characters) { moveTo(tag_.find_first_of(characters, offset_)); }
    void skipOver(std::string_view characters) {
        moveTo(tag_.find_first_not_of(characters, offset_));
    }
    void step() { moveTo(offset_ + 1); }

private:
    void moveTo(std::size_t target) {
        if (target > tag_.size())
            target = tag_.size();
        for (; offset_ < target; ++offset_)
            count(tag_[offset_]);
    }

    /// A line ends with LF, CR, or both; what follows the first byte of a character in UTF-8 is
    /// no column of its own.
    void count(char c) {
        const bool followedByLf = offset_ + 1 < tag_.size() && tag_[offset_ + 1] == '\n';
        if (c == '\n' || (c == '\r' && !followedByLf))
            position_ = {position_.line + 1, 1};
        else if ((static_cast<unsigned char>(c) & 0xC0) != 0x80)
            ++position_.column;
    }

    std::string_view tag_;
    std::size_t offset_ = 0;
    XmlTagScan::Position position_;
};

bool isPredefined(std::string_view entity) {
    return entity == "amp" || entity == "lt" || entity == "gt" || entity == "quot" ||
           entity == "apos";
}

std::string undefinedEntityIn(std::string_view value) {
    for (std::size_t at = value.find('&'); at != value.npos; at = value.find('&', at + 1)) {
        const std::string_view entity = value.substr(at + 1, value.find(';', at) - at - 1);
        if (entity.substr(0, 1) != "#" && !isPredefined(entity))
            return std::string(entity);
    }
    return {};
}

}  // namespace

void XmlTagScan::scan(std::string_view tag, unsigned line, unsigned column) {
    attributes.clear();
    undefinedEntity.clear();
    Cursor cursor(tag, {line, column});
    cursor.skipTo(" \t\r\n/>");
    for (;;) {
        cursor.skipOver(theSpaces);
        if (cursor.atEnd() || cursor.current() == '/' || cursor.current() == '>')
            return;
        attributes.push_back(cursor.position());
        cursor.skipTo("\"'");
        if (cursor.atEnd())
            return;
        const std::string_view quote = cursor.current() == '"' ? "\"" : "'";
        cursor.step();
        const std::size_t begin = cursor.offset();
        cursor.skipTo(quote);
        if (undefinedEntity.empty())
            undefinedEntity = undefinedEntityIn(tag.substr(begin, cursor.offset() - begin));
        cursor.step();
    }
}

}  // namespace RtiqnFom
