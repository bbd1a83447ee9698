#include "Mutex.h"

#include <pthread.h>
#include <system_error>

namespace OrynRti {

DtMutex::DtMutex() {
    pthread_mutexattr_t attributes;
    int error = pthread_mutexattr_init(&attributes);
    if (error == 0) {
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        error = pthread_mutex_init(&mutex_, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "DtMutex: creating a mutex");
}

DtMutex::DtMutex(const DtMutex&) : DtMutex() {}

DtMutex::~DtMutex() {
    pthread_mutex_destroy(&mutex_);
}

DtMutex& DtMutex::operator=(const DtMutex&) {
    return *this;
}

// The one error a live recursive mutex has, a nesting too deep to count, goes to a thread that
// holds it already, so there is nothing to check.
void DtMutex::lock() {
    pthread_mutex_lock(&mutex_);
}

bool DtMutex::tryLock() {
    return pthread_mutex_trylock(&mutex_) == 0;
}

void DtMutex::unlock() {
    pthread_mutex_unlock(&mutex_);
}

}  // namespace OrynRti
