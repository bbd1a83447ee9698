#ifndef RTIQNUTIL_PRINT_H
#define RTIQNUTIL_PRINT_H

#include <atomic>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <ios>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "Export.h"
#include "Mutex.h"

namespace OrynRti {

class DtOutputStream;

// -------------------------------------------------------------------------------------------
// Printers

/// An output sink for the notification streams. Derive from it to send messages somewhere else:
///
///     class Window : public DtPrinter {
///         void write(const std::string& text, int level, bool endOfLine) override { ... }
///     };
///     Window window;
///     DtWarn.attachPrinter(&window);
///     ...
///     DtWarn.detachPrinter(&window);
///
/// Threads:   a printer attached to one stream is called by one thread at a time; attached to
///            several it may be called by several at once, and guards its own data
/// Ownership: the caller's, who detaches a printer from every stream before destroying it
/// Errors:    what `write` throws is swallowed by the stream and costs this printer that piece
class DT_EXPORT DtPrinter {
public:
    virtual ~DtPrinter();

    /// Takes one piece of text. A line arrives as several pieces, one per insertion, so `text`
    /// need not be a whole line. `level` is the threshold of the stream it comes from;
    /// `endOfLine` is true when `text` ends the line with a newline.
    ///
    /// From inside it may attach and detach printers and write to any stream. What it writes to
    /// the stream that is calling it goes to the other printers of that stream only.
    virtual void write(const std::string& text, int level, bool endOfLine) = 0;
};

/// Writes to the standard output of the process (`std::cout`) and flushes after every piece.
/// Threads:   any thread may call it
/// Errors:    text that cannot be written is dropped, and `std::cout` stays usable
class DT_EXPORT DtStdoutPrinter : public DtPrinter {
public:
    ~DtStdoutPrinter() override;
    void write(const std::string& text, int level, bool endOfLine) override;

private:
    DtMutex mutex_;
};

/// As DtStdoutPrinter, for the standard error of the process (`std::cerr`).
class DT_EXPORT DtStderrPrinter : public DtPrinter {
public:
    ~DtStderrPrinter() override;
    void write(const std::string& text, int level, bool endOfLine) override;

private:
    DtMutex mutex_;
};

/// Writes to a log file, with a timestamp per line and with time-based rolling when asked for.
///
///     DtFilePrinter log("run.log");
///     log.setPrintTimestamps(true);
///     log.setLogRollingInterval(3600);   // run_1.log, run_2.log, ...; run.log is the newest
///     DtSetQuarnPrinter(&log);
///
/// Threads:   any thread may call any operation; each does its work under the printer's mutex
/// Errors:    a file that cannot be opened or renamed leaves the printer closed, and text is
///            dropped until `resetFile`. Text that finds no room on a full disk is lost; later
///            text is written as soon as there is room
/// Cost:      one write system call per piece
class DT_EXPORT DtFilePrinter : public DtPrinter {
public:
    /// Opens nothing: text is dropped until `resetFile`.
    DtFilePrinter();

    /// Opens `name`, emptying an existing file; null opens nothing.
    explicit DtFilePrinter(const char* name);

    ~DtFilePrinter() override;

    // The order of the virtual functions up to `cacheFilename` is fixed.

    /// Rolls the file when its time has come, then writes `text` and flushes. The timestamp
    /// stands in front of the piece that ends a line, since only that piece is known to end it.
    void write(const std::string& text, int level, bool endOfLine) override;

    /// Whether "[Wed Jun 30 21:49:08 1993] " (local time) goes before a piece that ends a line.
    virtual void setPrintTimestamps(bool print);

    /// After how many seconds the file is rolled; 0 for never. Rolling happens in `write`: the
    /// file is renamed to base name + "_" + roll count + extension, replacing a file of that
    /// name, and a new one is opened. When the rename fails the text so far stays where it is
    /// and the printer stays closed.
    virtual void setLogRollingInterval(unsigned int seconds);

    /// Closes the current file and opens `name`, emptying an existing file; the roll count
    /// starts again at 0. Null is ignored.
    virtual void resetFile(const char* name);

    virtual bool isOpen();  ///< Whether text goes to a file.

