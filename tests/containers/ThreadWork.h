#ifndef TESTS_CONTAINERS_THREADWORK_H
#define TESTS_CONTAINERS_THREADWORK_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <utility>
#include <vector>

#include "Runnable.h"

namespace OrynRti::Tests {

/// Lets threads through once it has been opened. Who has come through may destroy it.
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
    std::vector<std::future<void>> threads;  // each joins when it goes
    for (int number = 0; number < count; ++number)
        threads.push_back(std::async(std::launch::async, [&, number] {
            go.wait();
            work(number);
        }));
    go.open();
}

/// Does what it is given; without anything it waits until it is asked to stop.
struct Work : DtRunnable {
    using Body = std::function<void(Work&)>;

    explicit Work(Body does = [](Work& work) { work.asked.wait(); }) : body(std::move(does)) {}

    int run() override {
        begun.open();
        body(*this);
        ++ends;
        return 0;
    }

    void stop() override {
        ++stops;
        asked.open();
    }

    const Body body;
    Gate begun, asked;
    std::atomic<int> ends{0}, stops{0};
};

}  // namespace OrynRti::Tests

#endif
