// DtString beside std::string on texts of 20 characters, which DtString holds in the object and
// std::string on the heap; cutting and reading numbers beside getline, strtol and strtod.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "String.h"
#include "support/Allocations.h"

using namespace OrynRti;

namespace {

constexpr const char* theText = "Platform.Aircraft.17";
constexpr const char* theOtherText = "Platform.Aircraft.18";
constexpr const char* theTokens = "Tank,Truck,Bridge,17";
constexpr const char* theInteger = "-1234567890123456789";
constexpr const char* theReal = "-12345.6789012345678";

#define BESIDE_STD(function, name)                     \
    BENCHMARK(function<DtString>)->Name(name "/Ours"); \
    BENCHMARK(function<std::string>)->Name(name "/Std")

// -------------------------------------------------------------------------------------------
// Making and changing

template <class String>
void constructFrom(benchmark::State& state, const char* text) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        String string(text);
        benchmark::DoNotOptimize(string);
    }
    const bench::CountedAllocations allocations;
    String string(text);
    benchmark::DoNotOptimize(string);
    state.counters["allocations"] = static_cast<double>(allocations.count());
}

template <class String>
void construct(benchmark::State& state) {
    constructFrom<String>(state, theText);
}
BESIDE_STD(construct, "StringConstruct");

/// The longest that fits into the object.
template <class String>
void construct63(benchmark::State& state) {
    constructFrom<String>(state, std::string(63, 'x').c_str());
}
BESIDE_STD(construct63, "StringConstruct63");

template <class String>
void copy(benchmark::State& state) {
    String source(theText);
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        String string(source);
        benchmark::DoNotOptimize(string);
    }
}
BESIDE_STD(copy, "StringCopy");

template <class String>
void assign(benchmark::State& state) {
    String source(theText);
    String string;
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        string = source;
        benchmark::DoNotOptimize(string);
    }
}
BESIDE_STD(assign, "StringAssign");

template <class String>
void assignText(benchmark::State& state) {
    const char* text = theText;
    String string;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        string = text;
        benchmark::DoNotOptimize(string);
    }
}
BESIDE_STD(assignText, "StringAssignText");

template <class String>
void appendTen(benchmark::State& state) {
    String added(theText);
    for (auto _ : state) {
        String string;
        for (int i = 0; i < 10; ++i)
            string += added;
        benchmark::DoNotOptimize(string);
    }
}
BESIDE_STD(appendTen, "StringAppendTen");

// -------------------------------------------------------------------------------------------
// Looking

/// Texts that are equal, and texts that differ in their last character; in a container, so that
/// the compiler does not know their dynamic type.
template <class String>
void compare(benchmark::State& state) {
    std::vector<String> texts = {theText, theText, theOtherText};
    for (auto _ : state) {
        benchmark::DoNotOptimize(texts.data());
        benchmark::DoNotOptimize(texts[0] == texts[1]);
        benchmark::DoNotOptimize(texts[0] < texts[2]);
    }
}
BESIDE_STD(compare, "StringCompare");

int find(DtString& text, char sought) {
    return text.findChar(sought);
}

int find(DtString& text, const DtString& sought) {
    return text.findString(sought);
}

template <class Sought>
std::size_t find(const std::string& text, const Sought& sought) {
    return text.find(sought);
}

template <class String>
void findChar(benchmark::State& state) {
    String text(theText);
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(find(text, '1'));
    }
}
BESIDE_STD(findChar, "StringFindChar");

template <class String>
void findText(benchmark::State& state) {
    String text(theText), sought("craft");
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(find(text, sought));
    }
}
BESIDE_STD(findText, "StringFindText");

// -------------------------------------------------------------------------------------------
// Tokens and numbers

void tokenize(const DtString& text, std::vector<DtString>& tokens) {
    text.tokenize(',', tokens);
}

void tokenize(const std::string& text, std::vector<std::string>& tokens) {
    tokens.clear();
    std::istringstream in(text);
    for (std::string token; std::getline(in, token, ',');)
        tokens.push_back(token);
}

template <class String>
void tokenize(benchmark::State& state) {
    String text(theTokens);
    std::vector<String> tokens;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        tokenize(text, tokens);
        benchmark::DoNotOptimize(tokens);
    }
}
BESIDE_STD(tokenize, "StringTokenize");

int toInt(const DtString& text, bool& ok) {
    return text.toInt(&ok);
}

long toInt(const std::string& text, bool& ok) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 0);
    ok = end != text.c_str();
    return value;
}

template <class String>
void toInt(benchmark::State& state) {
    String text(theInteger);
    bool ok = false;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(toInt(text, ok));
        benchmark::DoNotOptimize(ok);
    }
}
BESIDE_STD(toInt, "StringToInt");

double toDouble(const DtString& text, bool& ok) {
    return text.toDouble(&ok);
}

double toDouble(const std::string& text, bool& ok) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    ok = end != text.c_str();
    return value;
}

template <class String>
void toDouble(benchmark::State& state) {
    String text(theReal);
    bool ok = false;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(toDouble(text, ok));
        benchmark::DoNotOptimize(ok);
    }
}
BESIDE_STD(toDouble, "StringToDouble");

}  // namespace