    /// Sets the name the open file is rolled under. The extension begins at the last '.'
    /// anywhere in `name`: with "./run" or "logs.d/run" that is a dot of the directory, and
    /// rolling then fails; give such a log an extension.
    virtual void cacheFilename(const std::string& name);

protected:
    /// The clock that timestamps and rolling go by: seconds since the epoch.
    virtual time_t currentTime();

private:
    void open(const char* name);
    void put(const std::string& text);
    void dropUnwritten();
    void roll();

    // The order of the members is fixed.
    DtMutex mutex_;
    bool printTimestamps_ = false;
    time_t openTime_ = 0;
    uint32_t rollCount_ = 0;
    uint32_t rollingInterval_s_ = 0;
    std::string fileName_;
    std::string baseName_;
    std::string extension_;
    std::ofstream file_;
};

// -------------------------------------------------------------------------------------------
// Streams

/// Collects the characters inserted into a DtOutputStream and hands them over in pieces: one
/// after each newline, and whatever is pending whenever the stream is flushed. Characters that
/// arrive while the stream is disabled are forgotten.
///
/// Threads:   any thread; text of two threads may meet in one piece, but one run of characters
///            is never torn apart by another
/// Ownership: borrows its stream; the buffer outlives the stream built on it
/// Cost:      one lock per run of characters and per flush, for which a thread tries some
///            microseconds before it sleeps; no allocation for pieces of up to 64 KB once it has
///            grown; a disabled stream takes no lock
class DT_EXPORT DtOutputStreamBuffer : public std::streambuf {
public:
    DtOutputStreamBuffer();
    ~DtOutputStreamBuffer() override;

    /// The stream that text goes to; null for none, then text is dropped and `sync` fails.
    void setOutputStream(DtOutputStream* stream);

protected:
    int_type overflow(int_type c) override;                                   ///< One character.
    int sync() override;                                                      ///< A flush.
    std::streamsize xsputn(const char* text, std::streamsize size) override;  ///< A run of them.

private:
    friend class DtOutputStream;

    bool collects() const;
    void collect(const char* text, size_t size);
    void deliver(bool endOfLine);
    void forget(DtOutputStream* stream);
    DtOutputStream* stream() const;

    // The order of the first three members is fixed.
    std::string pending_;
    DtMutex mutex_;
    DtOutputStream* stream_ = nullptr;
    /// True from the first pending character until it has reached the printers.
    std::atomic<bool> undelivered_{false};
};

/// A standard output stream whose text goes, piece by piece, to a list of printers. There is
/// one per severity (`DtWarn` and its relatives below); programs may build their own:
///
///     DtInfo << "joined as " << name << std::endl;
///     DtInfo("%d of %d federates\n", present, expected);
///
/// The stream prints while its threshold is at most the notify level. It is flushed after
/// every insertion (`std::unitbuf`), so printers get "joined as ", the name and the newline as
/// three pieces.
///
/// Threads:   any thread may write, attach and detach at any time. The printers run under the
///            lock of the buffer. Two printers that, on two threads, each write to (or attach
///            to, or detach from) the stream that is calling the other can deadlock
/// Ownership: borrows the buffer, the level and the printers; all must outlive their use here
/// Errors:    a printer that throws loses that piece; the others and the stream do not notice
/// Cost:      a disabled stream costs the formatting, no lock
class DT_EXPORT DtOutputStream : public std::ostream {
public:
    /// `buffer` may not be null and becomes this stream's own; `printer` may be null.
    DtOutputStream(DtOutputStreamBuffer* buffer, int& notifyLevel, int threshold,
                   DtPrinter* printer);

    /// Hands over what is pending.
    ~DtOutputStream() override;

    DtOutputStream(const DtOutputStream&) = delete;
    DtOutputStream& operator=(const DtOutputStream&) = delete;

    // The order of the virtual functions is fixed.

    /// Adds a printer at the end of the list; null and an attached one are ignored. Attached
    /// while printers run, it begins with the next piece.
    virtual void attachPrinter(DtPrinter* printer);

    /// Removes a printer; false when it was not attached. On return no other thread is inside
    /// its `write` on behalf of this stream, and it is not called again.
    virtual bool detachPrinter(DtPrinter* printer);

