// Two tables of update rates become one; a row that contradicts the held one is refused.
#include <memory>
#include <set>

#include "FomMerge.h"
#include "Print.h"

using namespace OrynRti;

using Rates = std::set<std::shared_ptr<DtUpdateRateType>, FomTypeCompare<DtUpdateRateType>>;

static std::shared_ptr<DtUpdateRateType> rate(const char* name, float hertz) {
    auto row = std::make_shared<DtUpdateRateType>();
    row->name = name;
    row->rate = hertz;
    return row;
}

int main() {
    Rates held{rate("Low", 1.0F)};
    DtString error;
    DtMergeFomStatus_enum status =
        mergeComponent(Rates{rate("High", 30.0F)}, held, "Vehicles", "Update Rates", error,
                       DtMergeFomUpdateRatesConflict, true);
    DtInfo << "status " << status << ", " << held.size() << " rates" << std::endl;

    status = mergeComponent(Rates{rate("Low", 2.0F)}, held, "Ships", "Update Rates", error,
                            DtMergeFomUpdateRatesConflict, true);
    DtInfo << "status " << status << ":" << error << std::endl;
    return status == DtMergeFomUpdateRatesConflict ? 0 : 1;
}
