#ifndef RTIQN_TOOLS_JSON_TEXT_H
#define RTIQN_TOOLS_JSON_TEXT_H

#include <string>

namespace RtiqnTools {

/// On one line unless there is an indent. Bytes that are no UTF-8, as a name of a device or a file
/// may have, are replaced: a report with a strange name is better than none.
template <typename Json>
std::string jsonText(const Json& json, int indent = -1) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace RtiqnTools

#endif
