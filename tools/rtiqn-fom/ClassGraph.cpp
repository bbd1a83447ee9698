#include "ClassGraph.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "ObjectModelMerge.h"
#include "Words.h"
#include "common/Console.h"

namespace RtiqnFom {

using RtiqnTools::counted;

namespace {

constexpr const char* thePreamble =
    "    rankdir=LR; ranksep=0.4; nodesep=0.1\n"
    "    node [shape=box, style=\"filled,rounded\", fillcolor=white, colorscheme=set312,\n"
    "          fontname=\"Helvetica\", fontsize=10, height=0.3, margin=\"0.1,0.05\"]\n"
    "    edge [arrowhead=none, color=gray50, tailport=e, headport=w]\n\n";

/// Of the scheme of colours named above.
constexpr std::size_t theNumColours = 12;

/// Text as it stands in a label, where "&lt;" and the like would mean a character.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        if (character == '"' || character == '\\')
            result += '\\';
        result += character;
        if (character == '&')
            result += "amp;";
    }
    return result;
}

std::string quoted(const std::string& text) {
    return '"' + escaped(text) + '"';
}

std::string behindLast(char separator, const std::string& path) {
    return path.substr(path.rfind(separator) + 1);
}

/// Below the name of a class: its members by name and datatype, on lines of their own.
template <typename Member>
std::string listed(const std::vector<Member>& members) {
    std::string lines = "\\n";
    for (const Member& member : members)
        lines +=
            escaped(member.name + (member.dataType.empty() ? "" : ": " + member.dataType)) + "\\l";
    return lines;
}

/// Draws one model.
class GraphWriter {
public:
    explicit GraphWriter(bool showsMembers) : showsMembers_(showsMembers) {}

    template <typename Class, typename Member>
    void addTree(const OrderedRows<Class>& classes, std::vector<Member> Class::*members,
                 const char* noun) {
        for (const auto& row : classes) {
            addClass(row->name, membersText((*row).*members, noun), row->info.place);
            if (const std::string parent = parentName(row->name); !parent.empty())
                out_ << "    " << quoted(parent) << " -> " << quoted(row->name) << '\n';
        }
    }

    /// When there is more than one colour to explain.
    void addLegend() {
        if (files_.size() < 2)
            return;
        out_ << "\n    subgraph cluster_modules {\n        label=\"Modules\"; "
                "fontname=\"Helvetica\"; color=gray50\n";
        for (std::size_t i = 0; i < files_.size(); ++i)
            out_ << "        " << quoted(files_[i])
                 << " [label=" << quoted(behindLast('/', files_[i])) << ", fillcolor=" << colour(i)
                 << "]\n";
        out_ << "    }\n";
    }

    std::string text() const { return out_.str(); }

private:
    template <typename Member>
    std::string membersText(const std::vector<Member>& members, const char* noun) const {
        if (members.empty())
            return "";
        return showsMembers_ ? listed(members) : "\\n" + counted(members.size(), noun);
    }

    void addClass(const std::string& path, const std::string& members, const Place& place) {
        out_ << "    " << quoted(path) << " [label=\"" << escaped(behindLast('.', path)) << members
             << '"';
        if (place.file)
            out_ << ", fillcolor=" << colour(indexOf(*place.file));
        out_ << "]\n";
    }

    std::size_t indexOf(const std::string& file) {
        const auto found = std::find(files_.begin(), files_.end(), file);
        const auto index = static_cast<std::size_t>(found - files_.begin());
        if (found == files_.end())
            files_.push_back(file);
        return index;
    }

    static std::size_t colour(std::size_t file) { return file % theNumColours + 1; }

    bool showsMembers_;
    std::ostringstream out_;
    std::vector<std::string> files_;  ///< in the order of their colours
};

}  // namespace

std::string classGraph(const FomTarget& target, bool showsMembers) {
    GraphWriter graph(showsMembers);
    graph.addTree(target.objectClasses(), &ObjectClass::attributes, "attribute");
    graph.addTree(target.interactionClasses(), &InteractionClass::parameters, "parameter");
    graph.addLegend();
    return "digraph " + quoted(textOf(target.modelIdentification())) + " {\n" + thePreamble +
           graph.text() + "}\n";
}

}  // namespace RtiqnFom
