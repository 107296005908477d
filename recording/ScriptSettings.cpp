#include "webstep/recording/ScriptSettings.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "webstep/recording/IniDocument.h"

namespace {

constexpr double kMaxPacing = 32000.0;

bool Has(const std::string& text, const char* word) {
    std::string lower = text;
    std::string needle = word;
    for (char& c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (char& c : needle)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower.find(needle) != std::string::npos;
}

bool Flag(const CIniDocument& ini, const char* section, const char* key, bool defaultValue) {
    auto value = ini.Get(section, key);
    if (!value)
        return defaultValue;
    if (CIniDocument::NamesEqual(*value, "yes") || CIniDocument::NamesEqual(*value, "true") ||
        CIniDocument::NamesEqual(*value, "on"))
        return true;
    if (CIniDocument::NamesEqual(*value, "no") || CIniDocument::NamesEqual(*value, "false") ||
        CIniDocument::NamesEqual(*value, "off"))
        return false;
    return ini.GetInt(section, key, defaultValue ? 1 : 0) != 0;
}

double Between(double low, double high, std::mt19937_64& random) {
    if (high < low)
        std::swap(low, high);
    if (high == low)
        return low;
    return std::uniform_real_distribution<double>(low, high)(random);
}

}  // namespace

double ThinkTimeSettings::Apply(double recorded, std::mt19937_64& random) const {
    if (!(recorded > 0))  // also catches NaN
        return 0;
    double wait = recorded;
    switch (mode) {
        case Mode::Ignore:
            return 0;
        case Mode::Recorded:
            break;
        case Mode::Multiply:
            wait = recorded * factor;
            break;
        case Mode::Random:
            wait = recorded * Between(randomLow, randomHigh, random) / 100.0;
            break;
    }
    if (limited)
        wait = std::min(wait, limit);
    return std::max(wait, 0.0);
}

double PacingSettings::Wait(double previousDuration, std::mt19937_64& random) const {
    double wait = 0;
    switch (mode) {
        case Mode::AsSoonAsPossible:
            return 0;
        case Mode::FixedInterval:
            wait = startEvery - previousDuration;
            break;
        case Mode::RandomInterval:
            wait = Between(randomMin, randomMax, random) - previousDuration;
            break;
        case Mode::FixedDelay:
            wait = startEvery;
            break;
        case Mode::RandomDelay:
            wait = Between(randomMin, randomMax, random);
            break;
    }
    if (!(wait > 0))
        return 0;
    return std::min(wait, kMaxPacing);
}

bool CScriptSettings::Read(const std::string& path, FolderMessages& messages) {
    *this = CScriptSettings();
    m_path = path;
    CIniDocument ini;
    if (!ini.ReadFile(path, messages))
        return false;
    m_web.ReadFromFile(path);
    const std::string file = std::filesystem::path(path).filename().string();

    if (const auto* think = ini.FindSection("ThinkTime")) {
        std::string options = think->Get("Options", "RECORDED");
        if (Has(options, "NOTHINK"))
            m_thinkTime.mode = ThinkTimeSettings::Mode::Ignore;
        else if (Has(options, "MULTIPLY"))
            m_thinkTime.mode = ThinkTimeSettings::Mode::Multiply;
        else if (Has(options, "RANDOM"))
            m_thinkTime.mode = ThinkTimeSettings::Mode::Random;
        else if (Has(options, "RECORDED"))
            m_thinkTime.mode = ThinkTimeSettings::Mode::Recorded;
        else
            AddFolderWarning(messages, file, think->Find("Options")->line,
                             "unknown think time option \"" + options + "\"; as recorded is used");
        m_thinkTime.factor = think->GetNumber("Factor", 1.0);
        m_thinkTime.randomLow = think->GetNumber("ThinkTimeRandomLow", 50.0);
        m_thinkTime.randomHigh = think->GetNumber("ThinkTimeRandomHigh", 150.0);
        m_thinkTime.limited = Flag(ini, "ThinkTime", "LimitFlag", false);
        m_thinkTime.limit = think->GetNumber("Limit", 0.0);
    }

    if (const auto* iterations = ini.FindSection("Iterations")) {
        long long count = iterations->GetInt("NumOfIterations", 0);
        m_iterations = count < 1 ? 0u : static_cast<unsigned>(std::min(count, 1000000000LL));
        std::string pace = iterations->Get("IterationPace", "IterationASAP");
        const bool random = Has(pace, "Random");
        if (Has(pace, "ASAP"))
            m_pacing.mode = PacingSettings::Mode::AsSoonAsPossible;
        else if (Has(pace, "AfterPrev"))
            m_pacing.mode =
                random ? PacingSettings::Mode::RandomDelay : PacingSettings::Mode::FixedDelay;
        else if (Has(pace, "Pace"))
            m_pacing.mode =
                random ? PacingSettings::Mode::RandomInterval : PacingSettings::Mode::FixedInterval;
        else
            AddFolderWarning(messages, file, iterations->Find("IterationPace")->line,
                             "unknown pacing \"" + pace + "\"; iterations start at once");
        m_pacing.startEvery = iterations->GetNumber("StartEvery", 0.0);
        m_pacing.randomMin = iterations->GetNumber("RandomMin", 0.0);
        m_pacing.randomMax = iterations->GetNumber("RandomMax", 0.0);
    }

    m_continueOnError = Flag(ini, "General", "ContinueOnError", false);
    m_automaticTransactions = Flag(ini, "General", "AutomaticTransactions", false);

    if (const auto* log = ini.FindSection("Log")) {
        std::string level = log->Get("LogOptions", "LogBrief");
        if (Has(level, "Disable"))
            m_log.level = LogSettings::Level::Disabled;
        else if (Has(level, "Extended"))
            m_log.level = LogSettings::Level::Extended;
        else
            m_log.level = LogSettings::Level::Brief;
        m_log.parameterSubstitution = Flag(ini, "Log", "MsgClassParameters", false);
        m_log.dataReturnedByServer = Flag(ini, "Log", "MsgClassData", false);
        if (Flag(ini, "Log", "MsgClassFull", false)) {
            m_log.parameterSubstitution = true;
            m_log.dataReturnedByServer = true;
        }
    }
    return true;
}
