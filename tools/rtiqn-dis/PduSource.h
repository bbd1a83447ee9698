#ifndef RTIQN_DIS_PDU_SOURCE_H
#define RTIQN_DIS_PDU_SOURCE_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "CounterSnapshot.h"
#include "Losses.h"

namespace RtiqnDis {

/// Where `listen` has its PDUs from.
class PduSource {
public:
    virtual ~PduSource() = default;

    /// Receives what there is next and reports it. False when there is nothing now. Throws
    /// NetworkError.
    virtual bool receive() = 0;

    /// Readable when there may be something, for use with poll(); -1 when only time will tell.
    virtual int descriptor() = 0;

    /// How long to wait for the descriptor at most.
    virtual double longestWait_s() = 0;

    /// What was lost on the way here so far.
    virtual std::vector<std::pair<Loss, std::uint64_t>> losses() const = 0;

    /// At the end: finds out what losses() cannot tell until it is asked for.
    virtual void askForLosses() {}

    /// What it is to a person, and in data.
    virtual std::string title() const = 0;
    virtual const char* key() const = 0;

    virtual OrynRti::DtCounterSnapshot counters() const = 0;
};

}  // namespace RtiqnDis

#endif
