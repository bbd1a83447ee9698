#include "ModuleReading.h"

#include <algorithm>
#include <utility>

#include "Errors.h"
#include "Progress.h"
#include "common/Console.h"

namespace RtiqnFom {

int readModules(const std::vector<std::string>& paths,
                const std::function<void(LoadedModule)>& take) {
    int status = theSuccess;
    Progress progress(paths);
    for (const std::string& path : paths) {
        progress.reading(path);
        try {
            take(loadModule(path));
        } catch (const ProgramError& error) {
            printError(error.what());
            status = std::max(status, error.status());
        }
    }
    return status;
}

}  // namespace RtiqnFom
