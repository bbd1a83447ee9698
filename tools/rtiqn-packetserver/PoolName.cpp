#include "PoolName.h"

#include <charconv>

namespace RtiqnPacketServer {

namespace {

constexpr std::string_view theBeginning = "rtiqn-packets-";

/// Takes a number above or equal to 0 off the front, with the character behind it if there is one.
bool takeNumber(std::string_view& text, int& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || number < 0)
        return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (!text.empty() && text.front() != '-')
        return false;
    text.remove_prefix(text.empty() ? 0 : 1);
    return true;
}

}  // namespace

std::optional<PoolName> PoolName::parse(std::string_view text) {
    if (text.substr(0, theBeginning.size()) != theBeginning)
        return std::nullopt;
    text.remove_prefix(theBeginning.size());
    PoolName name{};
    int number = 0;
    const bool whole = takeNumber(text, name.key) && takeNumber(text, name.process) &&
                       takeNumber(text, number) && text.empty();
    return whole ? std::optional<PoolName>(name) : std::nullopt;
}

std::string PoolName::make(int key, pid_t process, unsigned int number) {
    return std::string(theBeginning) + std::to_string(key) + "-" + std::to_string(process) + "-" +
           std::to_string(number);
}

}  // namespace RtiqnPacketServer
