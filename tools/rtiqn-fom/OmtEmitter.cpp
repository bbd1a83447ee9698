#include "OmtEmitter.h"

#include <utility>

#include "Words.h"

namespace RtiqnFom {

void OmtEmitter::open(const std::string& element, const RowInfo* info) {
    std::shared_ptr<Labels> labels;
    if (info && !info->notes.empty()) {
        labels = std::make_shared<Labels>();
        for (const NoteReference& note : info->notes) {
            std::string& held = (*labels)[note.field];
            held += held.empty() ? note.labels : " " + note.labels;
        }
    }
    begin({element, std::move(labels), "", true, false});
}

void OmtEmitter::openPart(const std::string& element, const std::string& path) {
    begin({element, open_.back().labels, path, true, false});
}

void OmtEmitter::begin(Element element) {
    finishTag();
    indent();
    out_ << '<' << element.name;
    open_.push_back(std::move(element));
    const std::string labels = labelsOf("");
    if (!labels.empty())
        attribute(notesAttribute_, labels);
}

void OmtEmitter::close() {
    const Element element = std::move(open_.back());
    open_.pop_back();
    if (element.tagOpen) {
        out_ << "/>\n";
        return;
    }
    if (!element.hasText)
        indent();
    out_ << "</" << element.name << ">\n";
}

void OmtEmitter::attribute(std::string_view name, std::string_view value) {
    out_ << ' ' << name << "=\"";
    escaped(value, true);
    out_ << '"';
}

void OmtEmitter::text(std::string_view text) {
    if (text.empty())
        return;
    out_ << '>';
    escaped(text, false);
    open_.back().tagOpen = false;
    open_.back().hasText = true;
}

void OmtEmitter::field(const std::string& name, std::string_view value) {
    const std::string labels = labelsOf(name);
    if (value.empty() && labels.empty())
        return;
    if (style_ == Style::attributes) {
        if (!value.empty())
            attribute(name, value);
        if (!labels.empty())
            attribute(name + "Notes", labels);
        return;
    }
    finishTag();
    indent();
    out_ << '<' << name;
    if (!labels.empty())
        attribute(notesAttribute_, labels);
    out_ << '>';
    escaped(value, false);
    out_ << "</" << name << ">\n";
}

void OmtEmitter::list(const std::string& name, const std::string& item,
                      const std::vector<std::string>& values) {
    if (style_ == Style::attributes || values.empty())
        return field(name, joined(values, " "));
    const std::string path = open_.back().path;
    openPart(name, path.empty() ? name : path + "/" + name);
    for (const std::string& value : values) {
        finishTag();
        indent();
        out_ << '<' << item << '>';
        escaped(value, false);
        out_ << "</" << item << ">\n";
    }
    close();
}

void OmtEmitter::finishTag() {
    if (open_.empty() || !open_.back().tagOpen)
        return;
    out_ << ">\n";
    open_.back().tagOpen = false;
}

void OmtEmitter::indent() {
    for (std::size_t depth = 0; depth < open_.size(); ++depth)
        out_ << "  ";
}

/// Line ends and tabs would become blanks in an attribute, and a carriage return a line end
/// anywhere, if they stood as they are.
void OmtEmitter::escaped(std::string_view text, bool inAttribute) {
    const std::string_view special = inAttribute ? "&<>\r\"\n\t" : "&<>\r";
    for (;;) {
        const std::size_t plain = text.find_first_of(special);
        out_ << text.substr(0, plain);
        if (plain == std::string_view::npos)
            return;
        switch (text[plain]) {
            case '&':
                out_ << "&amp;";
                break;
            case '<':
                out_ << "&lt;";
                break;
            case '>':
                out_ << "&gt;";
                break;
            case '"':
                out_ << "&quot;";
                break;
            default:
                out_ << "&#" << static_cast<int>(text[plain]) << ';';
        }
        text.remove_prefix(plain + 1);
    }
}

std::string OmtEmitter::labelsOf(const std::string& field) const {
    const Element& element = open_.back();
    if (!element.labels)
        return {};
    std::string path = element.path;
    if (!field.empty())
        path += path.empty() ? field : "/" + field;
    const auto found = element.labels->find(path);
    return found == element.labels->end() ? std::string() : found->second;
}

}  // namespace RtiqnFom
