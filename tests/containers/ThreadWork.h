#ifndef TESTS_CONTAINERS_THREADWORK_H
#define TESTS_CONTAINERS_THREADWORK_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <pthread.h>
#include <utility>

#include "Runnable.h"

namespace OrynRti::Tests {

/// Lets threads through once it has been opened.
class Gate {
public:
    void open() {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
        opened_.notify_all();
    }

    void wait() {
        std::unique_lock<std::mutex> lock(mutex_);
        opened_.wait(lock, [this] { return open_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool open_ = false;
};

/// Does what it is given; without anything it waits until it is asked to stop.
class Work : public DtRunnable {
public:
    Work() : Work([](Work& work) { work.asked.wait(); }) {}
    explicit Work(std::function<void(Work&)> body) : body_(std::move(body)) {}
    ~Work() override {
        if (onDestruction)
            onDestruction();
    }

    int run() override {
        ++begins;
        begun.open();
        body_(*this);
        ++ends;
        return 7;
    }

    void stop() override {
        ++stops;
        asked.open();
    }

    Gate begun;
    Gate asked;
    std::atomic<int> begins{0};
    std::atomic<int> ends{0};
    std::atomic<int> stops{0};
    std::function<void()> onDestruction;

private:
    std::function<void(Work&)> body_;
};

}  // namespace OrynRti::Tests

#endif
