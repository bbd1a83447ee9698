// Both ends of a message queue on an area that somebody else has written to. The first byte
// chooses the size and the kind of the queue; the rest is a sequence of steps, each a byte and its
// operands: writing, reading, attaching a new writer, and breaking the contents.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <vector>

#include "Exceptions.h"
#include "Print.h"
#include "ShmReader.h"
#include "ShmWriter.h"

using namespace OrynRti;

namespace {

/// The one semaphore set of all inputs. A run that crashes in the library leaves it behind.
class SemaphoreSet {
public:
    SemaphoreSet() : id_(semget(IPC_PRIVATE, 2, IPC_CREAT | 0600)) {
        if (id_ == -1)
            std::abort();
    }
    SemaphoreSet(const SemaphoreSet&) = delete;
    SemaphoreSet& operator=(const SemaphoreSet&) = delete;
    ~SemaphoreSet() { remove(); }

    void remove() const { semctl(id_, 0, IPC_RMID); }
    int id() const { return id_; }
    int value(int number) const { return semctl(id_, number, GETVAL); }
    void set(int number, int value) const { semctl(id_, number, SETVAL, value); }

private:
    int id_;
};

SemaphoreSet& semaphores() {
    static SemaphoreSet set;
    return set;
}

void require(bool holds) {
    if (holds)
        return;
    semaphores().remove();
    std::abort();
}

/// Operands; zeros when the input is at its end.
class Steps {
public:
    Steps(const std::uint8_t* data, std::size_t size) : data_(data), end_(data + size) {}

    bool atEnd() const { return data_ == end_; }
    int byte() { return atEnd() ? 0 : *data_++; }
    int word() {
        const int high = byte();
        return high << 8 | byte();
    }

private:
    const std::uint8_t* data_;
    const std::uint8_t* end_;
};

struct Record {
    std::uint16_t state;
    std::uint16_t kind;
    std::uint32_t length;
};

class Queue {
public:
    Queue(int size, bool dropOldest)
        : size_(size),
          memory_(new char[static_cast<std::size_t>(DtShmMsgQueueManager::segmentSize(size))]),
          queue_(reinterpret_cast<Dt_Shm_Msg_Queue*>(memory_.get())),
          message_(static_cast<std::size_t>(size) + 1, 'm') {
        writer_ = open<DtShmMsgQueueWriter>(true, dropOldest);
        reader_ = open<DtShmMsgQueueReader>(false, dropOldest);
        writerBlocks_ = headerBlocks();
    }

    void run(Steps& steps) {
        prepareSemaphores(steps);
        switch (steps.byte() % 8) {
            case 0:
            case 1:
                return write(steps.word() % (size_ + 2));
            case 2:
            case 3:
                return read(steps.word() % (size_ + 2));
            case 4:
                return attach();
            case 5:
                return breakRecord(steps);
            case 6:
                return breakFront(steps);
            default:
                return breakByte(steps);
        }
    }

private:
    template <typename End>
    std::unique_ptr<End> open(bool initialise, bool dropOldest) {
        return std::make_unique<End>(queue_, size_, semaphores().id(), 0, true, initialise,
                                     dropOldest);
    }

    /// As many bytes and packets as keep a sound end from waiting, and a lock that is free.
    void prepareSemaphores(Steps& steps) {
        bytes_ = std::min(size_, 32767);
        const int packets[] = {1, 2, queue_->dropOldest != 0 ? 0 : 3, writerBlocks_ ? 4 : 32767};
        packets_ = packets[steps.byte() % 4];
        semaphores().set(0, bytes_);
        semaphores().set(1, packets_);
    }

    void write(int length) {
        const std::uint64_t written = writer_->writtenCount();
        const std::uint64_t failed = writer_->failedCount();
        const int half = length / 2;
        const char* const pieces[] = {message_.data(), nullptr, message_.data() + half};
        const int lengths[] = {half, 0, length - half};
        const int result = writer_->Writev(pieces, lengths, 3);
        require(result == length || result == -1);
        require(writer_->writtenCount() == written + (result == -1 ? 0 : 1));
        require(writer_->failedCount() == failed + (result == -1 ? 1 : 0));
        // Nothing taken is kept: neither the lock, nor the bytes of a message that failed.
        const int bytes = semaphores().value(0);
        require(writerBlocks_ && result != -1 ? bytes <= bytes_ : bytes == bytes_);
        require(result != -1 || semaphores().value(1) == packets_);
    }

