#ifndef RTIQNUTIL_BENCH_SYSTEMCALLS_H
#define RTIQNUTIL_BENCH_SYSTEMCALLS_H

#include <csignal>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

/// The number of the system call that a traced process has just stopped in front of, -1 when it
/// has stopped behind one.
inline long callAhead(pid_t traced) {
    __ptrace_syscall_info info{};
    ptrace(PTRACE_GET_SYSCALL_INFO, traced, sizeof info, &info);
    return info.op == PTRACE_SYSCALL_INFO_ENTRY ? static_cast<long>(info.entry.nr) : -1;
}

/// How many system calls `work` makes, of whichever kind. It runs in a copy of this process that
/// has the calling thread only, on the same sockets. -1 where tracing is not allowed.
template <typename Work>
long systemCallsOf(Work work) {
    constexpr long theMark = SYS_getppid;
    const pid_t child = fork();
    if (child == 0) {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0)
            raise(SIGSTOP);
        syscall(theMark);
        work();
        syscall(theMark);
        _exit(0);
    }
    long calls = 0;
    int marks = 0;
    int status = 0;
    while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        const long call = callAhead(child);
        marks += call == theMark ? 1 : 0;
        calls += marks == 1 && call >= 0 && call != theMark ? 1 : 0;
        ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD);  // for callAhead()
        ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
    }
    return marks == 2 && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? calls : -1;
}

}  // namespace bench

#endif
