#ifndef TESTS_NET_NETWORKNAMESPACE_H
#define TESTS_NET_NETWORKNAMESPACE_H

#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <sched.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace OrynRti::Tests {

/// A network of its own, with nothing but a loopback interface that is down. Sockets made inside
/// belong to it and may be used from anywhere.
class NetworkNamespace {
public:
    NetworkNamespace() {
        std::thread([this] {
            if (unshare(CLONE_NEWNET) == 0)
                descriptor_ = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
        }).join();
    }
    NetworkNamespace(const NetworkNamespace&) = delete;
    NetworkNamespace& operator=(const NetworkNamespace&) = delete;
    ~NetworkNamespace() {
        if (isOk())
            close(descriptor_);
    }

    /// False where the system does not allow it.
    bool isOk() const { return descriptor_ >= 0; }

    /// What a command may call it.
    std::string path() const {
        return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(descriptor_);
    }

    void inside(const std::function<void()>& function) const {
        std::thread([&] {
            if (setns(descriptor_, CLONE_NEWNET) == 0)
                function();
        }).join();
    }

    bool command(const std::string& text) const {
        int status = -1;
        inside([&] { status = std::system((text + " >/dev/null 2>&1").c_str()); });
        return status == 0;
    }

private:
    int descriptor_ = -1;
};

}  // namespace OrynRti::Tests

#endif