    void read(int size) {
        const bool broken = frontIsBroken();
        const std::uint64_t read = reader_->readCount();
        const std::unique_ptr<char[]> buffer(new char[static_cast<std::size_t>(size)]);
        int status = -1;
        const int result = reader_->Read(buffer.get(), size, &status);
        require(result <= size && (result == -1) == (status != DtShmReadDone));
        require(reader_->readCount() == read + (result == -1 ? 0 : 1));
        require(status == DtShmReadDone || status == DtShmReadEmpty || status == DtShmReadCorrupt ||
                (queue_->goAway != 0 &&
                 status == (queue_->goAway == 2 ? DtShmReadGoAwayTwo : DtShmReadGoAway)));
        require(!broken || status == DtShmReadCorrupt || queue_->goAway != 0);
        require(status != DtShmReadCorrupt || semaphores().value(1) == packets_);
        require(headerBlocks() || semaphores().value(0) == bytes_);
    }

    /// A new writer takes over, or refuses to.
    void attach() {
        try {
            writer_ = open<DtShmMsgQueueWriter>(false, false);
            writerBlocks_ = headerBlocks();
            require(writer_->dropsOldest() == (queue_->dropOldest != 0));
        } catch (const DtException&) {
        }
        require(semaphores().value(0) == bytes_);
    }

    bool headerBlocks() const { return queue_->dropOldest == 0 && queue_->blockingWrite != 0; }

    /// What the reader must see at the front, found in a way of its own.
    bool frontIsBroken() const {
        const std::uint32_t at = queue_->front;
        if (at % 8 != 0 || at > static_cast<std::uint32_t>(size_ - 8))
            return true;
        Record record;
        std::memcpy(&record, area() + at, sizeof record);
        const std::uint32_t most = static_cast<std::uint32_t>(size_ - 8) - at;
        return record.state > 1 || record.kind > 2 || record.length > most ||
               (record.kind == 1 && (record.length != most || at == 0));
    }

    /// Nearly sound: a header that may stand there but for one or two fields.
    void breakRecord(Steps& steps) {
        const int at = std::min(steps.word() % size_ / 8 * 8, (size_ - 8) / 8 * 8);
        const int fields = steps.byte();
        const auto rest = static_cast<std::uint32_t>(size_ - 8 - at);
        const std::uint32_t any = static_cast<std::uint32_t>(steps.word()) << fields / 32 * 4;
        const Record record{static_cast<std::uint16_t>(fields % 4 % 3),
                            static_cast<std::uint16_t>(fields / 4 % 4), fields >= 128 ? rest : any};
        std::memcpy(area() + at, &record, sizeof record);
    }

    void breakFront(Steps& steps) {
        const int at = steps.word();
        queue_->front = static_cast<std::uint32_t>(at < 0x8000 ? at % (size_ + 16) / 8 * 8 : -at);
    }

    void breakByte(Steps& steps) {
        const int at = steps.word() % DtShmMsgQueueManager::segmentSize(size_);
        memory_[static_cast<std::size_t>(at)] = static_cast<char>(steps.byte());
    }

    char* area() const { return memory_.get() + sizeof(Dt_Shm_Msg_Queue); }

    int size_;
    std::unique_ptr<char[]> memory_;  ///< Ends where the queue ends.
    Dt_Shm_Msg_Queue* queue_;
    std::vector<char> message_;
    std::unique_ptr<DtShmMsgQueueWriter> writer_;
    std::unique_ptr<DtShmMsgQueueReader> reader_;
    bool writerBlocks_;  ///< Goes by what the header was when it came.
    int bytes_ = 0;
    int packets_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = [] {
        DtNotifyLevel = -1;
        return true;
    }();
    static const int sizes[] = {96, 16, 24, 40, 101, 255, 2000, 32767, 40000};
    if (!quiet || size == 0)
        return 0;
    Steps steps(data, size);
    const int choice = steps.byte();
    const int area = sizes[choice / 2 % 9];
    Queue queue(area, choice % 2 != 0 || area > 32767);
    while (!steps.atEnd())
        queue.run(steps);
    return 0;
}
