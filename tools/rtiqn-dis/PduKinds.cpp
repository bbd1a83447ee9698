#include "PduKinds.h"

#include <cctype>
#include <cstddef>

namespace RtiqnDis {

namespace {

constexpr const char* theKindNames[] = {
    "Other",
    "Entity State",
    "Fire",
    "Detonation",
    "Collision",
    "Service Request",
    "Resupply Offer",
    "Resupply Received",
    "Resupply Cancel",
    "Repair Complete",
    "Repair Response",
    "Create Entity",
    "Remove Entity",
    "Start/Resume",
    "Stop/Freeze",
    "Acknowledge",
    "Action Request",
    "Action Response",
    "Data Query",
    "Set Data",
    "Data",
    "Event Report",
    "Comment",
    "Electromagnetic Emission",
    "Designator",
    "Transmitter",
    "Signal",
    "Receiver",
    "IFF",
    "Underwater Acoustic",
    "Supplemental Emission/Entity State",
    "Intercom Signal",
    "Intercom Control",
    "Aggregate State",
    "IsGroupOf",
    "Transfer Ownership",
    "IsPartOf",
    "Minefield State",
    "Minefield Query",
    "Minefield Data",
    "Minefield Response NACK",
    "Environmental Process",
    "Gridded Data",
    "Point Object State",
    "Linear Object State",
    "Areal Object State",
    "TSPI",
    "Appearance",
    "Articulated Parts",
    "LE Fire",
    "LE Detonation",
    "Create Entity-R",
    "Remove Entity-R",
    "Start/Resume-R",
    "Stop/Freeze-R",
    "Acknowledge-R",
    "Action Request-R",
    "Action Response-R",
    "Data Query-R",
    "Set Data-R",
    "Data-R",
    "Event Report-R",
    "Comment-R",
    "Record-R",
    "Set Record-R",
    "Record Query-R",
    "Collision-Elastic",
    "Entity State Update",
    "Directed Energy Fire",
    "Entity Damage Status",
    "Information Operations Action",
    "Information Operations Report",
    "Attribute",
};

constexpr std::size_t theKindCount = sizeof theKindNames / sizeof *theKindNames;
static_assert(theKindCount == 73, "kinds 0 to 72");

/// Letters and digits only, in lower case, so that spellings compare alike.
std::string bareName(const std::string& text) {
    std::string bare;
    for (const char c : text)
        if (std::isalnum(static_cast<unsigned char>(c)))
            bare += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const std::string suffix = "pdu";
    if (bare.size() > suffix.size() &&
        bare.compare(bare.size() - suffix.size(), suffix.size(), suffix) == 0)
        bare.resize(bare.size() - suffix.size());
    return bare;
}

bool isNumber(const std::string& text) {
    return !text.empty() && text.size() <= 3 &&
           text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

const char* kindName(std::uint8_t kind) {
    return kind < theKindCount ? theKindNames[kind] : "unknown";
}

std::optional<std::uint8_t> parseKind(const std::string& text) {
    if (isNumber(text)) {
        const int number = std::stoi(text);
        return number <= 255 ? std::optional(static_cast<std::uint8_t>(number)) : std::nullopt;
    }
    const std::string wanted = bareName(text);
    for (std::size_t kind = 0; kind < theKindCount; ++kind)
        if (bareName(theKindNames[kind]) == wanted)
            return static_cast<std::uint8_t>(kind);
    return std::nullopt;
}

}  // namespace RtiqnDis
