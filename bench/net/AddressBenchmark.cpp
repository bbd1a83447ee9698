// An address literal read and written again, beside Asio and beside the calls of the C library that
// Asio makes.
#include <arpa/inet.h>
#include <array>
#include <benchmark/benchmark.h>
#include <boost/asio/ip/address.hpp>
#include <cstdlib>
#include <string>

#include "InetAddr.h"
#include "support/Allocations.h"

using namespace OrynRti;

namespace {

using Texts = std::array<const char*, 4>;

constexpr Texts theIPv4 = {"127.0.0.1", "192.168.100.200", "10.0.0.255", "239.1.2.3"};
constexpr Texts theIPv6 = {"::1", "fe80::21b:77ff:fe12:3456", "2001:db8:1:2:3:4:5:6",
                           "ff02::1:ff00:42"};

void ours(const char* text) {
    const DtString written = DtInetAddr(text).toDtString();
    benchmark::DoNotOptimize(written.c_str());
}

void asio(const char* text) {
    const std::string written = boost::asio::ip::make_address(text).to_string();
    benchmark::DoNotOptimize(written.c_str());
}

template <int family, typename Address>
void libraryCalls(const char* text) {
    Address address;
    char written[INET6_ADDRSTRLEN];
    if (inet_pton(family, text, &address) != 1 ||
        inet_ntop(family, &address, written, sizeof written) == nullptr)
        std::abort();
    benchmark::DoNotOptimize(written);
}

using Conversion = void (*)(const char* text);

/// An item is one text read and written.
void convert(benchmark::State& state, const Texts& texts, Conversion conversion) {
    for (auto _ : state)
        for (const char* text : texts)
            conversion(text);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(texts.size()));
    const bench::CountedAllocations allocations;
    for (const char* text : texts)
        conversion(text);
    state.counters["allocations"] = static_cast<double>(allocations.count()) / texts.size();
}

BENCHMARK_CAPTURE(convert, ours4, theIPv4, ours)->Name("AddressLiteralIPv4/Ours");
BENCHMARK_CAPTURE(convert, asio4, theIPv4, asio)->Name("AddressLiteralIPv4/Asio");
BENCHMARK_CAPTURE(convert, calls4, theIPv4, libraryCalls<AF_INET, in_addr>)
    ->Name("AddressLiteralIPv4/Limit");
BENCHMARK_CAPTURE(convert, ours6, theIPv6, ours)->Name("AddressLiteralIPv6/Ours");
BENCHMARK_CAPTURE(convert, asio6, theIPv6, asio)->Name("AddressLiteralIPv6/Asio");
BENCHMARK_CAPTURE(convert, calls6, theIPv6, libraryCalls<AF_INET6, in6_addr>)
    ->Name("AddressLiteralIPv6/Limit");

}  // namespace
