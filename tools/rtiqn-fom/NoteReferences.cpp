#include "NoteReferences.h"

#include <algorithm>

#include "Vocabulary.h"
#include "Words.h"

namespace RtiqnFom {

namespace {

bool joinLabels(std::string& held, const std::string& incoming) {
    std::vector<std::string> labels = wordsOf(held);
    const std::size_t count = labels.size();
    for (std::string& label : wordsOf(incoming))
        if (std::find(labels.begin(), labels.end(), label) == labels.end())
            labels.push_back(std::move(label));
    if (labels.size() == count)
        return false;
    held = joined(labels, " ");
    return true;
}

}  // namespace

bool joinNotes(std::vector<NoteReference>& held, const std::vector<NoteReference>& incoming) {
    bool changed = false;
    for (const NoteReference& note : incoming) {
        const auto found = std::find_if(held.begin(), held.end(), [&](const NoteReference& other) {
            return other.field == note.field;
        });
        if (found != held.end()) {
            changed |= joinLabels(found->labels, note.labels);
        } else {
            held.push_back(note);
            changed = true;
        }
    }
    return changed;
}

}  // namespace RtiqnFom
