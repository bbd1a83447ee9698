#ifndef RTIQNUTIL_SRC_NET_DESCRIPTORIO_H
#define RTIQNUTIL_SRC_NET_DESCRIPTORIO_H

#include "String.h"

/// What sockets of every kind do with a descriptor.
namespace OrynRti {

/// Waits until poll() reports one of `events`, or that the descriptor is shut down or in error.
void awaitReady(int descriptor, short events);

/// Another number for the same socket, close-on-exec. Throws a std::system_error.
int duplicateDescriptor(int descriptor);

/// The system's text for an error number.
DtString systemErrorText(int number);

}  // namespace OrynRti

#endif
