#include <algorithm>
#include <cstring>
#include <cxxabi.h>
#include <new>

#include "Exceptions.h"
#include "Print.h"
#include "ScopedLock.h"
#include "containers/CancellationOff.h"
#include "text/ForkLocks.h"
#include "text/MessageFormat.h"

namespace OrynRti {

namespace {

/// A buffer that has grown beyond this for one long piece is given back.
constexpr size_t theMaxKeptCapacity_bytes = size_t{64} * 1024;
constexpr size_t theUsualCapacity_bytes = 240;

constexpr int theAttemptsBeforeSleep = 25;
constexpr int thePausesPerAttempt = 8;

void pauseBriefly() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

/// Holds the lock of a buffer. Mostly it is free again after a write() or two, sooner than a
/// thread falls asleep and is woken; so this tries again for some microseconds before it sleeps.
class BufferLock {
public:
    explicit BufferLock(DtMutex& mutex) : mutex_(mutex) {
        if (!mutex_.tryLock())
            wait();
    }
    BufferLock(const BufferLock&) = delete;
    BufferLock& operator=(const BufferLock&) = delete;
    ~BufferLock() { mutex_.unlock(); }

private:
    void wait() {
        for (int attempt = 0; attempt < theAttemptsBeforeSleep; ++attempt) {
            for (int pause = 0; pause < thePausesPerAttempt; ++pause)
                pauseBriefly();
            if (mutex_.tryLock())
                return;
        }
        mutex_.lock();
    }

    DtMutex& mutex_;
};

}  // namespace

// -------------------------------------------------------------------------------------------
// DtOutputStreamBuffer

inline DtOutputStream* DtOutputStreamBuffer::stream() const {
    return __atomic_load_n(&stream_, __ATOMIC_ACQUIRE);  // pairs with setOutputStream()
}

inline bool DtOutputStreamBuffer::collects() const {
    const DtOutputStream* target = stream();
    return target != nullptr && target->okToPrint();
}

/// Room for a usual piece from the start: moving text out of a string with a block of its own is
/// cheaper than copying it.
DtOutputStreamBuffer::DtOutputStreamBuffer() {
    pending_.reserve(theUsualCapacity_bytes);
    DtKeepForForks(mutex_, DtForkRank::Stream);
}

DtOutputStreamBuffer::~DtOutputStreamBuffer() {
    DtForgetForForks(mutex_);
}

void DtOutputStreamBuffer::setOutputStream(DtOutputStream* stream) {
    const BufferLock lock(mutex_);
    __atomic_store_n(&stream_, stream, __ATOMIC_RELEASE);  // pairs with stream()
}

/// Never the end-of-file value, so that dropped text does not make the stream bad.
DtOutputStreamBuffer::int_type DtOutputStreamBuffer::overflow(int_type c) {
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
        const char character = traits_type::to_char_type(c);
        DtOutputStreamBuffer::xsputn(&character, 1);
    }
    return traits_type::not_eof(c);
}

/// Text for which there is no memory is lost: an exception would leave the stream bad for good.
std::streamsize DtOutputStreamBuffer::xsputn(const char* text, std::streamsize size) {
    if (size > 0 && collects()) {
        const BufferLock lock(mutex_);
        try {
            collect(text, static_cast<size_t>(size));
        } catch (const std::bad_alloc&) {
        }
    }
    return size;
}

/// Waits for a delivery on another thread: whoever flushes knows that the text is out, even
/// when it went along with another thread's piece.
int DtOutputStreamBuffer::sync() {
    if (stream() == nullptr)
        return -1;
    if (!undelivered_.load(std::memory_order_relaxed))  // a thread sees its own characters
        return 0;
    const BufferLock lock(mutex_);
    if (!pending_.empty())
        deliver(false);
    return 0;
}

/// For a run that was asked for already: the stream and the level are asked again only after a
/// delivery, in which a printer may have changed them.
void DtOutputStreamBuffer::collect(const char* text, size_t size) {
    do {
        const void* newline = std::memchr(text, '\n', size);
        const size_t length =
            newline == nullptr ? size : static_cast<const char*>(newline) - text + 1;
        pending_.append(text, length);
        undelivered_.store(true, std::memory_order_relaxed);
        if (newline != nullptr)
            deliver(true);
        text += length;
        size -= length;
    } while (size > 0 && collects());
}

/// The text is moved out first: a printer may write to this stream. Afterwards its memory
/// serves for the next piece.
void DtOutputStreamBuffer::deliver(bool endOfLine) {
    std::string piece;
    piece.swap(pending_);
    if (DtOutputStream* const target = stream())
        target->write(piece, endOfLine);
    if (!pending_.empty())
        return;
    undelivered_.store(false, std::memory_order_relaxed);
    if (piece.capacity() <= theMaxKeptCapacity_bytes) {
        piece.clear();
        pending_.swap(piece);
    }
}

