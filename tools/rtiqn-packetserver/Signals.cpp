#include "Signals.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/signalfd.h>
#include <unistd.h>

#include "Errors.h"

namespace RtiqnPacketServer {

Signals::Signals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGUSR1})
        sigaddset(&set, signal);
    ::sigprocmask(SIG_BLOCK, &set, nullptr);
    descriptor_ = Descriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!descriptor_.isOpen())
        throw NetworkError(std::string("cannot wait for signals: ") + std::strerror(errno));
}

int Signals::next() {
    signalfd_siginfo info{};
    const bool read = ::read(descriptor(), &info, sizeof info) == sizeof info;
    return read ? static_cast<int>(info.ssi_signo) : 0;
}

}  // namespace RtiqnPacketServer
