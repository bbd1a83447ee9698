#ifndef RTIQNUTIL_SRC_NET_DESCRIPTORIO_H
#define RTIQNUTIL_SRC_NET_DESCRIPTORIO_H

#include "String.h"
#include "net/SystemCall.h"

/// What sockets of every kind do with a descriptor.
namespace OrynRti {

/// Waits until poll() reports one of `events`, or that the descriptor is shut down or in error.
void awaitReady(int descriptor, short events);

/// Another number for the same socket, close-on-exec. Throws a std::system_error.
int duplicateDescriptor(int descriptor);

/// The same for an object of Boost's, to which `assign` gives the number.
template <typename Assign>
void assignDuplicate(int descriptor, Assign assign) {
    Descriptor duplicate(duplicateDescriptor(descriptor));
    assign(duplicate.number());
    duplicate.release();
}

/// The system's text for an error number.
DtString systemErrorText(int number);

}  // namespace OrynRti

#endif
