#include "Print.h"

#include <iostream>
#include <memory>
#include <unistd.h>

#include "ScopedLock.h"
#include "text/ForkLocks.h"

namespace OrynRti {

namespace {

/// A piece that cannot be written (a full disk behind a redirection, say) must not silence the
/// messages after it, so a failure of our own is forgotten. One that was there before is the
/// program's business.
void writeAndFlush(std::ostream& console, const std::string& text) {
    const bool wasGood = console.good();
    console.write(text.data(), static_cast<std::streamsize>(text.size()));
    console.flush();
    if (wasGood && !console.good())
        console.clear();
}

/// Never destroyed: threads may write after main().
DtMutex& newConsoleLock() {
    auto lock = std::make_unique<DtMutex>();
    DtKeepForForks(*lock, DtForkRank::Printer);
    return *lock.release();
}

}  // namespace

DtPrinter::~DtPrinter() = default;

// -------------------------------------------------------------------------------------------

DtStdoutPrinter::~DtStdoutPrinter() = default;

/// All printers of a console share one lock; that of the printer only keeps its place.
void DtStdoutPrinter::write(const std::string& text, int, bool) {
    static DtMutex& console = newConsoleLock();
    const DtScopedLock lock(console);
    writeAndFlush(std::cout, text);
}

// -------------------------------------------------------------------------------------------

DtStderrPrinter::~DtStderrPrinter() = default;

void DtStderrPrinter::write(const std::string& text, int, bool) {
    static DtMutex& console = newConsoleLock();
    const DtScopedLock lock(console);
    writeAndFlush(std::cerr, text);
}

// -------------------------------------------------------------------------------------------

void DtSetQuarnPrinter(DtPrinter* printer) {
    DtOutputStream* const streams[] = {&DtWarn, &DtInfo, &DtVerbose, &DtFatal, &DtDebug};
    for (DtOutputStream* stream : streams) {
        stream->detachAllPrinters();
        stream->attachPrinter(printer);
    }
}

void DtPrintEnvironmentVariables(DtOutputStream& out) {
    out << "DtPrintEnvironmentVariables\n";
    if (environ != nullptr)
        for (char** entry = environ; *entry != nullptr; ++entry)
            out << *entry << "\n";
    out << "End of DtPrintEnvironmentVariables\n";
}

}  // namespace OrynRti
