#include "transport/PacketServerClientWishes.h"

#include <algorithm>
#include <utility>

namespace OrynRti {

PacketFilterWish::PacketFilterWish(DtPduTestOperator op, std::vector<uint32_t> values)
    : accepts_(op == DtPduAcceptListed), values_(std::move(values)) {
    std::sort(values_.begin(), values_.end());
    values_.erase(std::unique(values_.begin(), values_.end()), values_.end());
}

bool PacketFilterWish::ask(DtCsFilterTest test, const Send& send) const {
    const auto askFor = [&](DtCsFilterAction action, uint32_t value) {
        DtCsFilterRecord record;
        record.test = test;
        record.action = action;
        record.value = value;
        return send(record);
    };
    if (!isSet())
        return askFor(DtCsPassAll, 0);
    if (values_.empty())  // a list of wanted values without any
        return askFor(DtCsAcceptOnly, 0) && askFor(DtCsRemoveValue, 0);
    return askFor(accepts_ ? DtCsAcceptOnly : DtCsReject, values_.front()) &&
           std::all_of(values_.begin() + 1, values_.end(),
                       [&](uint32_t value) { return askFor(DtCsAddValue, value); });
}

}  // namespace OrynRti
