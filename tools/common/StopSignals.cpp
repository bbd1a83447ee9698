#include "StopSignals.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "Errors.h"

namespace RtiqnTools {

namespace {

volatile std::sig_atomic_t theRequest = 0;
int thePipe[2] = {-1, -1};

extern "C" void requestStop(int) {
    const int error = errno;
    theRequest = 1;
    [[maybe_unused]] const ssize_t written = ::write(thePipe[1], "", 1);
    errno = error;
}

void handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = handler == SIG_DFL ? 0 : static_cast<int>(SA_RESETHAND);
    ::sigaction(signal, &action, nullptr);
}

}  // namespace

StopSignals::StopSignals() {
    if (::pipe2(thePipe, O_CLOEXEC | O_NONBLOCK) != 0)
        throw NetworkError(std::string("cannot make a pipe: ") + std::strerror(errno));
    theRequest = 0;
    handle(SIGINT, requestStop);
    handle(SIGTERM, requestStop);
}

StopSignals::~StopSignals() {
    handle(SIGINT, SIG_DFL);
    handle(SIGTERM, SIG_DFL);
    ::close(thePipe[0]);
    ::close(thePipe[1]);
}

bool StopSignals::requested() {
    return theRequest != 0;
}
int StopSignals::descriptor() {
    return thePipe[0];
}

}  // namespace RtiqnTools
