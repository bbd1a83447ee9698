#include "ScopedLock.h"

namespace OrynRti {

DtScopedSequenceLock::DtScopedSequenceLock(void* object, void (*lockFn)(void*),
                                           void (*unlockFn)(void*))
    : lockFn_(lockFn), unlockFn_(unlockFn), object_(object) {}

DtScopedSequenceLock::DtScopedSequenceLock(const DtScopedSequenceLock& other)
    : lockFn_(other.lockFn_), unlockFn_(other.unlockFn_), object_(other.object_) {
    if (lockFn_ != nullptr)
        lockFn_(object_);
}

DtScopedSequenceLock::~DtScopedSequenceLock() {
    if (unlockFn_ != nullptr)
        unlockFn_(object_);
}

}  // namespace OrynRti