void DtOutputStreamBuffer::forget(DtOutputStream* stream) {
    const BufferLock lock(mutex_);
    if (stream_ == stream)
        setOutputStream(nullptr);
}

// -------------------------------------------------------------------------------------------
// DtOutputStream

struct DtOutputStream::RunningPrinter {
    DtPrinter* printer;
    RunningPrinter*& innermost;
    RunningPrinter* outer;

    RunningPrinter(DtPrinter* running, RunningPrinter*& head)
        : printer(running), innermost(head), outer(head) {
        innermost = this;
    }
    ~RunningPrinter() { innermost = outer; }
    RunningPrinter(const RunningPrinter&) = delete;
    RunningPrinter& operator=(const RunningPrinter&) = delete;
};

DtOutputStream::DtOutputStream(DtOutputStreamBuffer* buffer, int& notifyLevel, int threshold,
                               DtPrinter* printer)
    : std::ostream(buffer), buffer_(buffer), threshold_(threshold), notifyLevel_(notifyLevel) {
    {
        const DtScopedLock lock(bufferMutex_, true);
        buffer_->setOutputStream(this);
    }
    setf(std::ios_base::unitbuf);
    DtOutputStream::attachPrinter(printer);
}

DtOutputStream::~DtOutputStream() {
    buffer_->pubsync();
    const DtScopedLock lock(bufferMutex_, true);
    buffer_->forget(this);
}

void DtOutputStream::attachPrinter(DtPrinter* printer) {
    if (printer == nullptr)
        return;
    const BufferLock lock(buffer_->mutex_);
    if (std::find(printers_.begin(), printers_.end(), printer) == printers_.end())
        printers_.push_back(printer);
}

/// While printers run on this thread the place in the list is only emptied: `write` is going
/// through the list.
bool DtOutputStream::detachPrinter(DtPrinter* printer) {
    if (printer == nullptr)
        return false;
    const BufferLock lock(buffer_->mutex_);
    const auto found = std::find(printers_.begin(), printers_.end(), printer);
    if (found == printers_.end())
        return false;
    *found = nullptr;
    dropDetachedPrinters();
    return true;
}

void DtOutputStream::detachAllPrinters() {
    const BufferLock lock(buffer_->mutex_);
    std::fill(printers_.begin(), printers_.end(), nullptr);
    dropDetachedPrinters();
}

/// One lock, the buffer's, stands for the text, the list and the running printers: with two, a
/// printer that inserts into this stream and another thread that does could take them crosswise.
void DtOutputStream::write(const std::string& text, bool endOfLine) {
    if (!okToPrint())
        return;
    const CancellationOff noCancellation;
    const BufferLock lock(buffer_->mutex_);
    const size_t count = printers_.size();
    for (size_t i = 0; i < count; ++i)
        if (printers_[i] != nullptr && !isRunning(printers_[i]))
            runPrinter(printers_[i], text, endOfLine);
    dropDetachedPrinters();
}

void DtOutputStream::setThreshold(int threshold) {
    __atomic_store_n(&threshold_, threshold, __ATOMIC_RELAXED);  // stands alone
}

int DtOutputStream::threshold() const {
    return __atomic_load_n(&threshold_, __ATOMIC_RELAXED);
}

bool DtOutputStream::okToPrint() const {
    return threshold() <= __atomic_load_n(&notifyLevel_, __ATOMIC_RELAXED);  // stands alone
}

/// Under the buffer's lock, so that no other thread's text comes between what was pending and
/// the message. The mutex of the hand-over would do for that, but a printer that calls this
/// operator already holds the buffer's, and two threads would take the two crosswise.
void DtOutputStream::operator()(const char* format, ...) {
    if (!okToPrint())
        return;
    const BufferLock lock(buffer_->mutex_);
    buffer_->pubsync();
    if (format == nullptr)
        return;
    va_list arguments;
    va_start(arguments, format);
    const std::string message = DtFormatMessage(format, arguments);
    va_end(arguments);
    write(message, false);
}

bool DtOutputStream::isRunning(const DtPrinter* printer) const {
    for (const RunningPrinter* running = running_; running != nullptr; running = running->outer)
        if (running->printer == printer)
            return true;
    return false;
}

/// What ends a thread is no C++ object, and the reference that catches it is null, which must not
/// be held against it.
__attribute__((noinline, no_sanitize("null"))) void DtOutputStream::runPrinter(
    DtPrinter* printer, const std::string& text, bool endOfLine) {
    const RunningPrinter running(printer, running_);
    try {
        printer->write(text, threshold(), endOfLine);
    } catch (const abi::__forced_unwind&) {
        throw;                             // the end of this thread, not a failure of the printer
    } catch (const DtException* thrown) {  // as a failed assertion throws it
        delete thrown;
    } catch (...) {
    }
}

void DtOutputStream::dropDetachedPrinters() {
    if (running_ != nullptr)
        return;
    printers_.erase(std::remove(printers_.begin(), printers_.end(), nullptr), printers_.end());
}

}  // namespace OrynRti
