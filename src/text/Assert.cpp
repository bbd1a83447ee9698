#include "Assert.h"

#include <string>

#include "Print.h"

namespace OrynRti {

namespace {

const char* orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

}  // namespace

DtAssert::AssertFunction DtAssert::theAssertFunction = &DtAssert::defaultFatal;

DtAssert::AssertFunction DtAssert::getAssertFunction() {
    return theAssertFunction;
}

void DtAssert::setAssertFunction(AssertFunction function) {
    theAssertFunction = function;
}

void DtAssert::ignore() {
    setAssertFunction(nullptr);
}

void DtAssert::fatal() {
    setAssertFunction(&defaultFatal);
}

void DtAssert::warn() {
    setAssertFunction(&defaultNonFatal);
}

void DtAssert::defaultNonFatal(const char* file, const char* function, int line,
                               const char* expression) {
    DtWarn << "DtAssert `" << orEmpty(expression) << "` Failed in `" << orEmpty(function) << "` ["
           << orEmpty(file) << ":" << std::to_string(line) << "]" << std::endl;
}

void DtAssert::defaultFatal(const char* file, const char* function, int line,
                            const char* expression) {
    defaultNonFatal(file, function, line, expression);
    throw new DtException("Assert", function, file, static_cast<unsigned int>(line), nullptr);
}

void DtAssert::failed(const char* file, const char* function, int line, const char* expression) {
    const AssertFunction report = getAssertFunction();
    if (report != nullptr)
        report(file, function, line, expression);
}

}  // namespace OrynRti
