// A FOM module of any content is read, merged into itself, checked and written back, or refused.
#include <cstdint>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "Errors.h"
#include "Federation.h"
#include "OmtWriter.h"
#include "Print.h"

using namespace RtiqnFom;

namespace {

/// A file that lives in memory only.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size)
        : descriptor_(memfd_create("module", MFD_CLOEXEC)) {
        if (write(descriptor_, data, size) != static_cast<ssize_t>(size))
            abort();
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

void mergeAndWrite(const LoadedModule& module) {
    MergeRules rules;
    rules.edition = module.target.fomType();
    Federation federation(rules);
    federation.merge(module, true);
    federation.merge(module, false);
    federation.check();
    std::ostringstream out;
    writeModule(federation.target(), out);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    OrynRti::DtNotifyLevel = -1;
    const MemoryFile file(data, size);
    try {
        mergeAndWrite(loadModule(file.path()));
    } catch (const MalformedModule&) {
    }
    return 0;
}