    virtual void detachAllPrinters();  ///< As detachPrinter() for each.

    /// Hands one piece to the printers as it is, ahead of any text still being collected. This
    /// function hides `std::ostream::write(const char*, std::streamsize)`.
    virtual void write(const std::string& text, bool endOfLine);

    /// The severity of the stream: it prints at this notify level and those above. @{
    virtual void setThreshold(int threshold);
    virtual int threshold() const;
    /// @}

    /// Whether the stream prints at the notify level of this moment.
    virtual bool okToPrint() const;

    /// Formats as printf does and hands the result over as one piece that does not count as the
    /// end of a line, whatever it ends in. No newline is added. Text beyond 8191 characters is
    /// cut off; arguments that cannot be formatted give an empty piece; a null format only
    /// flushes.
    virtual void operator()(const char* format, ...) DT_PRINTF(2, 3);

private:
    struct RunningPrinter;

    bool isRunning(const DtPrinter* printer) const;
    void runPrinter(DtPrinter* printer, const std::string& text, bool endOfLine);
    void dropDetachedPrinters();

    // The order of the first six members is fixed. The printers are guarded by the lock of the
    // buffer, under which they run; their own only keeps its place.
    DtOutputStreamBuffer* buffer_;
    DtMutex bufferMutex_;
    std::vector<DtPrinter*> printers_;
    DtMutex printersMutex_;
    int threshold_;
    int& notifyLevel_;
    /// The printers inside their `write` for this stream, innermost first.
    RunningPrinter* running_ = nullptr;
};

// -------------------------------------------------------------------------------------------
// The streams of the process. They, their buffers and the consoles are never destroyed: static
// initialisers, exit handlers and threads that outlive `main` may use them.

/// The severities that are printed: those up to this number (fatal 0, warning 1, information
/// 2, verbose 3, debug 4). Assign to it; -1 silences everything. Default 2.
extern DT_EXPORT int DtNotifyLevel;

extern DT_EXPORT DtOutputStream& DtFatal;    ///< threshold 0
extern DT_EXPORT DtOutputStream& DtWarn;     ///< threshold 1
extern DT_EXPORT DtOutputStream& DtInfo;     ///< threshold 2
extern DT_EXPORT DtOutputStream& DtVerbose;  ///< threshold 3
extern DT_EXPORT DtOutputStream& DtDebug;    ///< threshold 4

/// The buffers of the five streams. @{
extern DT_EXPORT DtOutputStreamBuffer& DtFatalBuffer;
extern DT_EXPORT DtOutputStreamBuffer& DtWarnBuffer;
extern DT_EXPORT DtOutputStreamBuffer& DtInfoBuffer;
extern DT_EXPORT DtOutputStreamBuffer& DtVerboseBuffer;
extern DT_EXPORT DtOutputStreamBuffer& DtDebugBuffer;
/// @}

/// All five streams begin with this one as their only printer.
extern DT_EXPORT DtStdoutPrinter& DtStandardOutConsole;
extern DT_EXPORT DtStderrPrinter& DtStandardErrorConsole;  ///< Attached to none at first.

/// "**FATAL ERROR**: ", what every message of DtFatalError and its relatives begins with.
extern DT_EXPORT std::string& FATAL_HDR;

/// Makes `printer` the only printer of all five streams; null leaves them without any.
DT_EXPORT void DtSetQuarnPrinter(DtPrinter* printer);

/// Writes every entry of the process environment, one per line, between two heading lines.
DT_EXPORT void DtPrintEnvironmentVariables(DtOutputStream& out);

/// Builds the streams above before the first static object of every source file that includes
/// this header, as std::ios_base::Init does for std::cout. When the last one ends, what the
/// streams still hold is handed over.
class DT_EXPORT DtNotificationInit {
public:
    DtNotificationInit();
    ~DtNotificationInit();

    DtNotificationInit(const DtNotificationInit&) = delete;
    DtNotificationInit& operator=(const DtNotificationInit&) = delete;

private:
    std::ios_base::Init standardStreams_;
};

static const DtNotificationInit theNotificationInit;

}  // namespace OrynRti

#endif
