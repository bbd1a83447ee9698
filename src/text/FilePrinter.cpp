#include <cstdio>
#include <cstring>

#include "Print.h"
#include "ScopedLock.h"

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

}  // namespace

DtFilePrinter::DtFilePrinter() = default;

DtFilePrinter::DtFilePrinter(const char* name) {
    if (name != nullptr) {
        open(name);
        DtFilePrinter::cacheFilename(name);
    }
}

DtFilePrinter::~DtFilePrinter() = default;

/// Through the buffer of the file, which writes a piece by one plain write() when it is
/// synchronised; past the formatting layer, whose state would have to be cleared after a failure.
void DtFilePrinter::write(const std::string& text, int, bool endOfLine) {
    const DtScopedLock lock(mutex_, true);
    if (!file_.is_open())
        return;
    const bool stamped = printTimestamps_ && endOfLine;
    const time_t now = rollingInterval_s_ != 0 || stamped ? currentTime() : 0;
    if (rollingInterval_s_ != 0 && std::difftime(now, openTime_) > rollingInterval_s_)
        roll();
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
    open(name);
    cacheFilename(name);
    rollCount_ = 0;
}

bool DtFilePrinter::isOpen() {
    const DtScopedLock lock(mutex_, true);
    return file_.is_open();
}

void DtFilePrinter::cacheFilename(const std::string& name) {
    const DtScopedLock lock(mutex_, true);
    const size_t dot = name.rfind('.');
    fileName_ = name;
    baseName_ = name.substr(0, dot);
    extension_ = dot == std::string::npos ? std::string() : name.substr(dot);
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
    file_.close();
    file_.open(fileName_, std::ios_base::out | std::ios_base::app);
}

void DtFilePrinter::open(const char* name) {
    if (file_.is_open())
        file_.close();
    file_.open(name, std::ios_base::out | std::ios_base::trunc);
    openTime_ = currentTime();
}

/// A file that cannot be renamed is not opened again, since opening would empty it.
void DtFilePrinter::roll() {
    file_.close();
    ++rollCount_;
    const std::string rolled = baseName_ + "_" + std::to_string(rollCount_) + extension_;
    if (std::rename(fileName_.c_str(), rolled.c_str()) == 0)
        open(fileName_.c_str());
}

}  // namespace OrynRti
