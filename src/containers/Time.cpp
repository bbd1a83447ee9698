#include "Time.h"

#include <cmath>
#include <cstdint>
#include <memory>
#include <sys/time.h>

#include "Fatal.h"
#include "Print.h"

namespace OrynRti {

namespace {

constexpr double theUnitsPerHour = 2147483648.0;
constexpr double theDis5UnitsPerHour = 2147483647.0;

// The figures of a clock are independent of one another, so no access orders any other.
template <typename T>
T get(const std::atomic<T>& figure) {
    return figure.load(std::memory_order_relaxed);
}

template <typename T>
void put(std::atomic<T>& figure, T value) {
    figure.store(value, std::memory_order_relaxed);
}

/// Signed: units before the hour are negative.
std::int64_t unitsWithinHour(double seconds) {
    constexpr double wholeFrom = 9007199254740992.0;  // 2^53: a double this large has no fraction
    const double hours = seconds * DtClock::sec2hour;
    if (!(std::abs(hours) < wholeFrom))  // also NaN
        return 0;
    const double fraction = hours - static_cast<double>(static_cast<std::int64_t>(hours));
    return static_cast<std::int64_t>(fraction * DtNetTimeStamp::theHourFracPerHour);
}

/// The bits of a timestamp but for its type.
std::uint32_t timeBits(double seconds) {
    return static_cast<std::uint32_t>(unitsWithinHour(seconds)) * 2;
}

std::uint32_t typeBit(DtTimeStampType type) {
    return type == DtTimeStampAbsolute ? 1 : 0;
}

double readWallClock() {
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0)
        DtFatalPerror("Can't gettimeofday");
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) * 1e-6;
}

/// Pairs with the release in DtTimeInit, so that a clock that is seen is seen whole.
DtClock* globalClock() {
    return __atomic_load_n(&DtObsoleteGlobalClock, __ATOMIC_ACQUIRE);
}

}  // namespace

double DtNetTimeStamp::theHourFracPerHour = theUnitsPerHour;
double DtNetTimeStamp::theHourPerHourFrac = 1.0 / theUnitsPerHour;

DtNetTimeStamp::DtNetTimeStamp(double seconds, DtTimeStampType type)
    : bits_(timeBits(seconds) + typeBit(type)) {}

void DtNetTimeStamp::setTime(double seconds) {
    bits_ = timeBits(seconds) + (bits_ & 1U);
}

double DtNetTimeStamp::time() const {
    return (bits_ >> 1) * theHourPerHourFrac * DtClock::hour2sec;
}

void DtNetTimeStamp::setType(DtTimeStampType type) {
    bits_ = (bits_ & ~1U) + typeBit(type);
}

DtTimeStampType DtNetTimeStamp::type() const {
    return (bits_ & 1U) != 0 ? DtTimeStampAbsolute : DtTimeStampRelative;
}

void DtNetTimeStamp::setTimeStampDis5Increments(bool on) {
    theHourFracPerHour = on ? theDis5UnitsPerHour : theUnitsPerHour;
    theHourPerHourFrac = 1.0 / theHourFracPerHour;
}

bool DtNetTimeStamp::timeStampDis5Increments() {
    return theHourFracPerHour == theDis5UnitsPerHour;
}

//----------------------------------------------------------------------------------------------

DtClock::DtClock() {
    DtClock::init();
}

DtClock::DtClock(const DtClock& other) {
    *this = other;
}

DtClock& DtClock::operator=(const DtClock& other) {
    put(startRealTime_, get(other.startRealTime_));
    put(simTime_, get(other.simTime_));
    put(approximateElapsedRealTime_, get(other.approximateElapsedRealTime_));
    put(simTimeSet_, get(other.simTimeSet_));
    put(useSimTimeForApproxRealTime_, get(other.useSimTimeForApproxRealTime_));
    put(initialised_, get(other.initialised_));
    return *this;
}

DtClock::~DtClock() = default;

void DtClock::init() {
    put(startRealTime_, absRealTime());
    setSimTime(0.0);
    put(simTimeSet_, false);
    put(initialised_, true);
}

double DtClock::simTime() const {
    return get(simTime_);
}

void DtClock::setSimTime(double t) {
    put(simTimeSet_, true);
    put(simTime_, t);
    put(approximateElapsedRealTime_, useSimTimeForApproxRealTime() ? t : elapsedRealTime());
}

bool DtClock::isSimTimeSet() const {
    if (get(simTimeSet_))
        return true;
    DtInfo << "User error: DtSetSimTime was never called.\n"
              "         You must call DtSetSimTime once per frame\n";
    return false;
}

double DtClock::elapsedRealTime() const {
    return absRealTime() - get(startRealTime_);
}

double DtClock::approximateElapsedRealTime() const {
    return get(approximateElapsedRealTime_);
}

bool DtClock::useSimTimeForApproxRealTime() const {
    return get(useSimTimeForApproxRealTime_);
}

void DtClock::setUseSimTimeForApproxRealTime() {
    put(useSimTimeForApproxRealTime_, true);
}

void DtClock::clearUseSimTimeForApproxRealTime() {
    put(useSimTimeForApproxRealTime_, false);
}

double DtClock::absRealTime() const {
    return readWallClock();
}

//----------------------------------------------------------------------------------------------

DtClock* DtObsoleteGlobalClock = nullptr;

void DtTimeInit() {
    if (globalClock() != nullptr)
        return;
    auto clock = std::make_unique<DtClock>();
    DtClock* none = nullptr;
    if (__atomic_compare_exchange_n(&DtObsoleteGlobalClock, &none, clock.get(), false,
                                    __ATOMIC_RELEASE, __ATOMIC_RELAXED))
        static_cast<void>(clock.release());  // of the process from now on
}

double DtGetSimTime() {
    const DtClock* clock = globalClock();
    return clock != nullptr ? clock->simTime() : 0.0;
}

void DtSetSimTime(double t) {
    if (DtClock* clock = globalClock())
        clock->setSimTime(t);
}

bool DtIsSimTimeSet() {
    const DtClock* clock = globalClock();
    return clock != nullptr && clock->isSimTimeSet();
}

double DtGetElapsedRealTime() {
    const DtClock* clock = globalClock();
    return clock != nullptr ? clock->elapsedRealTime() : 0.0;
}

double DtGetApproximateElapsedRealTime() {
    const DtClock* clock = globalClock();
    return clock != nullptr ? clock->approximateElapsedRealTime() : 0.0;
}

double DtAbsRealTime() {
    return readWallClock();
}

}  // namespace OrynRti
