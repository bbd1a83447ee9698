#ifndef RTIQNUTIL_BENCH_PINNING_H
#define RTIQNUTIL_BENCH_PINNING_H

#include <cstddef>
#include <sched.h>
#include <vector>

namespace bench {

/// The CPUs that this process may use, as it was started: read once, before the first pinning,
/// and kept over fork, so that a child of a pinned process still knows the others.
inline const std::vector<int>& usableCpus() {
    static const std::vector<int> cpus = [] {
        std::vector<int> found;
        cpu_set_t set;
        if (sched_getaffinity(0, sizeof set, &set) == 0)
            for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu)
                if (CPU_ISSET(cpu, &set))
                    found.push_back(cpu);
        return found;
    }();
    return cpus;
}

/// Keeps the calling thread, and what it forks or starts meanwhile, on one CPU until this object
/// goes. Two ends of a flow take CPU 0 and CPU 1; two ends of a ping-pong both take CPU 0. On a
/// machine with one CPU nothing is pinned.
///
///     const PinnedTo here(0);
///     const Peer reader([&] { const PinnedTo there(1); readForEver(); });
class PinnedTo {
public:
    /// `which` counts the usable CPUs from 0 and starts again after the last.
    explicit PinnedTo(std::size_t which) {
        const std::vector<int>& cpus = usableCpus();
        if (cpus.size() < 2)
            return;
        cpu_set_t set;
        CPU_ZERO(&set);
        CPU_SET(cpus[which % cpus.size()], &set);
        sched_setaffinity(0, sizeof set, &set);
    }
    PinnedTo(const PinnedTo&) = delete;
    PinnedTo& operator=(const PinnedTo&) = delete;
    ~PinnedTo() {
        const std::vector<int>& cpus = usableCpus();
        if (cpus.size() < 2)
            return;
        cpu_set_t set;
        CPU_ZERO(&set);
        for (const int cpu : cpus)
            CPU_SET(cpu, &set);
        sched_setaffinity(0, sizeof set, &set);
    }
};

}  // namespace bench

#endif
