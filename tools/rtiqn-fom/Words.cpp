#include "Words.h"

namespace RtiqnFom {

std::string joined(const std::vector<std::string>& words, const std::string& separator) {
    std::string text;
    for (const std::string& word : words) {
        if (!text.empty())
            text += separator;
        text += word;
    }
    return text;
}

std::string textOf(const OrynRti::DtString& text) {
    const char* characters = text.c_str();
    return characters ? characters : "";
}

}  // namespace RtiqnFom
