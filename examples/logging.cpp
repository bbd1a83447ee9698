// Messages go to standard output and, with the time of day, to a file.
#include <rtiqnutil/Print.h>
#include <rtiqnutil/String.h>
#include <vector>

using namespace OrynRti;

int main() {
    DtFilePrinter log("federate.log");
    log.setPrintTimestamps(true);
    DtInfo.attachPrinter(&log);

    std::vector<DtString> names;
    DtString("Tank,Truck,Bridge").tokenize(',', names);
    for (const DtString& name : names)
        DtInfo << name << " has " << name.size() << " letters" << std::endl;

    DtInfo.detachPrinter(&log);
}
