#include "Losses.h"

#include <cstddef>

namespace RtiqnDis {

namespace {

struct LossInfo {
    Loss loss;
    const char* key;
    const char* text;
    bool dataProblem;
};

constexpr LossInfo theLosses[] = {
    {Loss::TooShort, "tooShort", "datagram shorter than a PDU header", true},
    {Loss::LengthZero, "lengthZero", "the sender writes length 0 into the PDU header", true},
    {Loss::LengthBelowHeader, "lengthBelowHeader",
     "the sender writes a length of 1 to 11, less than a PDU header", true},
    {Loss::Incomplete, "incomplete", "PDU longer than what is left of its datagram", true},
    {Loss::WrongAlignment, "wrongAlignment",
     "the sender pads bundles unlike its DIS version (8 bytes from 7 on)", true},
    {Loss::RestTooShort, "restTooShort", "rest of a datagram too short for a PDU header", true},
    {Loss::AttributeMissing, "attributeMissing",
     "coupled Attribute PDU missing or broken (its PDU was delivered)", true},
    {Loss::FilteredVersion, "filteredVersion", "PDU of another protocol version", false},
    {Loss::FilteredExercise, "filteredExercise", "PDU of another exercise", false},
    {Loss::FilteredKind, "filteredKind", "PDU of another kind", false},
    {Loss::QueuedTooLarge, "queuedTooLarge", "PDU larger than the receive buffer", false},
    {Loss::QueueFull, "queueFull", "datagram lost to a full receive queue", false},
    {Loss::KernelDropped, "kernelDropped", "datagram dropped by the system before it was read",
     false},
    {Loss::ServerOverwritten, "serverOverwritten",
     "packet overwritten in the packet server's queue before it was read", false},
    {Loss::ServerUnwritten, "serverUnwritten",
     "packet that the packet server could not write into its queue", false},
    {Loss::ServerUnreadable, "serverUnreadable", "record of the packet server that made no sense",
     false},
    {Loss::CutOff, "cutOff", "packet cut off by the capture", true},
    {Loss::FragmentsMissing, "fragmentsMissing", "datagram with missing fragments", true},
    {Loss::FragmentsOverlap, "fragmentsOverlap", "datagram with contradicting fragments", true},
    {Loss::BrokenPacket, "brokenPacket", "packet with a broken link, IP or UDP header", true},
    {Loss::CaptureDamaged, "captureDamaged", "capture file cut off or damaged", true},
};

static_assert(sizeof theLosses / sizeof *theLosses == static_cast<std::size_t>(Loss::Count_),
              "one line per loss, in their order");

const LossInfo& info(Loss loss) {
    return theLosses[static_cast<std::size_t>(loss)];
}

}  // namespace

const char* lossKey(Loss loss) {
    return info(loss).key;
}
const char* lossText(Loss loss) {
    return info(loss).text;
}
bool isDataProblem(Loss loss) {
    return info(loss).dataProblem;
}

}  // namespace RtiqnDis
