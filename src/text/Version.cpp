#include "Version.h"

namespace OrynRti {

const char* DtLibraryVersion() {
    return DT_VERSION_STRING;
}

int DtLibraryVersionNumber() {
    return DT_VERSION;
}

}  // namespace OrynRti
