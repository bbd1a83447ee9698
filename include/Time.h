#ifndef RTIQNUTIL_TIME_H
#define RTIQNUTIL_TIME_H

#include <atomic>

#include "Export.h"
#include "NetTypes.h"

namespace OrynRti {

/// Whether the clocks of a DIS exercise run together. Only absolute sets the timestamp's bit 0.
enum DtTimeStampType : int {
    DtTimeStampRelative = 0,  ///< Each host counts its own hour.
    DtTimeStampAbsolute = 1   ///< The hour is that of UTC.
};

/// The timestamp of a DIS protocol data unit (IEEE 1278.1): where in the current hour something
/// happened, as it lies in the message.
///
///     bit  31 ............................. 1   0
///          units of 1/2^31 hour since the hour  type (1 = absolute)
///
///     header.timeStamp = DtNetTimeStamp(DtAbsRealTime(), DtTimeStampAbsolute);
///
/// Copies copy the bytes; see DtNetU32 for their order.
///
/// Threads:   setTimeStampDis5Increments is for start-up, before other threads use timestamps
class DT_EXPORT DtNetTimeStamp {
public:
    DtNetTimeStamp() = default;
    DtNetTimeStamp(double seconds, DtTimeStampType type);  ///< As setTime() and setType().

    /// The bits as drawn above, in the order of this machine.
    operator unsigned int() const { return bits_; }

    /// Keeps the type. Only the place within the hour counts: 3600 stamps as 0, -900 as three
    /// quarters of an hour, NaN and infinity as 0.
    void setTime(double seconds);

    /// Seconds since the start of the hour.
    double time() const;

    /// Numbers other than 1 count as relative. @{
    void setType(DtTimeStampType type);
    DtTimeStampType type() const;
    /// @}

    /// With `on`, an hour has 2^31 - 1 units, as DIS version 5 counted, in the whole process. @{
    static void setTimeStampDis5Increments(bool on);
    static bool timeStampDis5Increments();
    /// @}

    static double theHourFracPerHour;  ///< Units per hour: 2^31, or 2^31 - 1.
    static double theHourPerHourFrac;  ///< Its reciprocal.

private:
    DtNetU32 bits_;
};

static_assert(sizeof(DtNetTimeStamp) == 4, "stands in message layouts");

/// Keeps three times of a simulation, all in seconds: its simulation time; the real time that
/// has gone by since the clock was started; and an approximation of the latter that is sampled
/// once per frame and costs nothing to read.
///
///     DtTimeInit();
///     while (running) {
///         DtSetSimTime(DtGetElapsedRealTime());
///         simulateFrame(DtGetSimTime());
///     }
///
/// Real time is the system's wall clock: when somebody sets that, elapsed times jump with it. The
/// order of the virtual functions and of the data members is fixed.
///
/// Threads:   one thread sets, any number read: each figure is whole, though two of them may
///            come from different frames. init() is for one thread
/// Errors:    a wall clock that cannot be read ends the process through DtFatalPerror
class DT_EXPORT DtClock {
public:
    static constexpr double sec2hour = 1.0 / 3600.0;  ///< Seconds times this are hours.
    static constexpr double hour2sec = 3600.0;        ///< Hours times this are seconds.

    /// Starts the clock.
    DtClock();
    /// Takes all figures over, the moment of the start among them. @{
    DtClock(const DtClock& other);
    DtClock& operator=(const DtClock& other);
    /// @}
    virtual ~DtClock();

    /// Starts the clock anew: no real time has gone by, simulation time is 0 and counts as not
    /// set.
    virtual void init();

    virtual double simTime() const;  ///< As last set.

    /// Call it once per frame. Samples the approximate elapsed real time too: it becomes `t`, or
    /// the elapsed real time of this moment, as set by the two functions below.
    virtual void setSimTime(double t);

    /// False until the caller has set the simulation time, with a reminder on DtInfo.
    virtual bool isSimTimeSet() const;

    virtual double elapsedRealTime() const;             ///< Since the start; reads the wall clock.
    virtual double approximateElapsedRealTime() const;  ///< As of the last setSimTime().

    /// Whether the approximation is the simulation time itself; false at first. @{
    virtual bool useSimTimeForApproxRealTime() const;
    virtual void setUseSimTimeForApproxRealTime();
    virtual void clearUseSimTimeForApproxRealTime();
    /// @}

    /// The wall clock: seconds since 1970, to the microsecond.
    virtual double absRealTime() const;

private:
    std::atomic<double> startRealTime_{0.0};
    std::atomic<double> simTime_{0.0};
    std::atomic<double> approximateElapsedRealTime_{0.0};
    std::atomic<bool> simTimeSet_{false};
    std::atomic<bool> useSimTimeForApproxRealTime_{false};
    std::atomic<bool> initialised_{false};
};

/// The clock of the process: null until DtTimeInit(), and never destroyed. Use the functions
/// below instead.
extern DT_EXPORT DtClock* DtObsoleteGlobalClock;

/// Creates the clock of the process unless it is there; any number of threads may call it.
DT_EXPORT void DtTimeInit();

/// The functions of DtClock on the clock of the process. Until DtTimeInit() they return 0, or
/// false, and do nothing. @{
DT_EXPORT double DtGetSimTime();
DT_EXPORT void DtSetSimTime(double t);
DT_EXPORT bool DtIsSimTimeSet();
DT_EXPORT double DtGetElapsedRealTime();
DT_EXPORT double DtGetApproximateElapsedRealTime();
/// @}

/// The wall clock: seconds since 1970, to the microsecond. Needs no DtTimeInit().
/// Cost:      one reading of the system's clock
DT_EXPORT double DtAbsRealTime();

}  // namespace OrynRti

#endif
