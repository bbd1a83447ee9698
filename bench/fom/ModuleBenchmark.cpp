// `rtiqn-fom merge` of one large module beside the bare XML parse of the same bytes: a process of
// its own each, which reads the file. The time is the processor's, of the process and of the kernel
// on its behalf, from its start to its end. Arguments are megabytes.
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <expat.h>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fom/GeneratedModule.h"

namespace {

/// A module in a file that goes with this object.
class ModuleFile {
public:
    explicit ModuleFile(std::size_t size_bytes) {
        const char* const folder = std::getenv("TMPDIR");
        path_ = std::string(folder != nullptr ? folder : "/tmp") + "/rtiqn-module.XXXXXX";
        const int file = mkstemp(path_.data());
        if (file < 0)
            std::abort();
        close(file);
        std::ofstream(path_, std::ios::binary) << bench::GeneratedModule(size_bytes).text();
    }
    ModuleFile(const ModuleFile&) = delete;
    ModuleFile& operator=(const ModuleFile&) = delete;
    ~ModuleFile() { unlink(path_.c_str()); }

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

double seconds(const timeval& time) {
    return double(time.tv_sec) + 1e-6 * double(time.tv_usec);
}

/// The processor time of a process that does `work` and ends with its answer, which must be 0.
template <typename Work>
double processTime_s(Work work) {
    const pid_t process = fork();
    if (process == 0)
        _exit(work());
    int status = 0;
    rusage usage{};
    if (wait4(process, &status, 0, &usage) != process || status != 0)
        std::abort();
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

template <typename Work>
void timeModule(benchmark::State& state, Work work) {
    const auto megabytes = static_cast<std::size_t>(state.range(0));
    const ModuleFile module(megabytes << 20);
    for (auto _ : state)
        state.SetIterationTime(processTime_s([&] { return work(module.path().c_str()); }));
    state.SetBytesProcessed(state.iterations() * (state.range(0) << 20));
}

int runProgram(const char* path) {
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
    execl(RTIQN_FOM_PROGRAM, RTIQN_FOM_PROGRAM, "merge", path, nullptr);
    return 127;
}

/// As the program reads, with nothing done about what is found.
int parse(const char* path) {
    constexpr int chunk = 1 << 20;
    const XML_Parser parser = XML_ParserCreate(nullptr);
    std::FILE* const file = std::fopen(path, "rb");
    if (parser == nullptr || file == nullptr)
        return 1;
    for (bool last = false; !last;) {
        void* const buffer = XML_GetBuffer(parser, chunk);
        if (buffer == nullptr)
            return 1;
        const std::size_t size = std::fread(buffer, 1, chunk, file);
        last = size < chunk;
        if (XML_ParseBuffer(parser, static_cast<int>(size), last) != XML_STATUS_OK)
            return 1;
    }
    return 0;
}

void ours(benchmark::State& state) {
    timeModule(state, runProgram);
}
BENCHMARK(ours)->Name("ModuleMerge/Ours")->Arg(1)->Arg(5)->Arg(20)->UseManualTime();

void limit(benchmark::State& state) {
    timeModule(state, parse);
}
BENCHMARK(limit)->Name("ModuleMerge/Limit")->Arg(1)->Arg(5)->Arg(20)->UseManualTime();

}  // namespace
