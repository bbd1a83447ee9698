#ifndef RTIQN_DIS_PDU_SOURCE_H
#define RTIQN_DIS_PDU_SOURCE_H

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

    /// Adds to the statistics what was lost on the way. Once, at the end.
    virtual void reportLosses() = 0;
};

}  // namespace RtiqnDis

#endif
