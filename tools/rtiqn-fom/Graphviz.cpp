#include "Graphviz.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Errors.h"

namespace RtiqnFom {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void fail(const std::string& attempt) {
    throw FileError(attempt + ": " + std::strerror(errno));
}

/// Without a name, so that it is gone with the process.
File temporaryFile() {
    File file(std::tmpfile());
    if (!file)
        fail("cannot make a temporary file");
    return file;
}

File fileWith(const std::string& text) {
    File file = temporaryFile();
    if (std::fwrite(text.data(), 1, text.size(), file.get()) != text.size() ||
        std::fflush(file.get()) != 0)
        fail("cannot write a temporary file");
    std::rewind(file.get());
    return file;
}

std::string contentsOf(std::FILE* file) {
    std::rewind(file);
    std::string text;
    char part[4096];
    while (const std::size_t size = std::fread(part, 1, sizeof part, file))
        text.append(part, size);
    if (std::ferror(file))
        fail("cannot read a temporary file");
    return text;
}

/// Files take the place of pipes: nobody waits for the other.
pid_t start(std::FILE* in, std::FILE* out) {
    char name[] = "dot";
    char format[] = "-Tsvg";
    char* const words[] = {name, format, nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ::fileno(in), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ::fileno(out), STDOUT_FILENO);
    pid_t process = -1;
    const int error = ::posix_spawnp(&process, name, &actions, nullptr, words, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error == ENOENT)
        throw FileError(
            "SVG needs the program 'dot': install the package graphviz, or write the graph "
            "with --format dot");
    if (error != 0)
        throw FileError(std::string("cannot run 'dot': ") + std::strerror(error));
    return process;
}

void awaitSuccess(pid_t process) {
    int status = 0;
    while (::waitpid(process, &status, 0) < 0)
        if (errno != EINTR)
            fail("cannot wait for 'dot'");
    if (status != 0)
        throw FileError("'dot' failed and drew nothing");
}

}  // namespace

std::string svgOf(const std::string& dot) {
    const File in = fileWith(dot);
    const File out = temporaryFile();
    awaitSuccess(start(in.get(), out.get()));
    return contentsOf(out.get());
}

}  // namespace RtiqnFom
