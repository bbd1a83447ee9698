#ifndef RTIQNUTIL_PDUFILTER_H
#define RTIQNUTIL_PDUFILTER_H

#include "Export.h"
#include "List.h"

namespace OrynRti {

/// Which PDUs pass: those of the listed values, or all others.
enum DtPduTestOperator : int { DtPduAcceptListed = 0, DtPduRejectListed = 1 };

/// What a test is given to look at.
enum DtPduFilterType : int {
    DtPduFilterOther = 0,  ///< Something without bytes to compare: the list does not count.
    DtPduFilterByte = 1    ///< A byte of a PDU.
};

/// One test that a received PDU must pass: whether a byte of it is, or is not, in a list of
/// values. A DtDisSocket has four of them, for protocol version, exercise identifier, PDU kind
/// and sender.
///
///     unsigned int exercises[] = {3, 5};
///     socket.exerciseId().setTest(DtPduAcceptListed, 2, exercises);
///     ...
///     socket.exerciseId().disableTest();
///
/// Values are compared as they are: one above 255 matches no byte. Arrays are borrowed for the
/// call and must hold `count` values; a count of 0 or less, or null, means none.
///
/// Ownership: a value; copies are independent
/// Cost:      evalTest walks the list; one allocation per value
class DT_EXPORT DtPduFilterTest {
public:
    /// Every PDU passes.
    DtPduFilterTest();
    DtPduFilterTest(const DtPduFilterTest&) = default;             ///< Copies the list as well.
    DtPduFilterTest& operator=(const DtPduFilterTest&) = default;  ///< The same.

    // The order of the virtual functions is fixed.

    virtual ~DtPduFilterTest();

    /// Empties the list, also when the operator stays the same.
    virtual void setOperator(DtPduTestOperator op);

    /// Operator and values in one. Returns `count`.
    virtual int setTest(DtPduTestOperator op, int count, unsigned int* values);

    /// Appends the values; one may be there several times. Returns `count`.
    virtual int extendTest(int count, unsigned int* values);

    /// Removes for each value the first entry equal to it, if there is one. Returns `count`.
    virtual int reduceTest(int count, unsigned int* values);

    /// Whether the PDU passes. For DtPduFilterByte `data` points to its bytes and `index` tells
    /// which one counts; the caller owes that it is there. For any other type nothing is looked
    /// at: the PDU passes unless only listed values are accepted.
    virtual bool evalTest(void* data, int index, DtPduFilterType type);

    virtual void clearList();  ///< The operator stays.

    /// Lets every PDU pass and empties the list.
    virtual void disableTest();

    // The following has no slot.

    /// Whether every PDU passes, whatever is in it.
    bool passesAll() const { return operator_ == DtPduRejectListed && values_.first() == nullptr; }

private:
    // The order of the members is fixed.
    DtPduTestOperator operator_ = DtPduRejectListed;
    DtList values_;  ///< Each item's data pointer is the value itself.
};

}  // namespace OrynRti

#endif
