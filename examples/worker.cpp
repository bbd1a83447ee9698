// Work on a thread of its own, stopped from outside: here a counter that is told to end.
#include <atomic>
#include <memory>

#include "Print.h"
#include "Thread.h"
#include "ThreadedObject.h"

using namespace OrynRti;

class Counter : public DtRunnable {
public:
    int run() override {
        while (!timeToStop()) {
            ++count;
            DtSleep(0.001);
        }
        return 0;
    }
    std::atomic<int> count{0};
};

int main() {
    auto counter = std::make_shared<Counter>();
    DtThreadedObject thread(counter);
    thread.start();
    while (counter->count < 10)
        DtSleep(0.001);
    thread.stop(true);  // asks the work to end and waits until it has
    DtInfo("the counter went past %d\n", 9);
}
