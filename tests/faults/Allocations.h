#ifndef TESTS_FAULTS_ALLOCATIONS_H
#define TESTS_FAULTS_ALLOCATIONS_H

#include <boost/version.hpp>
#include <functional>
#include <ostream>

namespace OrynRti::Tests {

/// What this process holds of the system, as far as nothing may be left over of it.
struct Holdings {
    long blocks;       ///< Made by `new` and not deleted.
    long descriptors;  ///< Open ones.
    long threads;
    long segments;       ///< Of shared memory, if the test has a namespace of its own for them.
    long semaphoreSets;  ///< Like segments.

    static Holdings now();

    bool operator==(const Holdings& other) const;
    /// Caches that were lost are no fault; so each figure of this may be the smaller one.
    bool isWithin(const Holdings& other) const;
};

std::ostream& operator<<(std::ostream& out, const Holdings& holdings);

/// Which allocations of an attempt fail. What fails once tests the way back; what goes on failing
/// tests that the way back needs no memory.
enum class Failing { OneOfThisThread, ThisThreadFromThere, OneOfAnyThread };

/// Does something with a certain allocation failing.
class Attempt {
public:
    Attempt(Failing failing, long nth) : failing_(failing), nth_(nth) {}

    /// Calls the work, of which nothing may escape but std::bad_alloc.
    void operator()(const std::function<void()>& work);

    /// Whether the allocation came to pass, and failed.
    bool hasFailed() const { return failed_; }
    /// Whether the work ended all the same.
    bool isDone() const { return done_; }

private:
    Failing failing_;
    long nth_;
    bool failed_ = false;
    bool done_ = false;
};

/// What is done with a class: all that goes on inside of attempt() may run out of memory; what
/// stands outside prepares it, and shows afterwards that the object is still good.
struct AllocationCase {
    enum Answer {
        Throws,   ///< Every failure comes out as std::bad_alloc.
        Forgives  ///< Some do not: the case says what happens instead.
    };

    const char* name;
    Answer answer;
    std::function<void(Attempt& attempt)> run;
};

/// Runs the case with its first allocation failing, its second, and so on, until none is left.
void expectSurvival(const AllocationCase& tried, Failing failing);

/// Boost 1.88 leaves a block behind when the constructor of an io_context runs out of memory: with
/// it nothing can be said of sockets that have queues.
constexpr bool theContextsLoseMemory = BOOST_VERSION >= 108800;

template <typename Cases>
void expectSurvival(const Cases& cases) {
    for (const AllocationCase& tried : cases)
        for (const Failing failing : {Failing::OneOfThisThread, Failing::ThisThreadFromThere})
            expectSurvival(tried, failing);
}

}  // namespace OrynRti::Tests

#endif
