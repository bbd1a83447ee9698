#ifndef RTIQN_DIS_LOSSES_H
#define RTIQN_DIS_LOSSES_H

namespace RtiqnDis {

/// Why something was not delivered, or not whole.
enum class Loss : int {
    // In a datagram.
    TooShort,           ///< the whole datagram is shorter than a PDU header
    LengthZero,         ///< a header with length 0; the PDU and what follows it are dropped
    LengthBelowHeader,  ///< the same with a length of 1 to 11
    Incomplete,         ///< a PDU longer than what is left of its datagram
    WrongAlignment,     ///< what follows is padded otherwise than the version of its PDU demands
    RestTooShort,       ///< bytes after the last PDU that are no header
    AttributeMissing,   ///< a coupled Attribute PDU announced and not there; the PDU is delivered
    // By choice.
    FilteredVersion,
    FilteredExercise,
    FilteredKind,
    // In the network.
    QueuedTooLarge,
    QueueFull,
    KernelDropped,
    // Between the packet server and this program.
    ServerOverwritten,
    ServerUnwritten,
    ServerUnreadable,
    // In a capture file.
    CutOff,
    FragmentsMissing,
    FragmentsOverlap,
    BrokenPacket,
    CaptureDamaged,
    Count_
};

/// How a loss is called in data ("lengthZero") and what it means in words.
const char* lossKey(Loss loss);
const char* lossText(Loss loss);

/// Whether the data is at fault: true for what is incomplete or broken, false for what was left
/// out on purpose or lost on the way.
bool isDataProblem(Loss loss);

}  // namespace RtiqnDis

#endif
