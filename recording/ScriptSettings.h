#pragma once
// The settings file of a recorded script folder: the web run-time settings of
// its "[WEB]" section and the sections a replay obeys beside it: think time,
// iterations and pacing, continue-on-error, automatic transactions, and the
// log's verbosity.
#include <random>
#include <string>

#include "webstep/foundation/Export.h"
#include "webstep/recording/FolderMessage.h"
#include "webstep/settings/RunTimeSettings.h"

/// "[ThinkTime]": what a script's think time becomes at run time.
struct WEBSTEP_API ThinkTimeSettings {
    enum class Mode { Ignore, Recorded, Multiply, Random };
    Mode mode = Mode::Recorded;
    double factor = 1.0;
    /// Per cent of the recorded time, for the random mode.
    double randomLow = 50.0;
    double randomHigh = 150.0;
    /// When set, every wait is capped at limit seconds.
    bool limited = false;
    double limit = 0.0;

    /// The wait in seconds for a recorded think time (never negative).
    double Apply(double recorded, std::mt19937_64& random) const;
};

/// "[Iterations]": the number of iterations and the pacing between them.
struct WEBSTEP_API PacingSettings {
    enum class Mode {
        AsSoonAsPossible,  // start the next iteration at once
        FixedInterval,     // every startEvery seconds from the previous start
        RandomInterval,    // every randomMin..randomMax seconds from the previous start
        FixedDelay,        // startEvery seconds after the previous end
        RandomDelay,       // randomMin..randomMax seconds after the previous end
    };
    Mode mode = Mode::AsSoonAsPossible;
    double startEvery = 0.0;
    double randomMin = 0.0;
    double randomMax = 0.0;

    /// Seconds to wait before the next iteration, given how long the previous
    /// one took; capped at 32,000 s. An interval that the previous iteration
    /// overran gives 0: the next one starts at once.
    double Wait(double previousDuration, std::mt19937_64& random) const;
};

/// How much a replay writes to its log ("[Log]").
struct WEBSTEP_API LogSettings {
    enum class Level { Disabled, Brief, Extended };
    Level level = Level::Brief;
    bool parameterSubstitution = false;
    bool dataReturnedByServer = false;
};

/// Everything a replay reads from a folder's settings file. Missing sections
/// and keys keep the defaults: think time as recorded, one iteration started
/// as soon as possible, a failed step ends the iteration, no automatic
/// transactions, a brief log.
class WEBSTEP_API CScriptSettings {
public:
    /// Reads the file; false (with a warning) when it cannot be read.
    bool Read(const std::string& path, FolderMessages& messages);

    const std::string& Path() const { return m_path; }
    const CRunTimeSettings& Web() const { return m_web; }
    CRunTimeSettings& Web() { return m_web; }
    const ThinkTimeSettings& ThinkTime() const { return m_thinkTime; }
    /// Replaces the think-time settings (a load run's override).
    void SetThinkTime(const ThinkTimeSettings& thinkTime) { m_thinkTime = thinkTime; }
    const PacingSettings& Pacing() const { return m_pacing; }
    const LogSettings& Log() const { return m_log; }
    /// "NumOfIterations" of "[Iterations]"; 0 when the file does not say.
    unsigned Iterations() const { return m_iterations; }
    bool ContinueOnError() const { return m_continueOnError; }
    bool AutomaticTransactions() const { return m_automaticTransactions; }

private:
    std::string m_path;
    CRunTimeSettings m_web;
    ThinkTimeSettings m_thinkTime;
    PacingSettings m_pacing;
    LogSettings m_log;
    unsigned m_iterations = 0;
    bool m_continueOnError = false;
    bool m_automaticTransactions = false;
};
