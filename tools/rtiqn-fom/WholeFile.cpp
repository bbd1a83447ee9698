#include "WholeFile.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <streambuf>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "Errors.h"
#include "common/Descriptor.h"

namespace RtiqnFom {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void throwWriteError(const std::string& path, int error) {
    throw FileError("cannot write " + path + ": " + std::strerror(error));
}

/// Writes to a descriptor and keeps the error of the first write that failed.
class DescriptorBuffer : public std::streambuf {
public:
    explicit DescriptorBuffer(int fd) : fd_(fd) { setp(buffer_, buffer_ + sizeof buffer_); }

    int error() const { return error_; }

protected:
    int_type overflow(int_type c) override {
        if (sync() != 0)
            return traits_type::eof();
        if (!traits_type::eq_int_type(c, traits_type::eof()))
            sputc(traits_type::to_char_type(c));
        return traits_type::not_eof(c);
    }

    int sync() override {
        const char* from = pbase();
        while (error_ == 0 && from != pptr()) {
            const ssize_t written = ::write(fd_, from, static_cast<std::size_t>(pptr() - from));
            if (written >= 0)
                from += written;
            else if (errno != EINTR)
                error_ = errno;
        }
        setp(buffer_, buffer_ + sizeof buffer_);
        return error_ == 0 ? 0 : -1;
    }

private:
    int fd_;
    int error_ = 0;
    char buffer_[1 << 16];
};

void writeTo(int fd, const std::string& path, const std::function<void(std::ostream&)>& write) {
    DescriptorBuffer buffer(fd);
    std::ostream out(&buffer);
    write(out);
    out.flush();
    if (buffer.error() != 0)
        throwWriteError(path, buffer.error());
}

/// The number of an open descriptor that the path names, -1 when it names none.
int descriptorNamed(const std::string& path) {
    if (path == "/dev/stdout")
        return STDOUT_FILENO;
    if (path == "/dev/stderr")
        return STDERR_FILENO;
    for (const std::string folder : {"/dev/fd/", "/proc/self/fd/"}) {
        int number = -1;
        const char* end = path.data() + path.size();
        if (path.compare(0, folder.size(), folder) == 0 &&
            std::from_chars(path.data() + folder.size(), end, number).ptr == end)
            return number;
    }
    return -1;
}

/// Open descriptors are written where they stand: opened anew, one that leads to a file would be
/// written from the file's beginning.
int openDirectly(const std::string& path) {
    const int number = descriptorNamed(path);
    return number >= 0 ? ::fcntl(number, F_DUPFD_CLOEXEC, 0)
                       : ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
}

void writeDirectly(const std::string& path, const std::function<void(std::ostream&)>& write) {
    Descriptor file(openDirectly(path));
    if (!file.isOpen())
        throwWriteError(path, errno);
    writeTo(file.number(), path, write);
    if (!file.close())
        throwWriteError(path, errno);
}

bool isWrittenDirectly(const std::string& path) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    return descriptorNamed(path) >= 0 || (fs::exists(status) && !fs::is_regular_file(status));
}

/// What a chain of symbolic links leads to, whether that exists or not.
fs::path linkTarget(const std::string& path) {
    constexpr int maxLinks = 40;
    fs::path target = path;
    std::error_code error;
    for (int links = 0; fs::is_symlink(fs::symlink_status(target, error)); ++links) {
        if (links == maxLinks)
            throwWriteError(path, ELOOP);
        target = target.parent_path() / fs::read_symlink(target, error);
        if (error)
            throwWriteError(path, error.value());
    }
    return target;
}

/// The rights of the file that is replaced, or those of any new file.
mode_t accessRights(const fs::path& target, const std::string& path) {
    struct stat status;
    if (::stat(target.c_str(), &status) != 0) {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        return 0666 & ~mask;
    }
    if (::access(target.c_str(), W_OK) != 0)
        throwWriteError(path, errno);
    return status.st_mode & 0777;
}

/// While it lives, signals that end the program wait: a file that nobody knows of is not left.
class HeldSignals {
public:
    HeldSignals() {
        sigset_t signals;
        ::sigemptyset(&signals);
        for (const int signal : {SIGHUP, SIGINT, SIGTERM})
            ::sigaddset(&signals, signal);
        ::pthread_sigmask(SIG_BLOCK, &signals, &before_);
    }
    ~HeldSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

private:
    sigset_t before_;
};

/// A new file beside the target, removed unless it took the target's place.
class TemporaryFile {
public:
    TemporaryFile(const fs::path& target, const std::string& path)
        : path_(path),
          name_((target.parent_path() / ".rtiqn-fom.XXXXXX").string()),
          file_(::mkostemp(name_.data(), O_CLOEXEC)) {
        if (!file_.isOpen())
            throwWriteError(path_, errno);
    }
    ~TemporaryFile() {
        if (!name_.empty())
            ::unlink(name_.c_str());
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    int fd() const { return file_.number(); }

    void takePlaceOf(const fs::path& target, mode_t rights) {
        if (::fchmod(file_.number(), rights) != 0 || ::fsync(file_.number()) != 0 ||
            !file_.close() || ::rename(name_.c_str(), target.c_str()) != 0)
            throwWriteError(path_, errno);
        name_.clear();
        syncFolder(target);
    }

private:
    /// So that the new name outlives a crash. Some file systems cannot; the contents are whole
    /// then all the same.
    static void syncFolder(const fs::path& target) {
        const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
        const Descriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (directory.isOpen())
            ::fsync(directory.number());
    }

    const std::string& path_;
    std::string name_;
    Descriptor file_;
};

}  // namespace

void writeWholeFile(const std::string& path, const std::function<void(std::ostream&)>& write) {
    if (isWrittenDirectly(path))
        return writeDirectly(path, write);
    const fs::path target = linkTarget(path);
    const mode_t rights = accessRights(target, path);
    const HeldSignals held;
    TemporaryFile file(target, path);
    writeTo(file.fd(), path, write);
    file.takePlaceOf(target, rights);
}

}  // namespace RtiqnFom
