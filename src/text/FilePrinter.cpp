#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <utility>

#include "Print.h"
#include "ScopedLock.h"
#include "text/ForkLocks.h"

namespace OrynRti {

namespace {

/// "[Wed Jun 30 21:49:08 1993] "; without a date when the time has no calendar date.
std::string timestamp(time_t now) {
    struct tm local;
    char text[64] = "";
    if (localtime_r(&now, &local) == nullptr || asctime_r(&local, text) == nullptr)
        text[0] = '\0';
    text[std::strcspn(text, "\n")] = '\0';
    return std::string("[") + text + "] ";
}

using FileBuffer = __gnu_cxx::stdio_filebuf<char>;

/// As std::ofstream opens a file, but a program that is started by exec does not inherit it.
/// `flags` are O_TRUNC or O_APPEND.
FileBuffer openFile(const char* name, int flags) {
    const int descriptor = ::open(name, O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0666);
    return FileBuffer(descriptor, std::ios_base::out);
}

/// The earlier file stays open, since there may be no memory to go on; unless it has the last
/// descriptor that there is.
FileBuffer openInPlaceOf(std::ofstream& earlier, const char* name, int flags) {
    FileBuffer opened = openFile(name, flags);
    if (!opened.is_open() && earlier.is_open()) {
        earlier.close();
        opened = openFile(name, flags);
    }
    return opened;
}

void replace(std::ofstream& earlier, FileBuffer opened) {
    static_cast<std::filebuf&>(*earlier.rdbuf()) = std::move(opened);
}

}  // namespace

DtFilePrinter::DtFilePrinter() {
    DtKeepForForks(mutex_, DtForkRank::Printer);
}

DtFilePrinter::DtFilePrinter(const char* name) : DtFilePrinter() {
    if (name != nullptr) {
        open(name);
        DtFilePrinter::cacheFilename(name);
    }
}

DtFilePrinter::~DtFilePrinter() {
    DtForgetForForks(mutex_);
}

/// Through the buffer of the file, which writes a piece by one plain write() when it is
/// synchronised; past the formatting layer, whose state would have to be cleared after a failure.
void DtFilePrinter::write(const std::string& text, int, bool endOfLine) {
    const DtScopedLock lock(mutex_, true);
    if (!file_.is_open())
        return;
    const bool stamped = printTimestamps_ && endOfLine;
    const time_t now = rollingInterval_s_ != 0 || stamped ? currentTime() : 0;
    if (rollingInterval_s_ != 0) {
        openTime_ = std::min(openTime_, now);  // a clock set back begins the interval anew
        if (std::difftime(now, openTime_) > rollingInterval_s_)
            roll();
    }
    if (stamped)
        put(timestamp(now));
    put(text);
    if (file_.rdbuf()->pubsync() != 0)
        dropUnwritten();
}

void DtFilePrinter::setPrintTimestamps(bool print) {
    const DtScopedLock lock(mutex_, true);
    printTimestamps_ = print;
}

void DtFilePrinter::setLogRollingInterval(unsigned int seconds) {
    const DtScopedLock lock(mutex_, true);
    rollingInterval_s_ = seconds;
}

void DtFilePrinter::resetFile(const char* name) {
    if (name == nullptr)
        return;
    const DtScopedLock lock(mutex_, true);
    FileBuffer opened = openInPlaceOf(file_, name, O_TRUNC);
    cacheFilename(name);
    replace(file_, std::move(opened));
    openTime_ = currentTime();
    rollCount_ = 0;
}

bool DtFilePrinter::isOpen() {
    const DtScopedLock lock(mutex_, true);
    return file_.is_open();
}

void DtFilePrinter::cacheFilename(const std::string& name) {
    const DtScopedLock lock(mutex_, true);
    const size_t dot = name.rfind('.');
    std::string file = name;
    std::string base = name.substr(0, dot);
    std::string extension = dot == std::string::npos ? std::string() : name.substr(dot);
    fileName_.swap(file);
    baseName_.swap(base);
    extension_.swap(extension);
}

time_t DtFilePrinter::currentTime() {
    return std::time(nullptr);
}

void DtFilePrinter::put(const std::string& text) {
    file_.rdbuf()->sputn(text.data(), static_cast<std::streamsize>(text.size()));
}

/// What found no room on a full disk would stay in the buffer and be written again, in part or
/// twice, before any later text. Only closing the file makes the buffer forget it.
void DtFilePrinter::dropUnwritten() {
    replace(file_, openInPlaceOf(file_, fileName_.c_str(), O_APPEND));
}

void DtFilePrinter::open(const char* name) {
    replace(file_, openInPlaceOf(file_, name, O_TRUNC));
    openTime_ = currentTime();
}

/// A file that cannot be renamed is not opened again, since opening would empty it.
void DtFilePrinter::roll() {
    const std::string rolled = baseName_ + "_" + std::to_string(rollCount_ + 1) + extension_;
    ++rollCount_;
    if (std::rename(fileName_.c_str(), rolled.c_str()) == 0)
        open(fileName_.c_str());
    else
        file_.close();
}

}  // namespace OrynRti
