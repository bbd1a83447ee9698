#include "PduSelection.h"

namespace RtiqnDis {

ByteSet byteSet(const std::vector<std::uint8_t>& values) {
    ByteSet set;
    if (values.empty())
        set.set();
    for (const std::uint8_t value : values)
        set.set(value);
    return set;
}

void PduSelection::selectKinds(const std::vector<std::uint8_t>& wanted,
                               const std::vector<std::uint8_t>& excluded) {
    kinds = byteSet(wanted);
    for (const std::uint8_t kind : excluded)
        kinds.reset(kind);
}

std::optional<Loss> PduSelection::rejects(const PduHeader& header) const {
    if (!versions[header.version])
        return Loss::FilteredVersion;
    if (!exercises[header.exercise])
        return Loss::FilteredExercise;
    if (!kinds[header.kind])
        return Loss::FilteredKind;
    return std::nullopt;
}

}  // namespace RtiqnDis
