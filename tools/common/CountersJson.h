#ifndef RTIQN_TOOLS_COUNTERS_JSON_H
#define RTIQN_TOOLS_COUNTERS_JSON_H

#include <nlohmann/json.hpp>

#include "CounterSnapshot.h"

namespace RtiqnTools {

/// An object with a member for each counter.
inline nlohmann::ordered_json countersJson(const OrynRti::DtCounterSnapshot& snapshot) {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const OrynRti::DtCounter& counter : snapshot)
        object[counter.name] = counter.value;
    return object;
}

}  // namespace RtiqnTools

#endif
