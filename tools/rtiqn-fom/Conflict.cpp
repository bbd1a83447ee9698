#include "Conflict.h"

namespace RtiqnFom {

namespace {

std::string said(const Statement& statement) {
    if (statement.value.empty())
        return "not stated";
    const std::string value = "\"" + statement.value + "\"";
    return statement.place.file ? value + " at " + statement.place.text() : value;
}

}  // namespace

const char* meaning(OrynRti::DtMergeFomStatus_enum status) {
    static constexpr const char* theMeanings[] = {
        nullptr,
        "conflicting switches or automatic resign action",
        nullptr,
        "check after the merge failed",
        "update rates conflict",
        "transportation types conflict",
        "synchronization points conflict",
        "user-supplied tags conflict",
        "notes conflict",
        "time representations conflict",
        "basic data representations conflict",
        "simple datatypes conflict",
        "enumerated datatypes conflict",
        "array datatypes conflict",
        "fixed record datatypes conflict",
        "variant record datatypes conflict",
        "dimensions conflict",
        "object classes or attributes conflict",
        "interaction classes or parameters conflict",
        nullptr,
        "check after the merge failed on unresolved references",
        "no conflict"};
    const bool listed = status > 0 && status <= OrynRti::DtMergeFomSuccess;
    const char* found = listed ? theMeanings[status] : nullptr;
    return found ? found : "unknown status";
}

std::string text(const Conflict& conflict) {
    return conflict.table + ": " + conflict.row + ": " + conflict.field + " is " +
           said(conflict.incoming) + ", held is " + said(conflict.held);
}

}  // namespace RtiqnFom
