// A log line of three insertions to a file printer, beside one recursive lock and one write()
// for each piece; and what a disabled line costs.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <ostream>
#include <streambuf>
#include <unistd.h>

#include "Mutex.h"
#include "Print.h"
#include "ScopedLock.h"

using namespace OrynRti;

namespace {

void lineToFile(benchmark::State& state) {
    DtFilePrinter printer("/dev/null");
    DtSetQuarnPrinter(&printer);
    for (auto _ : state)
        DtInfo << "count " << 42 << std::endl;
    DtSetQuarnPrinter(&DtStandardOutConsole);
}
BENCHMARK(lineToFile);

void lockAndWriteForEachPiece(benchmark::State& state) {
    DtMutex mutex;
    const int file = open("/dev/null", O_WRONLY | O_CLOEXEC);
    for (auto _ : state) {
        for (const std::string_view piece : {"count ", "42", "\n"}) {
            DtScopedLock lock(mutex, true);
            benchmark::DoNotOptimize(write(file, piece.data(), piece.size()));
        }
    }
    close(file);
}
BENCHMARK(lockAndWriteForEachPiece);

void disabledLine(benchmark::State& state) {
    for (auto _ : state)
        DtDebug << "count " << 42 << std::endl;
}
BENCHMARK(disabledLine);

struct DiscardingBuffer : std::streambuf {
    int overflow(int c) override { return c == EOF ? 0 : c; }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

void lineIntoDiscardingStream(benchmark::State& state) {
    DiscardingBuffer buffer;
    std::ostream stream(&buffer);
    stream << std::unitbuf;
    for (auto _ : state)
        stream << "count " << 42 << std::endl;
}
BENCHMARK(lineIntoDiscardingStream);

}  // namespace
