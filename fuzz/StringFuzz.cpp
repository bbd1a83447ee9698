// Strings from message buffers, numbers from text, phrases from streams.
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "String.h"
#include "StringUtil.h"

using namespace OrynRti;

namespace {

// Types 0 narrow, 2 and 3 trust the caller for bytes behind the buffer; these give them.
std::vector<char> withRoomBehind(const std::string& bytes) {
    std::vector<char> buffer(bytes.begin(), bytes.end());
    buffer.resize(bytes.size() + 9, '\0');
    return buffer;
}

void decodeBuffers(const std::string& bytes) {
    const std::vector<char> buffer = withRoomBehind(bytes);
    for (int type = 0; type <= 7; ++type) {
        DtString text;
        DtStringFromBuffer(static_cast<DtStringEncodingType>(type), &text, buffer.data(),
                           static_cast<int>(bytes.size()), false);
        std::vector<char> out(bytes.size() + 16);
        DtStringToBuffer(static_cast<DtStringEncodingType>(type), out.data(),
                         static_cast<int>(out.size()), text, type % 2 == 0);
    }
}

void convertNumbers(const DtString& text) {
    bool ok = false;
    text.toInt(&ok);
    text.toUInt(&ok);
    text.toFloat(&ok);
    text.toDouble(&ok);
    text.toBoolean(&ok);
}

void cutToPieces(DtString text) {
    std::vector<DtString> tokens;
    text.tokenize(',', tokens);
    text.section(',', -2, 3);
    text.snipFront(',', true);
    text.chompBack();
    text.chompFront();
    text.findLastString(tokens.empty() ? DtString("a") : tokens.front());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    decodeBuffers(bytes);
    const DtString text(bytes);
    convertNumbers(text);
    cutToPieces(text);
    std::istringstream stream(bytes);
    DtString token;
    while (stream >> token) {
    }
    return 0;
}
