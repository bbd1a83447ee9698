#ifndef RTIQNUTIL_CLIENTSERVERQUEUE_H
#define RTIQNUTIL_CLIENTSERVERQUEUE_H

#include "Export.h"

namespace OrynRti {

/// Sends messages from one program to another, whatever carries them: what a message needs to
/// know of its way out. DtShmMsgQueueWriter is the one through shared memory.
///
/// The order of the virtual functions is fixed.
class DT_EXPORT DtClientServerWriter {
public:
    DtClientServerWriter() = default;
    DtClientServerWriter(const DtClientServerWriter&) = delete;
    DtClientServerWriter& operator=(const DtClientServerWriter&) = delete;
    virtual ~DtClientServerWriter();

    /// Sends `length` bytes as one message. Returns `length`, or -1.
    virtual int Write(const char* buffer, int length) = 0;

    /// Sends `count` pieces, one after another, as one message. Returns the sum of the lengths,
    /// or -1.
    virtual int Writev(const char* const* buffers, const int* lengths, int count) = 0;
};

/// Receives messages from another program: the other end of a DtClientServerWriter.
///
/// The order of the virtual functions is fixed.
class DT_EXPORT DtClientServerReader {
public:
    DtClientServerReader() = default;
    DtClientServerReader(const DtClientServerReader&) = delete;
    DtClientServerReader& operator=(const DtClientServerReader&) = delete;
    virtual ~DtClientServerReader();

    /// Takes one message. Returns the bytes copied to `buffer`, which holds `size`, or -1; then
    /// `status` tells why.
    virtual int Read(char* buffer, int size, int* status) = 0;
};

}  // namespace OrynRti

#endif
