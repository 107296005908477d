#pragma once
// The clock of a virtual user: think time, pacing and transaction durations
// are measured and waited on it, so that tests drive time without waiting.
#include <chrono>
#include <thread>

#include "webstep/foundation/Export.h"

/// Seconds since an arbitrary start, and waiting.
class WEBSTEP_API CUserClock {
public:
    virtual ~CUserClock() = default;
    virtual double Now() = 0;
    /// Waits seconds (nothing for 0 or less).
    virtual void Sleep(double seconds) = 0;
};

/// Real time: a steady clock and a real sleep.
class WEBSTEP_API CSystemClock : public CUserClock {
public:
    double Now() override {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }
    void Sleep(double seconds) override {
        if (seconds > 0)
            std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    }
};

/// Time that moves only when told: Sleep and Advance add to it. Tests and
/// the offline replay use it.
class WEBSTEP_API CManualClock : public CUserClock {
public:
    double Now() override { return m_now; }
    void Sleep(double seconds) override {
        if (seconds > 0) {
            m_now += seconds;
            m_slept += seconds;
        }
    }
    void Advance(double seconds) { m_now += seconds; }
    /// The seconds waited through Sleep.
    double Slept() const { return m_slept; }

private:
    double m_now = 0;
    double m_slept = 0;
};
