#include "Exceptions.h"

#include <iostream>
#include <new>

namespace OrynRti {

namespace {

const char* orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

DtException* copyOf(const DtException* exception) {
    if (exception == nullptr)
        return nullptr;
    try {
        return new DtException(*exception);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool setPlace(DtString& where, const char* function, const char* file, unsigned int line) {
    if (function == nullptr || file == nullptr)
        return false;
    try {
        where = DtString(function) + " [" + file + ":" + DtString(line) + "] ";
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void reportMissingPlace(const char* file) {
    try {
        std::cerr << "Error Creating DtException, could not produce valid error string: "
                  << orEmpty(file) << std::endl;
    } catch (const std::exception&) {
        // The program has std::cerr throw, and it failed: there is no one left to tell.
    }
}

}  // namespace

DtException::DtException(const char* message, const DtException* previous)
    : message_(message), previous_(copyOf(previous)) {}

DtException::DtException(const char* message, const char* function, const char* file,
                         unsigned int line, const DtException* previous)
    : message_(message), previous_(copyOf(previous)) {
    if (!setPlace(where_, function, file, line))
        reportMissingPlace(file);
}

DtException::DtException(const DtException& other)
    : where_(other.where_), message_(other.message_), previous_(copyOf(other.previous_)) {}

/// The old chain goes last: `other` may be part of it.
DtException& DtException::operator=(const DtException& other) {
    if (this == &other)
        return *this;
    where_ = other.where_;
    message_ = other.message_;
    DtException* const oldChain = previous_;
    previous_ = copyOf(other.previous_);
    delete oldChain;
    return *this;
}

DtException::~DtException() {
    delete previous_;
}

const DtException* DtException::lastException() const {
    return previous_;
}

const DtException* DtException::initialException() const {
    const DtException* exception = this;
    while (exception->lastException() != nullptr)
        exception = exception->lastException();
    return exception;
}

const char* DtException::message() const {
    return message_.c_str();
}

DtString DtException::what() const {
    return message_;
}

DtString DtException::where() const {
    return where_;
}

std::ostream& operator<<(std::ostream& out, const DtException& exception) {
    for (const DtException* link = &exception; link != nullptr; link = link->lastException())
        out << orEmpty(link->message()) << " (" << link->where() << ")" << std::endl;
    return out;
}

}  // namespace OrynRti
