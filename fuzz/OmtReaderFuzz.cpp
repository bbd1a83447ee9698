// A FOM module of any content is read, merged into itself, checked and written back, or refused.
#include <cstdint>
#include <sstream>

#include "Errors.h"
#include "Federation.h"
#include "MemoryFile.h"
#include "OmtWriter.h"
#include "Print.h"

using namespace RtiqnFom;

namespace {

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
