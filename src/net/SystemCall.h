#ifndef RTIQNUTIL_SRC_NET_SYSTEMCALL_H
#define RTIQNUTIL_SRC_NET_SYSTEMCALL_H

#include <cerrno>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace OrynRti {

/// Makes a system call again for as long as a signal interrupts it. The result is the call's;
/// errno tells why it is -1. Not for close(), which must not be repeated.
template <typename Call>
[[gnu::always_inline]] inline auto repeatedCall(Call call) -> decltype(call()) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR)
            return result;
    }
}

/// The same for calls that are expected to succeed: throws a std::system_error that names the
/// call when it fails.
template <typename Call>
auto checkedCall(const char* name, Call call) -> decltype(call()) {
    const auto result = repeatedCall(call);
    if (result == -1)
        throw std::system_error(errno, std::generic_category(), name);
    return result;
}

/// Closes a file descriptor when it goes; errno is kept.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        const int error = errno;
        if (number_ >= 0)
            ::close(number_);
        errno = error;
    }

    int number() const { return number_; }

    /// The caller closes it from now on.
    int release() { return std::exchange(number_, -1); }

private:
    int number_ = -1;
};

}  // namespace OrynRti

#endif
