#include "ShmQueue.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>
#include <string>

#include "Exceptions.h"
#include "Fatal.h"
#include "net/SystemCall.h"
#include "transport/ShmRecordArea.h"

// The thread sanitizer does not know that a semaphore orders what its users do.
#if defined(__SANITIZE_THREAD__)
#define DT_SHM_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define DT_SHM_THREAD_SANITIZER
#endif
#endif
#ifdef DT_SHM_THREAD_SANITIZER
#include <sanitizer/tsan_interface.h>
#endif

namespace OrynRti {

namespace {

using Clock = std::chrono::steady_clock;

/// Who has the front has it for a microsecond or so. A lock that goes to a sleeper stays taken
/// until that one runs, and the others fall asleep behind it: asking again is far cheaper.
constexpr int theLockTries = 50;

[[noreturn]] void refuse(const std::string& reason) {
    throw DtException(("DtShmMsgQueueManager: " + reason).c_str(), nullptr);
}

void checkArea(const Dt_Shm_Msg_Queue* queue, int size, int semNum) {
    if (queue == nullptr || reinterpret_cast<uintptr_t>(queue) % 8 != 0)
        refuse("the queue must be on a multiple of 8");
    if (size < 16)
        refuse("an area of " + std::to_string(size) + " bytes is too small, 16 are the least");
    if (semNum < 0 || semNum > 0xFFFE)
        refuse("there is no semaphore number " + std::to_string(semNum));
}

sembuf operation(int number, int change, int flags) {
    sembuf built{};
    built.sem_num = static_cast<unsigned short>(number);
    built.sem_op = static_cast<short>(change);
    built.sem_flg = static_cast<short>(flags);
    return built;
}

int callSemop(int id, const sembuf* operations, size_t count, void* queue) {
    sembuf copies[2] = {operations[0], operations[count - 1]};
#ifdef DT_SHM_THREAD_SANITIZER
    __tsan_release(queue);
#endif
    const int result = repeatedCall([&] { return semop(id, copies, count); });
#ifdef DT_SHM_THREAD_SANITIZER
    __tsan_acquire(queue);
#endif
    static_cast<void>(queue);
    return result;
}

timespec untilThen(Clock::time_point then) {
    const auto left = std::chrono::duration_cast<std::chrono::nanoseconds>(then - Clock::now());
    const auto nanoseconds = std::max<std::chrono::nanoseconds::rep>(left.count(), 0);
    timespec built{};
    built.tv_sec = static_cast<time_t>(nanoseconds / 1000000000);
    built.tv_nsec = static_cast<long>(nanoseconds % 1000000000);
    return built;
}

}  // namespace

DtShmMsgQueueManager::DtShmMsgQueueManager(Dt_Shm_Msg_Queue* queue, int size, int semId, int semNum,
                                           bool initialise, bool dropOldest)
    : queue_(queue),
      size_(size),
      semId_(semId),
      lock_(operation(semNum, -1, SEM_UNDO)),
      unlock_(operation(semNum, 1, SEM_UNDO)),
      addBytes_(operation(semNum, 1, 0)),
      takeBytes_(operation(semNum, -1, 0)),
      addPackets_(operation(semNum + 1, 1, 0)),
      takePackets_(operation(semNum + 1, -1, 0)) {
    checkArea(queue, size, semNum);
    if (initialise)
        this->initialise(dropOldest);
}

DtShmMsgQueueManager::~DtShmMsgQueueManager() = default;

// The first semaphore comes last: whoever waits for it since before finds a whole queue.
void DtShmMsgQueueManager::initialise(bool dropOldest) {
    if (!dropOldest && size_ > theLargestCount)
        refuse("a blocking queue of " + std::to_string(size_) +
               " bytes is too large, a semaphore counts to 32767 at most");
    setSemaphore(addPackets_.sem_num, 0);
    *queue_ = Dt_Shm_Msg_Queue{};
    queue_->blockingRead = 1;
    queue_->blockingWrite = dropOldest ? 0 : 1;
    queue_->dropOldest = dropOldest ? 1 : 0;
    ShmRecordArea area(queue_, size_);
    area.publish(0, ShmRecord::make(ShmRecord::Free, ShmRecord::EndMarker, size_ - 8));
    area.setFront(0);
    setSemaphore(addBytes_.sem_num, dropOldest ? 1 : size_);
}

void DtShmMsgQueueManager::setSemaphore(int number, int value) {
    union {
        int val;
        void* other;
    } argument{};
    argument.val = value;
    if (semctl(semId_, number, SETVAL, argument) == -1)
        refuse(std::string("a semaphore cannot be set: ") + std::strerror(errno));
}

// -------------------------------------------------------------------------------------------
// Semaphores

int DtShmMsgQueueManager::lockFront(bool wait) {
    sembuf lock = lock_;
    lock.sem_flg = static_cast<short>(lock.sem_flg | IPC_NOWAIT);
    for (int tries = wait ? theLockTries : 1; tries > 0; --tries)
        if (operate(&lock, 1, "setLock", EAGAIN) == 0)
            return 0;
        else if (errno != EAGAIN || !wait)
            return -1;
    return operate(&lock_, 1, "setLock");
}

int DtShmMsgQueueManager::unlockFront() {
    return operate(&unlock_, 1, "clearLock");
}

int DtShmMsgQueueManager::incrByteCount(int bytes) {
    return count(addBytes_, bytes, "incrBytes");
}

int DtShmMsgQueueManager::decrByteCount(int bytes) {
    return count(takeBytes_, bytes, "decrBytes");
}

int DtShmMsgQueueManager::incrPacketCount(int packets) {
    return count(addPackets_, packets, "incrPackets");
}

int DtShmMsgQueueManager::decrPacketCount(int packets) {
    return count(takePackets_, packets, "decrPackets");
}

int DtShmMsgQueueManager::takePacketsAtOnce(int packets) {
    sembuf take = takePackets_;
    take.sem_flg = IPC_NOWAIT;
    return count(take, packets, "decrPackets", EAGAIN);
}

int DtShmMsgQueueManager::waitForPacket(double seconds) {
    const bool limited = seconds >= 0.0 || std::isnan(seconds);
    const double most = 1e9;  // seconds; keeps the arithmetic of the clock in range
    const std::chrono::duration<double> wait(limited ? std::fmin(std::fmax(seconds, 0.0), most)
                                                     : 0.0);
    const auto then = Clock::now() + std::chrono::duration_cast<Clock::duration>(wait);
    sembuf look[2] = {takePackets_, addPackets_};
    const int result = repeatedCall([&] {
        const timespec left = untilThen(then);
        return semtimedop(semId_, look, 2, limited ? &left : nullptr);
    });
    if (result == 0)
        return 1;
    return errno == EAGAIN ? 0 : report("waitForPacket", 0);
}

int DtShmMsgQueueManager::count(sembuf operation, int number, const char* label,
                                int silentError) const {
    if (number == 0)
        return 0;
    if (number < 0 || number > theLargestCount) {
        errno = ERANGE;
        return report(label, 0);
    }
    operation.sem_op = static_cast<short>(operation.sem_op * number);
    return operate(&operation, 1, label, silentError);
}

int DtShmMsgQueueManager::operate(const sembuf* operations, size_t count, const char* label,
                                  int silentError) const {
    if (callSemop(semId_, operations, count, queue_) == 0)
        return 0;
    return report(label, silentError);
}

int DtShmMsgQueueManager::report(const char* label, int silentError) const {
    const bool told = isGone(errno) ? goneReported_.exchange(true, std::memory_order_relaxed)
                                    : errno == silentError;
    if (!told)
        DtWarnPerror("%s", label);
    return -1;
}

bool DtShmMsgQueueManager::isGone(int error) {
    return error == EIDRM || error == EINVAL;
}

// -------------------------------------------------------------------------------------------
// Header

// The packet wakes a reader, who puts it back when it finds the byte set: so all of them wake.
// That byte and packet go together needs no order of its own: semop() is one.
void DtShmMsgQueueManager::setGoAway(uint8_t value) {
    // acquire and release pair with one another, and with the load in goAway
    const uint8_t before = __atomic_exchange_n(&queue_->goAway, value, __ATOMIC_ACQ_REL);
    if (before == 0 && value != 0)
        operate(&addPackets_, 1, "incrPackets", ERANGE);
    if (before != 0 && value == 0)
        takePacketsAtOnce(1);
}

uint8_t DtShmMsgQueueManager::goAway() const {
    return __atomic_load_n(&queue_->goAway, __ATOMIC_ACQUIRE);  // pairs with setGoAway
}

void DtShmMsgQueueManager::setNotifyReader(int value) {
    __atomic_store_n(&queue_->notifyReader, value, __ATOMIC_RELEASE);  // pairs with notifyReader
}

int DtShmMsgQueueManager::notifyReader() const {
    return __atomic_load_n(&queue_->notifyReader, __ATOMIC_ACQUIRE);  // pairs with setNotifyReader
}

int DtShmMsgQueueManager::getPhysEnd() const {
    return size_;
}

// Relaxed: written once, before the semaphores that all users wait for are set. Dropping wins
// when a broken header asks for both, since the first semaphore can only be one thing.
DtShmMsgQueueManager::Mode DtShmMsgQueueManager::mode() const {
    const auto isSet = [](const uint8_t& flag) {
        return __atomic_load_n(&flag, __ATOMIC_RELAXED) != 0;
    };
    Mode seen{};
    seen.blockingRead = isSet(queue_->blockingRead);
    seen.dropOldest = isSet(queue_->dropOldest);
    seen.blockingWrite = !seen.dropOldest && isSet(queue_->blockingWrite);
    return seen;
}

}  // namespace OrynRti
