#include <new>

#include "Print.h"

namespace OrynRti {

namespace {

/// Room for an object that is built by hand and never destroyed. Its address is known before
/// any code runs.
template <class T>
union Undestroyed {
    constexpr Undestroyed() : unused() {}
    ~Undestroyed() {}  // NOLINT(modernize-use-equals-default): of a union, it would be deleted

    unsigned char unused;
    T object;
};

Undestroyed<std::string> theFatalHeader;
Undestroyed<DtStdoutPrinter> theStdoutConsole;
Undestroyed<DtStderrPrinter> theStderrConsole;
Undestroyed<DtOutputStreamBuffer> theInfoBuffer;
Undestroyed<DtOutputStreamBuffer> theWarnBuffer;
Undestroyed<DtOutputStreamBuffer> theFatalBuffer;
Undestroyed<DtOutputStreamBuffer> theVerboseBuffer;
Undestroyed<DtOutputStreamBuffer> theDebugBuffer;
Undestroyed<DtOutputStream> theFatalStream;
Undestroyed<DtOutputStream> theWarnStream;
Undestroyed<DtOutputStream> theInfoStream;
Undestroyed<DtOutputStream> theVerboseStream;
Undestroyed<DtOutputStream> theDebugStream;

std::atomic<int> theInitCount{0};

}  // namespace

int DtNotifyLevel = 2;

std::string& FATAL_HDR = theFatalHeader.object;
DtStdoutPrinter& DtStandardOutConsole = theStdoutConsole.object;
DtStderrPrinter& DtStandardErrorConsole = theStderrConsole.object;
DtOutputStreamBuffer& DtInfoBuffer = theInfoBuffer.object;
DtOutputStreamBuffer& DtWarnBuffer = theWarnBuffer.object;
DtOutputStreamBuffer& DtFatalBuffer = theFatalBuffer.object;
DtOutputStreamBuffer& DtVerboseBuffer = theVerboseBuffer.object;
DtOutputStreamBuffer& DtDebugBuffer = theDebugBuffer.object;
DtOutputStream& DtFatal = theFatalStream.object;
DtOutputStream& DtWarn = theWarnStream.object;
DtOutputStream& DtInfo = theInfoStream.object;
DtOutputStream& DtVerbose = theVerboseStream.object;
DtOutputStream& DtDebug = theDebugStream.object;

namespace {

void build(DtOutputStream& stream, DtOutputStreamBuffer& buffer, int threshold) {
    new (&stream) DtOutputStream(&buffer, DtNotifyLevel, threshold, &DtStandardOutConsole);
}

bool buildAll() {
    new (&FATAL_HDR) std::string("**FATAL ERROR**: ");
    new (&DtStandardOutConsole) DtStdoutPrinter;
    new (&DtStandardErrorConsole) DtStderrPrinter;
    new (&DtInfoBuffer) DtOutputStreamBuffer;
    new (&DtWarnBuffer) DtOutputStreamBuffer;
    new (&DtFatalBuffer) DtOutputStreamBuffer;
    new (&DtVerboseBuffer) DtOutputStreamBuffer;
    new (&DtDebugBuffer) DtOutputStreamBuffer;
    build(DtFatal, DtFatalBuffer, 0);
    build(DtWarn, DtWarnBuffer, 1);
    build(DtInfo, DtInfoBuffer, 2);
    build(DtVerbose, DtVerboseBuffer, 3);
    build(DtDebug, DtDebugBuffer, 4);
    return true;
}

/// In a program that links the library statically, this one comes before the static objects of
/// sources that reach the streams only through other functions of the library.
[[gnu::init_priority(101)]] const DtNotificationInit theEarliestInit;

}  // namespace

DtNotificationInit::DtNotificationInit() {
    static const bool built = buildAll();
    static_cast<void>(built);
    theInitCount.fetch_add(1, std::memory_order_relaxed);
}

/// Streams in the reverse order of their building.
DtNotificationInit::~DtNotificationInit() {
    if (theInitCount.fetch_sub(1, std::memory_order_relaxed) != 1)  // code is unloaded in order
        return;
    DtOutputStreamBuffer* const buffers[] = {&DtDebugBuffer, &DtVerboseBuffer, &DtInfoBuffer,
                                             &DtWarnBuffer, &DtFatalBuffer};
    for (DtOutputStreamBuffer* buffer : buffers)
        buffer->pubsync();
}

}  // namespace OrynRti
