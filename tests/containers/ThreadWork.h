#ifndef TESTS_CONTAINERS_THREADWORK_H
#define TESTS_CONTAINERS_THREADWORK_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

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

/// Calls `work` with the numbers below `count`, each on a thread of its own, all at once.
inline void runTogether(int count, const std::function<void(int)>& work) {
    Gate go;
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number)
        threads.emplace_back([&, number] {
            go.wait();
            work(number);
        });
    go.open();
    for (std::thread& thread : threads)
        thread.join();
}

/// Does what it is given; without anything it waits until it is asked to stop.
class Work : public DtRunnable {
public:
    Work() : Work([](Work& work) { work.asked.wait(); }) {}
    explicit Work(std::function<void(Work&)> body) : body_(std::move(body)) {}

    int run() override {
        begun.open();
        body_(*this);
        ++ends;
        return 0;
    }

    void stop() override {
        ++stops;
        asked.open();
    }

    Gate begun, asked;
    std::atomic<int> ends{0}, stops{0};

private:
    std::function<void(Work&)> body_;
};

}  // namespace OrynRti::Tests

#endif
