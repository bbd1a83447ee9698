#include "net/PollDescriptor.h"

#include <cstdint>
#include <new>
#include <sys/epoll.h>
#include <sys/eventfd.h>

namespace OrynRti {

namespace {

bool addTo(int epoll, int descriptor) {
    epoll_event event{};
    event.events = EPOLLIN;
    return epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

}  // namespace

int PollDescriptor::descriptor() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return epoll_.number() >= 0 || make() ? epoll_.number() : -1;
}

void PollDescriptor::leaveToParent() {
    const Descriptor event = std::move(event_);
    const Descriptor epoll = std::move(epoll_);
    new (this) PollDescriptor;
}

bool PollDescriptor::make() {
    Descriptor event(eventfd(reasons_ != 0 ? 1 : 0, EFD_CLOEXEC | EFD_NONBLOCK));
    Descriptor epoll(epoll_create1(EPOLL_CLOEXEC));
    if (event.number() < 0 || epoll.number() < 0 || !addTo(epoll.number(), event.number()))
        return false;
    if (socket_ >= 0 && !addTo(epoll.number(), socket_))
        return false;
    event_ = std::move(event);
    epoll_ = std::move(epoll);
    return true;
}

void PollDescriptor::watch(int socket) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (epoll_.number() >= 0) {
        if (socket_ >= 0)
            epoll_ctl(epoll_.number(), EPOLL_CTL_DEL, socket_, nullptr);
        if (socket >= 0)
            addTo(epoll_.number(), socket);
    }
    socket_ = socket;
}

void PollDescriptor::raise(Reason reason) {
    const std::lock_guard<std::mutex> lock(mutex_);
    due_ &= ~reason;
    setReasons(reasons_ | reason);
}

void PollDescriptor::lower(Reason reason, bool atOnce) {
    const std::lock_guard<std::mutex> lock(mutex_);
    due_ |= reason & reasons_;
    if (atOnce)
        takeBackDue();
}

void PollDescriptor::settle() {
    const std::lock_guard<std::mutex> lock(mutex_);
    takeBackDue();
}

void PollDescriptor::takeBackDue() {
    setReasons(reasons_ & ~due_);
    due_ = 0;
}

void PollDescriptor::setReasons(unsigned int reasons) {
    const bool changes = (reasons != 0) != (reasons_ != 0);
    reasons_ = reasons;
    if (!changes || event_.number() < 0)
        return;
    if (reasons != 0)
        eventfd_write(event_.number(), 1);
    else {
        eventfd_t raised = 0;
        eventfd_read(event_.number(), &raised);
    }
}

}  // namespace OrynRti
