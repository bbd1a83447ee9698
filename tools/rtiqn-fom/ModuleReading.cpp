#include "ModuleReading.h"

#include <algorithm>
#include <utility>

#include "Errors.h"

namespace RtiqnFom {

int readModules(const std::vector<std::string>& paths,
                const std::function<void(LoadedModule)>& take) {
    int status = theSuccess;
    Progress progress(paths);
    for (const std::string& path : paths) {
        progress.reading(path);
        try {
            take(loadModule(path));
        } catch (const MalformedModule& error) {
            printError(error.what());
            status = std::max<int>(status, theMalformed);
        } catch (const FileError& error) {
            printError(error.what());
            status = std::max<int>(status, theFileError);
        }
    }
    return status;
}

}  // namespace RtiqnFom
