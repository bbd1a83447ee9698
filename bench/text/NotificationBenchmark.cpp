// A log line of three insertions to a file, beside one lock and one write() for each piece, by
// one thread and by four; and what a disabled line costs.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <mutex>
#include <ostream>
#include <pthread.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <streambuf>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>

#include "Print.h"

using namespace OrynRti;

namespace {

/// As where a federate runs, there has been more than one thread: in a process without, the C
/// library spares itself most of what a lock and a write cost.
const bool theProcessHasThreads = (std::thread([] {}).join(), true);

/// A fresh file, gone with the object.
struct LogFile {
    LogFile() { close(mkstemp(path.data())); }
    ~LogFile() { unlink(path.c_str()); }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    std::string path = std::filesystem::temp_directory_path() / "rtiqnutil.log.XXXXXX";
};

struct Ours {
    explicit Ours(const std::string& path) : printer(path.c_str()) { DtSetQuarnPrinter(&printer); }
    ~Ours() { DtSetQuarnPrinter(&DtStandardOutConsole); }
    void line(int number) { DtInfo << "count " << number << std::endl; }

    DtFilePrinter printer;
};

/// Plain writes under a lock, of the pieces that the stream delivers.
template <class Mutex>
struct PlainWrites {
    explicit PlainWrites(const std::string& path)
        : file(open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC)) {}
    ~PlainWrites() { close(file); }
    void line(int) {
        for (const std::string_view piece : {"count ", "42", "\n"}) {
            const std::lock_guard<Mutex> lock(mutex);
            benchmark::DoNotOptimize(write(file, piece.data(), piece.size()));
        }
    }

    Mutex mutex;
    const int file;
};

struct RecursiveMutex {
    void lock() { pthread_mutex_lock(&mutex); }
    void unlock() { pthread_mutex_unlock(&mutex); }
    pthread_mutex_t mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
};

/// One write per line, which it formats before it takes its lock.
struct Spdlog {
    explicit Spdlog(const std::string& path)
        : logger("log", std::make_shared<spdlog::sinks::basic_file_sink_mt>(path, true)) {
        logger.set_pattern("%v");
        logger.flush_on(spdlog::level::info);
    }
    void line(int number) { logger.info("count {}", number); }

    spdlog::logger logger;
};

/// Every thread of the benchmark writes lines to the same log.
template <class Log>
void logLine(benchmark::State& state) {
    static std::unique_ptr<LogFile> file;
    static std::unique_ptr<Log> log;
    if (state.thread_index() == 0) {
        file = std::make_unique<LogFile>();
        log = std::make_unique<Log>(file->path);
    }
    for (auto _ : state)
        log->line(42);
    if (state.thread_index() == 0) {
        log.reset();
        file.reset();
    }
}
BENCHMARK(logLine<Ours>)->Name("LogLine/Ours");
BENCHMARK(logLine<PlainWrites<RecursiveMutex>>)->Name("LogLine/Limit");
BENCHMARK(logLine<Spdlog>)->Name("LogLine/Spdlog");
BENCHMARK(logLine<Ours>)->Name("LogFourThreads/Ours")->Threads(4)->UseRealTime();
BENCHMARK(logLine<PlainWrites<std::mutex>>)
    ->Name("LogFourThreads/Limit")
    ->Threads(4)
    ->UseRealTime();
BENCHMARK(logLine<Spdlog>)->Name("LogFourThreads/Spdlog")->Threads(4)->UseRealTime();

// -------------------------------------------------------------------------------------------

void disabledLine(benchmark::State& state) {
    for (auto _ : state)
        DtDebug << "count " << 42 << std::endl;
}
BENCHMARK(disabledLine)->Name("LogLineDisabled/Ours");

struct DiscardingBuffer : std::streambuf {
    int overflow(int c) override { return c == EOF ? 0 : c; }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

void discardedLine(benchmark::State& state) {
    DiscardingBuffer buffer;
    std::ostream stream(&buffer);
    stream << std::unitbuf;
    for (auto _ : state)
        stream << "count " << 42 << std::endl;
}
BENCHMARK(discardedLine)->Name("LogLineDisabled/Limit");

}  // namespace
