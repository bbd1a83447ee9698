#include "Runnable.h"

namespace OrynRti {

DtRunnable::DtRunnable() : stopFlag_(nullptr) {}

DtRunnable::~DtRunnable() = default;

void DtRunnable::stop() {}

int DtRunnable::execute(volatile bool* stopFlag) {
    /// The flag may be gone as soon as the work is over, by return, exception or cancellation.
    struct FlagInUse {
        std::atomic<volatile bool*>& flag;
        ~FlagInUse() { flag.store(nullptr, std::memory_order_release); }
    };
    // Pairs with the load in timeToStop(), which stop() may call on another thread.
    stopFlag_.store(stopFlag, std::memory_order_release);
    const FlagInUse inUse{stopFlag_};
    return run();
}

bool DtRunnable::timeToStop() const {
    const volatile bool* flag = stopFlag_.load(std::memory_order_acquire);
    // Pairs with the release stores of DtThread: what was done before the request is seen.
    return flag != nullptr && __atomic_load_n(flag, __ATOMIC_ACQUIRE);
}

}  // namespace OrynRti
