#ifndef RTIQNUTIL_SRC_TEXT_FORKLOCKS_H
#define RTIQNUTIL_SRC_TEXT_FORKLOCKS_H

#include "Mutex.h"

namespace OrynRti {

/// What a kept lock guards, in the order in which a thread may come to hold several: a socket
/// tells of an error, for which a stream calls its printers.
enum class DtForkRank { Socket, Stream, Printer };

/// From now on fork() waits until no other thread holds the lock. So what the lock guards is whole
/// in the child, where the lock is free, and the child can go on with it.
///
/// A thread that forks while it holds kept locks (within a printer, say) must not be waited for
/// by another holder of some.
///
/// Errors:    std::bad_alloc
/// Cost:      fork() takes every kept lock, and is as late as the longest of their holders
void DtKeepForForks(DtMutex& lock, DtForkRank rank);

/// Before the lock is destroyed.
void DtForgetForForks(DtMutex& lock);

}  // namespace OrynRti

#endif
